#include "simulator/compression.h"

#include <fcntl.h>
#include <unistd.h>
#include <zstd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <future>
#include <iomanip>
#include <memory>
#include <mutex>
#include <new>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "common/terminal.h"

namespace {

constexpr int kCompressionLevel = 1;

std::string systemReason() { return std::generic_category().message(errno); }

// Fills `data` with the part of `file` from `offset` on. Returns why that is not possible, or an
// empty text.
std::string readData(int file, std::uint64_t offset, std::vector<char>& data) {
  std::size_t done = 0;
  while (done < data.size()) {
    const ssize_t count =
        pread(file, data.data() + done, data.size() - done, static_cast<off_t>(offset + done));
    if (count < 0) {
      return systemReason();
    }
    if (count == 0) {
      return "shorter than listed";
    }
    done += static_cast<std::size_t>(count);
  }
  return "";
}

std::string readBlock(const Block& block, std::vector<char>& data) {
  // A pipe that has taken the file's place must not make the thread wait.
  const int file = open(block.path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) {
    return systemReason();
  }
  data.resize(block.length);
  std::string problem = readData(file, block.offset, data);
  close(file);
  return problem;
}

// Reads and compresses one block after another, with memory that is allocated once.
class Compressor {
 public:
  explicit Compressor(std::uint64_t blockSize)
      : context_(ZSTD_createCCtx(), &ZSTD_freeCCtx), compressed_(ZSTD_compressBound(blockSize)) {
    if (context_ == nullptr) {
      throw std::bad_alloc();
    }
    data_.reserve(blockSize);
  }

  void compress(Block& block) {
    block.problem = readBlock(block, data_);
    if (!block.problem.empty()) {
      return;
    }
    const std::size_t length =
        ZSTD_compressCCtx(context_.get(), compressed_.data(), compressed_.size(), data_.data(),
                          data_.size(), kCompressionLevel);
    if (ZSTD_isError(length) != 0) {
      throw std::runtime_error(std::string("cannot compress: ") + ZSTD_getErrorName(length));
    }
    // A block that does not shrink is stored as it is.
    block.compressedLength = std::min(length, data_.size());
  }

 private:
  std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context_;
  std::vector<char> data_;
  std::vector<char> compressed_;
};

// `whole` scaled by the block's compressed share.
std::uint64_t scaledByShare(std::uint64_t whole, const Block& block) {
  return static_cast<std::uint64_t>(
      std::llround(static_cast<double>(whole) * static_cast<double>(block.compressedLength) /
                   static_cast<double>(block.length)));
}

void add(SampleTotals& totals, const std::vector<Block>& pair) {
  std::vector<std::uint64_t> shares;
  for (const Block& block : pair) {
    if (!block.problem.empty()) {
      ++totals.skippedBlocks;
      totals.skippedBytes += block.standsFor;
      totals.skippedExample = block.path + ": " + block.problem;
      continue;
    }
    ++totals.blocks;
    totals.bytesRead += block.length;
    totals.originalBytes += block.standsFor;
    totals.compressedBytes += scaledByShare(block.standsFor, block);
    shares.push_back(scaledByShare(kShareUnits, block));
  }
  if (shares.size() == 2) {
    const auto [least, most] = std::minmax(shares[0], shares[1]);
    ++totals.pairs;
    totals.squaredDifferences += (most - least) * (most - least);
  }
}

}  // namespace

std::string progressText(double share, double elapsedSeconds) {
  constexpr double kPercent = 100.0;
  constexpr double kMinute = 60.0;
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << share * kPercent << " % done, "
       << elapsedSeconds * (1.0 - share) / share / kMinute << " min left";
  return text.str();
}

SampleTotals compressSample(const Options& options) {
  Sample sample(options);
  SampleTotals totals;
  Progress progress;
  const auto start = std::chrono::steady_clock::now();
  std::mutex mutex;  // of all these
  const auto work = [&] {
    Compressor compressor(options.blockSize);
    std::unique_lock lock(mutex);
    std::vector<Block> pair = sample.nextPair();
    while (!pair.empty()) {
      if (progress.isDue()) {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        progress.draw(progressText(sample.shareDone(), elapsed.count()));
      }
      lock.unlock();
      for (Block& block : pair) {
        compressor.compress(block);
      }
      lock.lock();
      add(totals, pair);
      pair = sample.nextPair();
    }
  };
  std::vector<std::future<void>> threads;
  while (threads.size() < options.threads) {
    // Without a policy, a thread that cannot be started leaves its work to the others.
    threads.push_back(std::async(work));
  }
  for (std::future<void>& thread : threads) {
    thread.get();
  }
  return totals;
}
