#pragma once

#include "simulator/sample.h"

// What the sample adds up to, in bytes where nothing else is said. Whole numbers, so that the sums
// do not depend on the order in which threads finish.
struct SampleTotals {
  std::uint64_t blocks = 0;           // that were read
  std::uint64_t bytesRead = 0;        // in them
  std::uint64_t originalBytes = 0;    // of the data that they stand for, before compression
  std::uint64_t compressedBytes = 0;  // of the same data, after it
  std::uint64_t pairs = 0;            // of neighbours, both read
  // The differences of the compressed shares within each pair, in kShareUnits, squared and added.
  std::uint64_t squaredDifferences = 0;
  std::uint64_t skippedBlocks = 0;  // that could not be read
  std::uint64_t skippedBytes = 0;   // of the data that they stand for
  std::string skippedExample = {};  // a path and the reason, the first of them by its text
};

constexpr int kCompressionLevel = 1;  // of zstd

constexpr double kShareUnits = 65536.0;  // make a block's compressed share a whole number

// Reads and compresses the sample in the asked number of threads. Throws when the list cannot be
// read or memory runs out, without waiting for the rest of the sample.
SampleTotals compressSample(const Options& options);
