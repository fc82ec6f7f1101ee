#include <cstdlib>
#include <exception>
#include <iomanip>
#include <sstream>

#include "common/result.h"
#include "common/terminal.h"
#include "simulator/compression.h"
#include "simulator/estimate.h"
#include "simulator/options.h"

namespace {

std::string finishedLine(std::uint64_t part, const SampleTotals& totals) {
  const Estimate estimate = estimateRatio(totals);
  std::ostringstream line;
  line << std::fixed << std::setprecision(4) << "part " << part
       << ": detection finished ratio: " << estimate.ratio << " blocks: " << totals.blocks
       << " bytes: " << totals.bytesRead << " 95%: " << estimate.low << " to " << estimate.high
       << " skipped: " << totals.skippedBlocks << "\n";
  return line.str();
}

std::string skippedMessage(const SampleTotals& totals) {
  constexpr double kPercent = 100.0;
  const auto skipped = static_cast<double>(totals.skippedBytes);
  const double share = skipped / (skipped + static_cast<double>(totals.originalBytes));
  std::ostringstream message;
  message << std::fixed << std::setprecision(2) << share * kPercent
          << " % of the data could not be read, as in " << totals.skippedExample;
  return message.str();
}

int runSimulation(const Options& options) {
  const SampleTotals totals = compressSample(options);
  if (totals.skippedBlocks > 0) {
    complain(skippedMessage(totals));
  } else if (totals.blocks == 0) {
    complain("no data to sample in " + options.listName);
  }
  if (totals.blocks == 0) {
    return EXIT_FAILURE;
  }
  writeResult(options.resultName, finishedLine(options.part, totals));
  return totals.skippedBlocks == 0 ? EXIT_SUCCESS : kPartialResult;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return runSimulation(readOptions(argc, argv));
  } catch (const std::exception& error) {
    complain(error.what());
    return EXIT_FAILURE;
  }
}
