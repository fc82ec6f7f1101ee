#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>

#include "simulator/options.h"

// The sample. The bytes of all listed files are laid end to end and cut into strata of equal
// length; one random position in each picks the block it falls into. Blocks are counted from the
// start of each file, so the last block of a file may be short, and a block is never picked twice.

// Blocks of nearly the same length, in bytes.
struct BlockClass {
  std::uint64_t blocks = 0;
  std::uint64_t bytes = 0;
};

// What the sample is drawn from.
struct Population {
  static constexpr std::size_t kClassesPerDoubling = 8;
  static constexpr std::size_t kDoublings = 26;  // up to the largest block, of 64 MiB

  std::uint64_t bytes = 0;
  std::array<BlockClass, kClassesPerDoubling * kDoublings + 1> classes;  // the last: full blocks
};

// Adds the blocks of a file to `population`.
void addFile(Population& population, std::uint64_t size, std::uint64_t blockSize);

// Measures the files on the list. Throws std::runtime_error when the list cannot be used.
Population measureList(const Options& options);

// The length of a stratum, in bytes, that lets the sample cover the asked share of the data in at
// least the asked number of blocks. 1 picks every block.
std::uint64_t stratumLength(const Population& population, const Options& options);

struct PickedBlock {
  std::uint64_t offset;  // in the file
  std::uint64_t length;
  double weight;  // how many bytes of data each byte of the block stands for
};

// Draws the sample file by file, in the order of the list.
class Sampler {
 public:
  Sampler(const Population& population, const Options& options);

  // Goes on to the next file.
  void startFile(std::uint64_t size);

  // The next block picked in the current file, or none when there is no more.
  std::optional<PickedBlock> nextBlock();

  // Bytes in all files so far, the current one included.
  [[nodiscard]] std::uint64_t bytesSeen() const { return fileEnd_; }

  // Bytes of data that lie before the end of the last block picked.
  [[nodiscard]] std::uint64_t bytesPassed() const { return blockEnd_; }

 private:
  [[nodiscard]] std::uint64_t lengthOfStratum(std::uint64_t stratum) const;
  [[nodiscard]] double chanceToPick(std::uint64_t start, std::uint64_t end) const;
  void drawFrom(std::uint64_t stratum);

  std::uint64_t blockSize_;
  std::uint64_t dataBytes_;
  std::uint64_t stratumLength_;
  std::mt19937_64 engine_;
  std::uint64_t stratum_ = 0;
  std::uint64_t position_ = 0;  // drawn in stratum_
  std::uint64_t fileStart_ = 0;
  std::uint64_t fileEnd_ = 0;
  std::uint64_t blockEnd_ = 0;
};
