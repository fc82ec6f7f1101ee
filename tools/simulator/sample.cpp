#include "simulator/sample.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "common/file_list.h"

namespace {

// Two neighbouring strata may pick the same block, so this many a block make sure that enough
// different ones are picked.
constexpr std::uint64_t kStrataPerBlock = 2;

// Leaves room to count past the end of the data in 64 bits.
constexpr std::uint64_t kMostBytes = INT64_MAX;

constexpr std::uint64_t kNoPosition = UINT64_MAX;

// The chance that a block is picked, on average over where its start falls into a stratum;
// `length` is in strata. A block that holds a whole stratum is always picked, one that lies in a
// single stratum by its share of that, and one that lies in two may be picked by both at once.
double meanChance(double length) {
  constexpr double kPickedTwice = 1.0 / 6.0;
  if (length >= 2.0) {
    return 1.0;
  }
  if (length >= 1.0) {
    return 1.0 - kPickedTwice * std::pow(2.0 - length, 3);
  }
  return length - kPickedTwice * std::pow(length, 3);
}

double expectedSample(const Population& population, double stratum) {
  double bytes = 0.0;
  for (const BlockClass& blockClass : population.classes) {
    if (blockClass.blocks > 0) {
      const auto classBytes = static_cast<double>(blockClass.bytes);
      bytes +=
          classBytes * meanChance(classBytes / static_cast<double>(blockClass.blocks) / stratum);
    }
  }
  return bytes;
}

// The stratum length that lets the sample hold as many bytes as wanted, found by bisection: the
// longer the strata, the fewer bytes are picked.
double lengthForSample(const Population& population, double wantedBytes) {
  constexpr int kSteps = 64;  // halve any 64-bit range to less than a byte
  double tooShort = 1.0;
  auto tooLong = static_cast<double>(population.bytes);
  for (int step = 0; step < kSteps; ++step) {
    const double middle = (tooShort + tooLong) / 2.0;
    (expectedSample(population, middle) > wantedBytes ? tooShort : tooLong) = middle;
  }
  return tooShort;
}

}  // namespace

void addFile(Population& population, std::uint64_t size, std::uint64_t blockSize) {
  population.bytes += size;
  const std::uint64_t rest = size % blockSize;
  BlockClass& full = population.classes.back();
  full.blocks += size / blockSize;
  full.bytes += size - rest;
  if (rest > 0) {
    const double position = Population::kClassesPerDoubling * std::log2(static_cast<double>(rest));
    BlockClass& last = population.classes.at(static_cast<std::size_t>(position));
    ++last.blocks;
    last.bytes += rest;
  }
}

Population measureList(const Options& options) {
  FileListReader list(options.listName);
  ListedFile file;
  Population population;
  while (list.next(file)) {
    if (file.size > kMostBytes - population.bytes) {
      throw std::runtime_error("too many bytes in " + options.listName);
    }
    addFile(population, file.size, options.blockSize);
  }
  return population;
}

std::uint64_t stratumLength(const Population& population, const Options& options) {
  const double wanted = options.fraction * static_cast<double>(options.totalBytes);
  const bool isSmall = population.bytes <= options.fewestBlocks * options.blockSize;
  if (options.fraction >= 1.0 || isSmall || wanted >= static_cast<double>(population.bytes)) {
    return 1;
  }
  const double forFewest = static_cast<double>(population.bytes) /
                           static_cast<double>(options.fewestBlocks * kStrataPerBlock);
  return static_cast<std::uint64_t>(std::min(lengthForSample(population, wanted), forFewest));
}

Sampler::Sampler(const Population& population, const Options& options)
    : blockSize_(options.blockSize),
      dataBytes_(population.bytes),
      stratumLength_(stratumLength(population, options)),
      engine_(options.part) {
  drawFrom(0);
}

void Sampler::startFile(std::uint64_t size) {
  fileStart_ = fileEnd_;
  fileEnd_ += size;
}

std::optional<PickedBlock> Sampler::nextBlock() {
  if (position_ >= fileEnd_) {
    return std::nullopt;
  }
  const std::uint64_t offset = (position_ - fileStart_) / blockSize_ * blockSize_;
  const std::uint64_t start = fileStart_ + offset;
  blockEnd_ = start + std::min(blockSize_, fileEnd_ - start);
  const PickedBlock block = {offset, blockEnd_ - start, 1.0 / chanceToPick(start, blockEnd_)};
  while (position_ < blockEnd_) {
    // Strata that lie within the block would pick it again.
    drawFrom(std::max(stratum_ + 1, blockEnd_ / stratumLength_));
  }
  return block;
}

std::uint64_t Sampler::lengthOfStratum(std::uint64_t stratum) const {
  return std::min(stratumLength_, dataBytes_ - stratum * stratumLength_);
}

double Sampler::chanceToPick(std::uint64_t start, std::uint64_t end) const {
  const std::uint64_t first = start / stratumLength_;
  const std::uint64_t last = (end - 1) / stratumLength_;
  if (last - first > 1) {
    return 1.0;  // a whole stratum lies between the two
  }
  double chanceToMiss = 1.0;
  for (std::uint64_t stratum = first; stratum <= last; ++stratum) {
    const std::uint64_t stratumStart = stratum * stratumLength_;
    const std::uint64_t length = lengthOfStratum(stratum);
    const std::uint64_t shared =
        std::min(end, stratumStart + length) - std::max(start, stratumStart);
    chanceToMiss *= 1.0 - static_cast<double>(shared) / static_cast<double>(length);
  }
  return 1.0 - chanceToMiss;
}

void Sampler::drawFrom(std::uint64_t stratum) {
  stratum_ = stratum;
  const std::uint64_t start = stratum * stratumLength_;
  position_ = start < dataBytes_ ? start + engine_() % lengthOfStratum(stratum) : kNoPosition;
}
