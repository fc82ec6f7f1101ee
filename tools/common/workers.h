#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <string>

// Threads that share a source and a sink under one lock. Where one of them throws, all end.
class Workers {
 public:
  using Lock = std::unique_lock<std::mutex>;

  // Calls `work`, which starts and ends with the lock held, in `count` threads or as many as the
  // system starts, and shows what `progress` tells. Throws what the first of them threw.
  void run(unsigned count, const std::function<void(Lock&)>& work,
           const std::function<std::string()>& progress);

  [[nodiscard]] bool haveFailed() const { return failure_ != nullptr; }

  // Gives up the lock until `isReady`, which is asked at each notice. Throws when one has failed.
  void wait(Lock& lock, const std::function<bool()>& isReady);
  void notify() { changed_.notify_all(); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::exception_ptr failure_;  // the first
};
