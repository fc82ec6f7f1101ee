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
      if (!lock.owns_lock()) {  // else nobody else meets a source that broke under it
        lock.lock();
      }
      failure_ = haveFailed() ? failure_ : std::current_exception();
      notify();
    }
  };
  std::vector<std::future<void>> threads;
  while (threads.size() < count) {
    // Without a policy, what a thread that cannot be started leaves to the others is done by get.
    threads.push_back(std::async(workUntilFailure));
  }
  for (std::future<void>& thread : threads) {
    while (thread.wait_for(kRedrawInterval) == std::future_status::timeout) {
      const Lock lock(mutex_);
      drawProgress(progress());
    }
    thread.get();
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
