#include <cstdlib>
#include <exception>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "common/console.h"
#include "common/output.h"
#include "simulator/compression.h"
#include "simulator/estimate.h"
#include "simulator/options.h"

namespace {

std::string finishedLine(std::uint64_t part, const SampleTotals& totals, const Estimate& estimate) {
  std::ostringstream line;
  line << std::fixed << std::setprecision(4) << "part " << part
       << ": detection finished ratio: " << estimate.ratio << " blocks: " << totals.blocks
       << " bytes: " << totals.bytesRead << " 95%: " << estimate.low << " to " << estimate.high
       << " skipped: " << totals.skippedBlocks << "\n";
  return line.str();
}

std::string sentence(const SampleTotals& totals, const Estimate& estimate) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(2) << "The data alone: ratio " << estimate.ratio;
  if (!estimate.isExact) {
    text << ", 95 % sure between " << estimate.low << " and " << estimate.high << ", from "
         << totals.blocks << " blocks";
  }
  if (totals.skippedBlocks == 0) {
    text << (estimate.isExact ? ", everything listed was read." : ", all of them readable.");
  } else {
    text << std::defaultfloat << std::setprecision(3) << "; "
         << 100.0 * double(totals.skippedBytes) / double(totals.skippedBytes + totals.originalBytes)
         << " % of the data could not be read (blocks: " << totals.skippedBlocks << ", such as "
         << totals.skippedExample << "): the ratio speaks for the rest only.";
  }
  return text.str();
}

int simulate(Options options) {
  const SampleTotals totals = compressSample(options);
  if (totals.blocks == 0) {
    throw std::runtime_error(totals.skippedBlocks == 0
                                 ? "no data to sample in " + options.listName
                                 : "nothing could be read, such as " + totals.skippedExample);
  }
  const Estimate estimate = estimateRatio(totals);
  say(sentence(totals, estimate));
  options.result.append(finishedLine(options.part, totals, estimate));
  options.result.finish();
  return totals.skippedBlocks == 0 ? EXIT_SUCCESS : kPartialResult;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return simulate(readOptions(argc, argv));
  } catch (const std::exception& error) {
    complain(error.what());
    return EXIT_FAILURE;
  }
}
