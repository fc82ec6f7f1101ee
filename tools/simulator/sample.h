#pragma once

#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "common/file_list.h"
#include "simulator/options.h"

// A block of the sample and what comes of it; lengths in bytes. Blocks are counted from the start
// of each file, so its last may be short.
struct Block {
  std::string path;
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  std::uint64_t standsFor = 0;  // of the data
  std::uint64_t compressedLength = 0;
  std::string problem;  // why it could not be read, if so
};

// The sample. The bytes of all listed files are laid end to end and cut into strata of equal
// length. One random byte in each stratum picks the block that it lies in, which then stands for
// the stratum.
class Sample {
 public:
  // Throws std::runtime_error when the list cannot be used.
  explicit Sample(const Options& options);

  // The next two blocks, in the order of the list; fewer at its end. Throws std::runtime_error when
  // the list cannot be read.
  std::vector<Block> nextPair();

  // The share of the data that the blocks so far stand for; above 0 once one has been taken.
  [[nodiscard]] double shareDone() const;

 private:
  void measureList();
  [[nodiscard]] std::uint64_t stratumLength(const Options& options) const;
  void drawFrom(std::uint64_t stratumStart);
  bool nextBlock(Block& block);

  const std::uint64_t blockSize_;
  std::ifstream list_;
  ListedFile file_;
  std::uint64_t dataBytes_ = 0;
  double squaredLengths_ = 0.0;  // added up over all blocks
  std::uint64_t stratumLength_ = 0;
  std::mt19937_64 engine_;
  std::uint64_t stratumStart_ = 0;
  std::uint64_t position_ = 0;  // drawn in the stratum
  std::uint64_t fileStart_ = 0;
  std::uint64_t fileEnd_ = 0;
};
