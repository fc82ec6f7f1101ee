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

  // Gives up the lock for as long as it lives, for what a thread does alone.
  class Unlocked {
   public:
    explicit Unlocked(Lock& lock) : lock_(lock) { lock_.unlock(); }
    ~Unlocked() { lock_.lock(); }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

   private:
    Lock& lock_;
  };

  // Calls `work`, which starts and ends with the lock held, in `first` threads and, while all are
  // at work but use little of the processor, as on storage that answers late, in more, up to
  // `most`; in as many as the system starts, or else in this one. Shows what `progress`, called
  // with the lock held, tells. Throws what the first of them threw.
  void run(std::size_t first, std::size_t most, const std::function<void(Lock&)>& work,
           const std::function<std::string()>& progress);

  // Needs the lock.
  [[nodiscard]] bool haveFailed() const { return failure_ != nullptr; }

  // Gives up the lock until `isReady`, which is asked at each notice. Throws when one has failed.
  void wait(Lock& lock, const std::function<bool()>& isReady);
  void notify() { changed_.notify_all(); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  // Under the lock:
  std::size_t waiting_ = 0;     // threads without anything to do
  std::exception_ptr failure_;  // the first
};
