#include "simulator/sample.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace {

// Two neighbouring strata may pick the same block, so this many a block make sure that enough
// different ones are picked.
constexpr std::uint64_t kStrataPerBlock = 2;

constexpr std::uint64_t kNoPosition = UINT64_MAX;

double squared(std::uint64_t length) {
  return static_cast<double>(length) * static_cast<double>(length);
}

}  // namespace

Sample::Sample(const Options& options)
    : blockSize_(options.blockSize), list_(options.listName), engine_(options.part) {
  if (!list_) {
    throw std::system_error(errno, std::generic_category(), "cannot open " + options.listName);
  }
  measureList();
  stratumLength_ = stratumLength(options);
  drawFrom(0);
}

void Sample::measureList() {
  while (readListedFile(list_, file_)) {
    dataBytes_ += file_.size;
    const std::uint64_t fullBlocks = file_.size / blockSize_;
    squaredLengths_ +=
        static_cast<double>(fullBlocks) * squared(blockSize_) + squared(file_.size % blockSize_);
  }
  list_.clear();
  list_.seekg(0);
}

// A block of the length l is picked by l bytes, each with the chance 1 / L, and has l bytes to be
// read: L is the sum of l * l over all blocks, divided by the bytes that are wanted.
std::uint64_t Sample::stratumLength(const Options& options) const {
  const auto bytes = static_cast<double>(dataBytes_);
  const double wanted = options.fraction * static_cast<double>(options.totalBytes);
  const auto fewestStrata = static_cast<double>(options.fewestBlocks * kStrataPerBlock);
  if (options.fraction >= 1.0 || bytes <= wanted ||
      bytes <= fewestStrata * static_cast<double>(blockSize_)) {
    return 1;  // picks every block
  }
  return static_cast<std::uint64_t>(std::min(squaredLengths_ / wanted, bytes / fewestStrata));
}

std::vector<Block> Sample::nextPair() {
  std::vector<Block> blocks;
  Block block;
  while (blocks.size() < 2 && nextBlock(block)) {
    blocks.push_back(block);
  }
  return blocks;
}

double Sample::shareDone() const {
  return static_cast<double>(stratumStart_) / static_cast<double>(dataBytes_);
}

bool Sample::nextBlock(Block& block) {
  while (position_ >= fileEnd_) {
    if (!readListedFile(list_, file_)) {
      return false;
    }
    fileStart_ = fileEnd_;
    fileEnd_ += file_.size;
  }
  block = Block();
  block.path = file_.path;
  block.offset = (position_ - fileStart_) / blockSize_ * blockSize_;
  block.length = std::min(blockSize_, file_.size - block.offset);
  const std::uint64_t end = fileStart_ + block.offset + block.length;
  while (position_ < end) {
    // Strata that lie wholly within the block pick it whatever they draw.
    const std::uint64_t wholeStrataEnd = end / stratumLength_ * stratumLength_;
    const std::uint64_t stratumEnd = std::min(stratumStart_ + stratumLength_, dataBytes_);
    const std::uint64_t next = std::max(stratumEnd, wholeStrataEnd);
    block.standsFor += next - stratumStart_;
    drawFrom(next);
  }
  return true;
}

void Sample::drawFrom(std::uint64_t stratumStart) {
  stratumStart_ = stratumStart;
  const std::uint64_t length = std::min(stratumLength_, dataBytes_ - stratumStart);
  position_ = length > 0 ? stratumStart + engine_() % length : kNoPosition;
}
