#include "simulator/compression.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "common/descriptor.h"
#include "common/path.h"

namespace {

constexpr int kCompressionLevel = 1;

struct ContextCloser {
  void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
};

// Fills `buffer` from `offset` on. Returns false when the file is gone, may not be read, is no
// regular file any more or ends too early.
bool readBlock(const std::string& path, std::uint64_t offset, std::vector<char>& buffer) {
  // A pipe that has taken the file's place must not make the worker wait.
  const Descriptor file = openPath(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  struct stat status {};
  if (!file.isOpen() || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return false;
  }
  std::size_t done = 0;
  while (done < buffer.size()) {
    const ssize_t count = pread(file.number(), buffer.data() + done, buffer.size() - done,
                                static_cast<off_t>(offset + done));
    if (count <= 0) {
      return false;
    }
    done += static_cast<std::size_t>(count);
  }
  return true;
}

std::uint64_t weighted(std::uint64_t bytes, double weight) {
  return static_cast<std::uint64_t>(std::llround(static_cast<double>(bytes) * weight));
}

// Compresses one block after another, with memory that is allocated once.
class Compressor {
 public:
  explicit Compressor(std::uint64_t blockSize)
      : context_(ZSTD_createCCtx()), compressed_(ZSTD_compressBound(blockSize)) {
    if (context_ == nullptr) {
      throw std::bad_alloc();
    }
  }

  // The size after compression; a block that does not shrink counts at its own.
  std::uint64_t compressedSize(const std::vector<char>& block) {
    const std::size_t size =
        ZSTD_compressCCtx(context_.get(), compressed_.data(), compressed_.size(), block.data(),
                          block.size(), kCompressionLevel);
    if (ZSTD_isError(size) != 0) {
      throw std::runtime_error(std::string("cannot compress: ") + ZSTD_getErrorName(size));
    }
    return std::min(size, block.size());
  }

 private:
  std::unique_ptr<ZSTD_CCtx, ContextCloser> context_;
  std::vector<char> compressed_;
};

CompressionTotals compressUntilClosed(BlockQueue& queue, std::uint64_t blockSize) {
  Compressor compressor(blockSize);
  std::vector<char> buffer;
  buffer.reserve(blockSize);
  CompressionTotals totals;
  while (const std::optional<BlockToRead> next = queue.pop()) {
    const PickedBlock& block = next->block;
    buffer.resize(block.length);
    if (!readBlock(next->file->path, block.offset, buffer)) {
      if (!next->file->isSkipped.exchange(true)) {
        ++totals.skippedFiles;
      }
      continue;
    }
    ++totals.blocks;
    totals.bytesRead += block.length;
    totals.originalBytes += weighted(block.length, block.weight);
    totals.compressedBytes += weighted(compressor.compressedSize(buffer), block.weight);
  }
  return totals;
}

}  // namespace

CompressionTotals& CompressionTotals::operator+=(const CompressionTotals& other) {
  blocks += other.blocks;
  bytesRead += other.bytesRead;
  originalBytes += other.originalBytes;
  compressedBytes += other.compressedBytes;
  skippedFiles += other.skippedFiles;
  return *this;
}

CompressionTotals compressBlocks(BlockQueue& queue, std::uint64_t blockSize) {
  try {
    return compressUntilClosed(queue, blockSize);
  } catch (...) {
    queue.close();
    throw;
  }
}
