#include "common/workers.h"

#include <algorithm>
#include <ctime>
#include <future>
#include <stdexcept>
#include <utility>
#include <vector>

#include "common/messages.h"

namespace {

// Processor time within a redraw interval, of half a core. Work that takes more does not wait for
// the storage, and more threads would only be in each other's way.
constexpr std::clock_t kLittleUse = CLOCKS_PER_SEC * kRedrawInterval / std::chrono::seconds(2);

}  // namespace

void Workers::run(std::size_t first, std::size_t most, const std::function<void(Lock&)>& work,
                  const std::function<std::string()>& progress) {
  const auto workUntilFailure = [&] {
    Lock lock(mutex_);
    try {
      work(lock);
    } catch (...) {
      // The lock is still held, or again, so that nobody fails of what this one leaves behind.
      failure_ = haveFailed() ? failure_ : std::current_exception();
      notify();
    }
  };
  std::vector<std::future<void>> threads;
  threads.reserve(most);
  const auto startUpTo = [&](std::size_t count) {
    try {
      while (threads.size() < count) {
        threads.push_back(std::async(std::launch::async, workUntilFailure));
      }
    } catch (const std::exception&) {
      most = threads.size();  // those that have started do all the work
    }
  };
  startUpTo(first);
  if (threads.empty()) {
    workUntilFailure();
  }
  std::clock_t used = std::clock();
  for (std::size_t i = 0; i < threads.size(); ++i) {
    while (threads[i].wait_for(kRedrawInterval) == std::future_status::timeout) {
      Lock lock(mutex_);
      const bool isEachAtWork = waiting_ == 0;
      const std::string text = progress();
      lock.unlock();
      const std::clock_t usedBefore = std::exchange(used, std::clock());
      if (isEachAtWork && used - usedBefore < kLittleUse) {
        startUpTo(std::min(most, 2 * threads.size()));
      }
      // Without the lock, since a terminal may take nothing for as long as it likes.
      drawProgress(text);
    }
  }
  eraseProgress();
  if (haveFailed()) {
    std::rethrow_exception(failure_);
  }
}

void Workers::wait(Lock& lock, const std::function<bool()>& isReady) {
  ++waiting_;
  changed_.wait(lock, [&] { return haveFailed() || isReady(); });
  --waiting_;
  if (haveFailed()) {
    throw std::runtime_error("another worker has failed");
  }
}
