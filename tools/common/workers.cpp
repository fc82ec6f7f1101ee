#include "common/workers.h"

#include <future>
#include <stdexcept>
#include <vector>

#include "common/console.h"

void Workers::run(unsigned count, const std::function<void(Lock&)>& work,
                  const std::function<std::string()>& progress) {
  const auto workUntilFailure = [&] {
    Lock lock(mutex_);
    try {
      work(lock);
    } catch (...) {
      if (!lock.owns_lock()) {
        lock.lock();
      }
      failure_ = haveFailed() ? failure_ : std::current_exception();
      notify();
    }
  };
  std::vector<std::future<void>> threads;
  try {
    while (threads.size() < count) {
      threads.push_back(std::async(std::launch::async, workUntilFailure));
    }
  } catch (const std::exception&) {
    // Those that have started do all the work.
  }
  if (threads.empty()) {
    workUntilFailure();
  }
  for (std::future<void>& thread : threads) {
    while (thread.wait_for(kRedrawInterval) == std::future_status::timeout) {
      // Drawn without the lock, since a terminal may take nothing for as long as it likes.
      Lock lock(mutex_);
      const std::string text = progress();
      lock.unlock();
      drawProgress(text);
    }
  }
  eraseProgress();
  if (haveFailed()) {
    std::rethrow_exception(failure_);
  }
}

void Workers::wait(Lock& lock, const std::function<bool()>& isReady) {
  changed_.wait(lock, [&] { return haveFailed() || isReady(); });
  if (haveFailed()) {
    throw std::runtime_error("another worker has failed");
  }
}
