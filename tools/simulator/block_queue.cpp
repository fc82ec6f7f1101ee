#include "simulator/block_queue.h"

#include <utility>

void BlockQueue::push(BlockToRead block) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return isClosed_ || blocks_.size() < capacity_; });
  if (!isClosed_) {
    blocks_.push_back(std::move(block));
    changed_.notify_all();
  }
}

std::optional<BlockToRead> BlockQueue::pop() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return isClosed_ || !blocks_.empty(); });
  if (blocks_.empty()) {
    return std::nullopt;
  }
  BlockToRead block = std::move(blocks_.front());
  blocks_.pop_front();
  changed_.notify_all();
  return block;
}

void BlockQueue::close() {
  const std::lock_guard lock(mutex_);
  isClosed_ = true;
  changed_.notify_all();
}
