#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "common/console.h"
#include "simulator/compression.h"
#include "simulator/options.h"

namespace {

// Student's t for 95 % at some 64 degrees of freedom, the pairs of the smallest usual sample.
constexpr double kDeviations = 2.0;

// Stands for content too rare to be seen: where none of n blocks shows it, it is less than 3 / n of
// the data in 95 of 100 cases, and kDeviations * sqrt(2.25 / n / n) = 3 / n.
constexpr double kUnseenBlocks = 2.25;

// The compression ratio of all data that could be read, bytes before over bytes after, and the ends
// of its 95 % confidence interval: the ratio itself where everything was read.
struct Estimate {
  double ratio;
  double low;
  double high;  // infinite where nothing limits the ratio
};

// The variance of a block's compressed share is half the mean squared difference of neighbours in
// the sample, which are as much alike as neighbours in the data.
Estimate estimateRatio(const SampleTotals& totals) {
  const double share = double(totals.compressedBytes) / double(totals.originalBytes);
  const auto blocks = double(totals.blocks);
  const auto pairs = double(std::max<std::uint64_t>(totals.pairs, 1));
  const double variance =
      double(totals.squaredDifferences) / (kShareUnits * kShareUnits) / (2.0 * pairs);
  const bool isExact = totals.bytesRead == totals.originalBytes;
  const double error =
      isExact ? 0.0 : kDeviations * std::sqrt((variance + kUnseenBlocks / blocks) / blocks);
  return {1.0 / share, 1.0 / std::min(share + error, 1.0), 1.0 / std::max(share - error, 0.0)};
}

std::string finishedLine(std::uint64_t part, const SampleTotals& totals, const Estimate& estimate) {
  std::ostringstream line;
  line << std::fixed << std::setprecision(4) << "part " << part
       << ": detection finished ratio: " << estimate.ratio << " blocks: " << totals.blocks
       << " bytes: " << totals.bytesRead << " 95%: " << estimate.low << " to " << estimate.high
       << " skipped: " << totals.skippedBlocks << "\n";
  return line.str();
}

// A share that is not quite all, or hardly anything, is not told as either.
std::string percentText(double percent) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1)
       << (percent < 0.1    ? "less than "
           : percent > 99.9 ? "more than "
                            : "")
       << std::clamp(percent, 0.1, 99.9) << " %";
  return text.str();
}

std::string sentence(const Options& options, const SampleTotals& totals, const Estimate& estimate) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(2) << "The data alone, in blocks of "
       << options.blockSize / 1024 << " KiB at zstd level " << kCompressionLevel << ": ratio "
       << estimate.ratio;
  const bool isExact = estimate.low == estimate.high;
  if (!isExact) {
    text << ", 95 % sure " << (std::isinf(estimate.high) ? "of at least " : "between ")
         << estimate.low;
    if (!std::isinf(estimate.high)) {
      text << " and " << estimate.high;
    }
    text << ", from " << totals.blocks << " blocks";
  }
  if (totals.skippedBlocks == 0) {
    text << (isExact ? ", exact: all that was found was read." : ", all of them readable.");
  } else {
    text << "; "
         << percentText(double(totals.skippedBytes) /
                        double(totals.skippedBytes + totals.originalBytes) * 100.0)
         << " of the data found could not be read (blocks: " << totals.skippedBlocks << ", such as "
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
  say(sentence(options, totals, estimate));
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
