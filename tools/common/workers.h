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

  // Calls `work`, which starts and ends with the lock held, in `count` threads, in as many as the
  // system starts or else in this one, and shows what `progress`, called with the lock held, tells.
  // Throws what the first of them threw.
  void run(unsigned count, const std::function<void(Lock&)>& work,
           const std::function<std::string()>& progress);

  // Needs the lock.
  [[nodiscard]] bool haveFailed() const { return failure_ != nullptr; }

  // Gives up the lock until `isReady`, which is asked at each notice. Throws when one has failed.
  void wait(Lock& lock, const std::function<bool()>& isReady);
  void notify() { changed_.notify_all(); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::exception_ptr failure_;  // the first
};
