#pragma once

#include <cstdint>
#include <string>

#include "simulator/sample.h"

// What the sample adds up to. Whole numbers, so that the sums do not depend on the order in which
// threads finish.
struct SampleTotals {
  std::uint64_t blocks = 0;
  std::uint64_t bytesRead = 0;
  std::uint64_t originalBytes = 0;    // of the data that the blocks stand for
  std::uint64_t compressedBytes = 0;  // of the same data
  std::uint64_t pairs = 0;
  std::uint64_t squaredDifferences = 0;  // between the compressed shares of a pair, in kShareUnits

  // What could not be read.
  std::uint64_t skippedBlocks = 0;
  std::uint64_t skippedBytes = 0;  // of the data that the blocks stand for
  std::string skippedExample;      // a path and the system's reason
};

// Of a block's compressed share, its length after compression over the one before.
constexpr std::uint64_t kShareUnits = 65536;

// What the operator reads while the sample is compressed, `share` of it being done.
std::string progressText(double share, double elapsedSeconds);

// Reads and compresses the sample in the asked number of threads. Throws when the list cannot be
// read or memory runs out.
SampleTotals compressSample(const Options& options);
