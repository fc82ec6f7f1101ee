#include "simulator/compression.h"

#include <zstd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "common/console.h"

namespace {

constexpr int kCompressionLevel = 1;

// Reads the block into `data`. Returns why that is not possible, or an empty text.
std::string readBlock(const Block& block, std::vector<char>& data) {
  std::error_code error;
  // A pipe that has taken the file's place would make the thread wait.
  if (!std::filesystem::is_regular_file(block.path, error)) {
    return error ? error.message() : "no regular file";
  }
  std::ifstream file(block.path, std::ios::binary);
  data.resize(block.length);
  file.seekg(static_cast<std::streamoff>(block.offset));
  if (file.read(data.data(), static_cast<std::streamsize>(data.size()))) {
    return "";
  }
  return file.eof() ? "shorter than listed" : std::generic_category().message(errno);
}

// Reads and compresses one block after another, in buffers that it takes once.
class Compressor {
 public:
  explicit Compressor(std::uint64_t blockSize)
      : context_(ZSTD_createCCtx(), &ZSTD_freeCCtx),
        data_(blockSize),
        compressed_(ZSTD_compressBound(blockSize)) {
    if (context_ == nullptr) {
      throw std::bad_alloc();
    }
    compressData();  // takes the context's own memory
  }

  void compress(Block& block) {
    block.problem = readBlock(block, data_);
    if (block.problem.empty()) {
      // A block that does not shrink is stored as it is.
      const std::size_t length = std::min(compressData(), data_.size());
      block.compressedShare = double(length) / double(data_.size());
    }
  }

 private:
  std::size_t compressData() {
    const std::size_t length =
        ZSTD_compressCCtx(context_.get(), compressed_.data(), compressed_.size(), data_.data(),
                          data_.size(), kCompressionLevel);
    if (ZSTD_isError(length) != 0) {
      throw std::runtime_error(std::string("cannot compress: ") + ZSTD_getErrorName(length));
    }
    return length;
  }

  std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context_;
  std::vector<char> data_;
  std::vector<char> compressed_;
};

std::uint64_t scaled(std::uint64_t whole, double share) {
  return static_cast<std::uint64_t>(std::llround(double(whole) * share));
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
    totals.compressedBytes += scaled(block.standsFor, block.compressedShare);
    shares.push_back(scaled(kShareUnits, block.compressedShare));
  }
  if (shares.size() == 2) {
    const std::uint64_t difference = shares[0] - shares[1];  // below 0 it wraps, its square is true
    ++totals.pairs;
    totals.squaredDifferences += difference * difference;
  }
}

}  // namespace

std::string progressText(double share, std::chrono::duration<double> elapsed) {
  const auto left = static_cast<long>(elapsed.count() * (1.0 - share) / share);
  char text[64];
  std::snprintf(text, sizeof text, "%.1f %% done, %ld:%02ld:%02ld left", share * 100.0, left / 3600,
                left / 60 % 60, left % 60);
  return text;
}

SampleTotals compressSample(const Options& options) {
  Sample sample(options);
  SampleTotals totals;
  Progress progress;
  std::exception_ptr failure;
  std::mutex mutex;  // guards all of these
  const auto start = std::chrono::steady_clock::now();

  const auto work = [&](Compressor& compressor) {
    std::unique_lock lock(mutex);
    try {
      for (std::vector<Block> pair = sample.nextPair(); !pair.empty() && failure == nullptr;
           pair = sample.nextPair()) {
        if (progress.isDue()) {
          progress.draw(progressText(sample.shareDone(), std::chrono::steady_clock::now() - start));
        }
        lock.unlock();
        for (Block& block : pair) {
          compressor.compress(block);
        }
        lock.lock();
        add(totals, pair);
      }
    } catch (...) {
      if (!lock.owns_lock()) {
        lock.lock();
      }
      failure = failure == nullptr ? std::current_exception() : failure;
    }
  };

  std::vector<Compressor> compressors;
  while (compressors.size() < options.threads) {
    compressors.emplace_back(options.blockSize);
  }
  std::vector<std::future<void>> threads;
  while (threads.size() < compressors.size()) {
    // Without a policy, the work of a thread that cannot be started is left to the others.
    threads.push_back(std::async(work, std::ref(compressors[threads.size()])));
  }
  for (std::future<void>& thread : threads) {
    thread.get();
  }
  if (failure != nullptr) {
    std::rethrow_exception(failure);
  }
  return totals;
}
