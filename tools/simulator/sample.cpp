#include "simulator/sample.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace {

// Data of at most this many times the fewest blocks is read whole, which takes no time.
constexpr double kLittleData = 16.0;

// Neighbouring strata may pick the same block. With this many for each block that is wanted, at
// least as many different ones are picked.
constexpr double kStrataPerBlock = 2.0;

}  // namespace

Sample::Sample(const Options& options) : blockSize_(options.blockSize), engine_(options.part) {
  std::error_code toldWhenOpened;
  if (std::filesystem::is_fifo(options.listName, toldWhenOpened)) {
    throw std::runtime_error("cannot read the list of files twice from the pipe " +
                             options.listName);
  }
  list_.open(options.listName);
  if (!list_) {
    throw std::system_error(errno, std::generic_category(), "cannot open " + options.listName);
  }
  double squaredLengths = 0.0;  // added up over all blocks
  for (ListedFile file; readListedFile(list_, file);) {
    addSize(dataBytes_, file.size);
    const auto rest = double(file.size % blockSize_);
    squaredLengths += (double(file.size) - rest) * double(blockSize_) + rest * rest;
  }
  list_.clear();
  list_.seekg(0);
  planStrata(options, squaredLengths);
}

// In strata of the length L, a block of the length l is picked with the chance l / L and has l
// bytes to be read. To read the bytes that are wanted, L is the sum of l * l over all blocks,
// divided by them; where none are wanted, the fewest blocks decide.
void Sample::planStrata(const Options& options, double squaredLengths) {
  const auto bytes = double(dataBytes_);
  const auto fewestBlocks = double(options.fewestBlocks);
  const double little = kLittleData * fewestBlocks * double(blockSize_);
  const double wanted = options.fraction * double(options.totalBytes);
  readsEverything_ = options.fraction >= 1.0 || bytes <= wanted || bytes <= little;
  if (!readsEverything_) {
    stratumLength_ = static_cast<std::uint64_t>(
        std::min(squaredLengths / wanted, bytes / (kStrataPerBlock * fewestBlocks)));
    stratum_ = stratumFrom(0);
  }
}

Stratum Sample::stratumFrom(std::uint64_t start) {
  const std::uint64_t length = std::min(stratumLength_, dataBytes_ - start);
  return {start, length, length > 0 ? start + engine_() % length : start};
}

std::vector<Block> Sample::nextPair() {
  std::vector<Block> blocks;
  Block block;
  while (blocks.size() < 2 && nextBlock(block)) {
    blocks.push_back(block);
  }
  return blocks;
}

bool Sample::nextBlock(Block& block) {
  if (done_ == dataBytes_) {
    return false;
  }
  const std::uint64_t position = readsEverything_ ? done_ : stratum_.drawn;
  // On to the file that holds the position.
  while (position - fileStart_ >= file_.size) {
    const std::uint64_t next = fileStart_ + file_.size;
    if (!readListedFile(list_, file_)) {
      throw std::runtime_error("the list of files has changed");
    }
    fileStart_ = next;
  }
  const std::uint64_t offset = (position - fileStart_) / blockSize_ * blockSize_;
  block = {file_.path, offset, std::min(blockSize_, file_.size - offset)};
  block.standsFor = readsEverything_ ? block.length : 0;
  // Takes all strata whose byte lies in this block; without strata there is none.
  while (stratum_.length > 0 && stratum_.drawn - fileStart_ < block.offset + block.length) {
    block.standsFor += stratum_.length;
    stratum_ = stratumFrom(stratum_.start + stratum_.length);
  }
  done_ += block.standsFor;
  return true;
}
