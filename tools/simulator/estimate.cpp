#include "simulator/estimate.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kDeviationsFor95Percent = 1.96;

// Stands for content too rare to be seen in the sample, in blocks that differ by all there is.
constexpr double kUnseenBlocks = 2.0;

// The variance of the mean compressed share, told by the differences between neighbours in the
// sample, which are as much alike as neighbours in the data. None is left when everything has been
// read; the square, since a little that has been read tells nothing of the rest where the data
// alternates.
double varianceOfShare(const SampleTotals& totals) {
  const auto blocks = static_cast<double>(totals.blocks);
  const auto pairs = static_cast<double>(std::max<std::uint64_t>(totals.pairs, 1));
  const double read =
      static_cast<double>(totals.bytesRead) / static_cast<double>(totals.originalBytes);
  constexpr double kUnit = 1.0 / kShareUnits;
  const double ofBlocks =
      static_cast<double>(totals.squaredDifferences) * (kUnit * kUnit) / (2.0 * pairs);
  return (1.0 - read * read) * (ofBlocks + kUnseenBlocks / blocks) / blocks;
}

double ratioOf(double share) {
  return share > 0.0 ? 1.0 / share : std::numeric_limits<double>::infinity();
}

}  // namespace

Estimate estimateRatio(const SampleTotals& totals) {
  const double share =
      static_cast<double>(totals.compressedBytes) / static_cast<double>(totals.originalBytes);
  const double error = kDeviationsFor95Percent * std::sqrt(varianceOfShare(totals));
  return {ratioOf(share), ratioOf(share + error), ratioOf(share - error)};
}
