#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "simulator/sample.h"

// A file that blocks are read from.
struct SampledFile {
  explicit SampledFile(std::string itsPath) : path(std::move(itsPath)) {}

  std::string path;
  std::atomic<bool> isSkipped = false;
};

struct BlockToRead {
  std::shared_ptr<SampledFile> file;
  PickedBlock block;
};

// Hands blocks from the reader of the list to the workers, a bounded number at a time.
class BlockQueue {
 public:
  explicit BlockQueue(std::size_t capacity) : capacity_(capacity) {}

  // Waits for room; drops the block when the queue has been closed.
  void push(BlockToRead block);

  // Waits for a block; returns none when the queue is closed and empty.
  std::optional<BlockToRead> pop();

  // Takes no more blocks and lets everyone who waits go on.
  void close();

 private:
  const std::size_t capacity_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<BlockToRead> blocks_;
  bool isClosed_ = false;
};
