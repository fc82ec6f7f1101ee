#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "common/messages.h"
#include "simulator/compression.h"

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

// Of the data found, what the skipped blocks stand for.
double unreadShare(const SampleTotals& totals) {
  return double(totals.skippedBytes) / double(totals.skippedBytes + totals.originalBytes);
}

std::string finishedLine(const Options& options, const SampleTotals& totals,
                         const Estimate& estimate) {
  return "part " + std::to_string(options.part) +
         ": detection finished ratio: " + decimal(estimate.ratio, 4) +
         " blocks: " + std::to_string(totals.blocks) +
         " bytes: " + std::to_string(totals.bytesRead) + " 95%: " + decimal(estimate.low, 4) +
         " to " + decimal(estimate.high, 4) + " skipped: " + std::to_string(totals.skippedBlocks) +
         " unread: " + decimal(unreadShare(totals), 4) +
         " of: " + std::to_string(options.totalBytes) + "\n";
}

std::string sentence(const Options& options, const SampleTotals& totals, const Estimate& estimate) {
  std::string text = "The data alone, in blocks of " + std::to_string(options.blockSize / 1024) +
                     " KiB at zstd level " + std::to_string(kCompressionLevel) + ": ratio " +
                     decimal(estimate.ratio, 2);
  const bool isExact = estimate.low == estimate.high;
  if (!isExact) {
    // Rounded outwards.
    const std::string low = decimal(std::floor(estimate.low * 100.0) / 100.0, 2);
    const std::string high = decimal(std::ceil(estimate.high * 100.0) / 100.0, 2);
    text += ", 95 % sure " +
            (std::isinf(estimate.high) ? "of at least " + low : "between " + low + " and " + high) +
            ", from " + std::to_string(totals.blocks) + " blocks";
  }
  if (totals.skippedBlocks == 0) {
    return text + (isExact ? ", exact: all that was found was read." : ", all of them readable.");
  }
  const double percent = unreadShare(totals) * 100.0;
  // A share that is not quite all, or hardly anything, is not told as either.
  text += percent < 0.1 ? "; less than " : percent > 99.9 ? "; more than " : "; ";
  return text + decimal(std::clamp(percent, 0.1, 99.9), 1) +
         " % of the data found could not be read (blocks: " + std::to_string(totals.skippedBlocks) +
         ", such as " + totals.skippedExample + "): the ratio speaks for the rest only.";
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
  options.result.append(finishedLine(options, totals, estimate));
  options.result.finish();
  return totals.skippedBlocks == 0 ? EXIT_SUCCESS : kPartialResult;
}

}  // namespace

int main(int argc, char** argv) {
  return runTool(argc, argv, usage(), [&] { return simulate(readOptions(argc, argv)); });
}
