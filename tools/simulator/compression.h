#pragma once

#include <cstdint>

#include "simulator/block_queue.h"

// What the compressed blocks add up to, in bytes. Whole numbers, so that the sums do not depend on
// the order in which threads finish.
struct CompressionTotals {
  std::uint64_t blocks = 0;
  std::uint64_t bytesRead = 0;
  std::uint64_t originalBytes = 0;    // of the data that the blocks stand for
  std::uint64_t compressedBytes = 0;  // of the same data
  std::uint64_t skippedFiles = 0;     // of which at least one block could not be read

  CompressionTotals& operator+=(const CompressionTotals& other);
};

// Reads and compresses the blocks of at most `blockSize` bytes that the queue hands out, until it
// is closed and empty. Throws, and closes the queue, when memory runs out.
CompressionTotals compressBlocks(BlockQueue& queue, std::uint64_t blockSize);
