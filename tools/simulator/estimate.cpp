#include "simulator/estimate.h"

#include <algorithm>
#include <cmath>

namespace {

// Student's t for 95 % at some 64 degrees of freedom, the pairs of the smallest usual sample.
constexpr double kDeviations = 2.0;

// Stands for content too rare to be seen: where none of n blocks shows it, it is less than 3 / n of
// the data in 95 of 100 cases, and kDeviations * sqrt(2.25 / n / n) = 3 / n.
constexpr double kUnseenBlocks = 2.25;

// The variance of the mean compressed share. That of a block is half the mean squared difference of
// neighbours in the sample, which are as much alike as neighbours in the data.
double varianceOfShare(const SampleTotals& totals) {
  const auto blocks = double(totals.blocks);
  const auto pairs = double(std::max<std::uint64_t>(totals.pairs, 1));
  const double ofBlocks =
      double(totals.squaredDifferences) / (kShareUnits * kShareUnits) / (2.0 * pairs);
  return (ofBlocks + kUnseenBlocks / blocks) / blocks;
}

}  // namespace

Estimate estimateRatio(const SampleTotals& totals) {
  const double share = double(totals.compressedBytes) / double(totals.originalBytes);
  const bool isExact = totals.bytesRead == totals.originalBytes;
  const double error = isExact ? 0.0 : kDeviations * std::sqrt(varianceOfShare(totals));
  return {1.0 / share, 1.0 / std::min(share + error, 1.0), 1.0 / std::max(share - error, 0.0),
          isExact};
}
