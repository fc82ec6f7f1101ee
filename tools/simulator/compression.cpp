#include "simulator/compression.h"

#include <unistd.h>
#include <zstd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <stdexcept>

#include "common/messages.h"
#include "common/workers.h"

namespace {

// Reads the block into `data`. Returns why that is not possible, or an empty text.
std::string readBlock(const Block& block, std::vector<char>& data) {
  const OpenFile file(block.path, O_NOFOLLOW);
  struct stat status {};
  if (file.descriptor() < 0 || fstat(file.descriptor(), &status) != 0) {
    return std::generic_category().message(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return "no regular file any more";
  }
  data.resize(block.length);
  std::size_t length = 0;
  ssize_t added = 0;
  // Some file systems hand over less than they are asked for.
  while (length < data.size() && (added = TEMP_FAILURE_RETRY(pread(
                                      file.descriptor(), data.data() + length, data.size() - length,
                                      static_cast<off_t>(block.offset + length)))) > 0) {
    length += static_cast<std::size_t>(added);
  }
  if (added < 0) {
    return std::generic_category().message(errno);
  }
  return length == data.size() ? "" : "shorter than at the survey";
}

// Takes the block through both buffers.
void compress(Block& block, std::vector<char>& data, std::vector<char>& compressed) {
  block.problem = readBlock(block, data);
  if (!block.problem.empty()) {
    return;
  }
  const std::size_t length = ZSTD_compress(compressed.data(), compressed.size(), data.data(),
                                           data.size(), kCompressionLevel);
  if (ZSTD_isError(length) != 0) {
    throw std::runtime_error(std::string("cannot compress: ") + ZSTD_getErrorName(length));
  }
  // A block that does not shrink is stored as it is.
  block.compressedShare = double(std::min(length, data.size())) / double(data.size());
}

void add(SampleTotals& totals, const std::vector<Block>& pair) {
  std::vector<long long> shares;  // in kShareUnits
  for (const Block& block : pair) {
    if (!block.problem.empty()) {
      const std::string example = block.path + ": " + block.problem;
      totals.skippedExample =
          totals.skippedBlocks++ == 0 ? example : std::min(totals.skippedExample, example);
      totals.skippedBytes += block.standsFor;
      continue;
    }
    ++totals.blocks;
    totals.bytesRead += block.length;
    totals.originalBytes += block.standsFor;
    totals.compressedBytes +=
        static_cast<std::uint64_t>(std::llround(double(block.standsFor) * block.compressedShare));
    shares.push_back(std::llround(kShareUnits * block.compressedShare));
  }
  if (shares.size() == 2) {
    const long long difference = shares[0] - shares[1];
    ++totals.pairs;
    totals.squaredDifferences += static_cast<std::uint64_t>(difference * difference);
  }
}

}  // namespace

SampleTotals compressSample(const Options& options) {
  Sample sample(options);
  SampleTotals totals;
  Workers workers;
  const auto work = [&](Workers::Lock& lock) {
    std::vector<char> data;
    std::vector<char> compressed(ZSTD_compressBound(options.blockSize));
    std::vector<Block> pair;
    while (!workers.haveFailed() && !(pair = sample.nextPair()).empty()) {
      {
        const Workers::Unlocked alone(lock);
        for (Block& block : pair) {
          compress(block, data, compressed);
        }
      }
      add(totals, pair);
    }
  };
  const auto start = std::chrono::steady_clock::now();
  workers.run(options.threads, options.threads, work, [&] {
    const double share =
        double(totals.originalBytes + totals.skippedBytes) / double(sample.dataBytes());
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const std::string done = decimal(share * 100.0, 1) + " % done";
    return share == 0.0 ? done
                        : done + ", " + decimal(elapsed.count() * (1.0 - share) / share / 60.0, 0) +
                              " min left";
  });
  return totals;
}
