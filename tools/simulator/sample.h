#pragma once

#include <random>
#include <vector>

#include "common/filelist.h"
#include "simulator/options.h"

// A block of the sample and what comes of it; lengths in bytes. Blocks are counted from the start
// of each file, so its last may be short.
struct Block {
  std::string path;
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  std::uint64_t standsFor = 0;   // so much of the data
  double compressedShare = 0.0;  // its length after compression over the one before
  std::string problem = {};      // why it could not be read, if so
};

// The bytes of all listed files are laid end to end and cut into strata of equal length. A random
// byte of each picks the block around it, which stands for the stratum, or for itself where all is
// to be read.
class Sample {
 public:
  // Throws std::runtime_error when the list cannot be used.
  explicit Sample(const Options& options);

  // The next two blocks, in the order of the list; fewer at its end. Throws std::runtime_error when
  // the list cannot be read or has changed.
  std::vector<Block> nextPair();

  // Of all data that is listed.
  [[nodiscard]] std::uint64_t dataBytes() const { return dataBytes_; }

 private:
  void drawByte();
  Block nextBlock();

  const std::uint64_t blockSize_;
  ListReader list_;
  std::uint64_t dataBytes_ = 0;
  std::uint64_t stratumLength_ = 0;  // 0 where everything is read
  std::mt19937_64 engine_;

  std::uint64_t done_ = 0;   // bytes of the data that the blocks so far stand for
  std::uint64_t drawn_ = 0;  // the byte of the data that picks the next block
  ListedFile file_;          // the last that a block was taken of
  std::uint64_t fileStart_ = 0;
};
