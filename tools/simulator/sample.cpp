#include "simulator/sample.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

constexpr double kLittleData = 16.0;  // times the fewest blocks, quickly read whole

constexpr double kFewestStrata = 2.0;  // for each of the fewest blocks: two may pick the same

// The error depends on the blocks, not on the size of the data: 4,096 times 64 blocks leave some
// ± 0.12 % for usual data and ± 0.35 % for the worst, about what two decimals show.
constexpr double kMostStrata = 4096.0;

}  // namespace

Sample::Sample(const Options& options)
    : blockSize_(options.blockSize), list_(options.listName), engine_(options.part) {
  double squaredLengths = 0.0;  // added up over all blocks
  for (ListedFile file; list_.next(file);) {
    dataBytes_ = sum(dataBytes_, file.size);
    const auto rest = double(file.size % blockSize_);
    squaredLengths += (double(file.size) - rest) * double(blockSize_) + rest * rest;
  }
  list_.rewind();

  const auto bytes = double(dataBytes_);
  const auto fewestBlocks = double(options.fewestBlocks);
  const double wanted = options.fraction * double(options.totalBytes);
  const double fewestBytes = fewestBlocks * double(blockSize_);
  if (options.fraction < 1.0 && bytes > std::min(wanted, kMostStrata * fewestBytes) &&
      bytes > kLittleData * fewestBytes) {
    // Strata of the length L pick a block of the length l with the chance l / L, so they read the
    // sum of l * l over all blocks, divided by L.
    const double shortest = std::ceil(bytes / (kMostStrata * fewestBlocks));
    const double longest = bytes / (kFewestStrata * fewestBlocks);
    stratumLength_ =
        static_cast<std::uint64_t>(std::clamp(squaredLengths / wanted, shortest, longest));
  }
  drawByte();
}

void Sample::drawByte() {
  const std::uint64_t length = std::min(stratumLength_, dataBytes_ - done_);
  drawn_ = length == 0 ? done_ : done_ + engine_() % length;
}

std::vector<Block> Sample::nextPair() {
  std::vector<Block> blocks;
  while (blocks.size() < 2 && done_ < dataBytes_) {
    blocks.push_back(nextBlock());
  }
  return blocks;
}

Block Sample::nextBlock() {
  // On to the file that holds the byte.
  while (drawn_ - fileStart_ >= file_.size) {
    fileStart_ += file_.size;
    if (!list_.next(file_)) {
      throw std::runtime_error("the list of files has changed, or cannot be read twice");
    }
  }
  const std::uint64_t offset = (drawn_ - fileStart_) / blockSize_ * blockSize_;
  Block block = {file_.path, offset, std::min(blockSize_, file_.size - offset)};
  const std::uint64_t end = fileStart_ + offset + block.length;
  // Stands for itself, or for all strata whose byte lies in it.
  const std::uint64_t start = done_;
  do {
    done_ += stratumLength_ == 0 ? block.length : std::min(stratumLength_, dataBytes_ - done_);
    drawByte();
  } while (done_ < dataBytes_ && drawn_ < end);
  block.standsFor = done_ - start;
  return block;
}
