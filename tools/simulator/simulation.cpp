#include "simulator/simulation.h"

#include <chrono>
#include <cmath>
#include <future>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "common/file_list.h"
#include "common/readable.h"
#include "common/terminal.h"
#include "simulator/block_queue.h"
#include "simulator/sample.h"

namespace {

constexpr std::size_t kQueuedBlocksPerThread = 4;

using Workers = std::vector<std::future<CompressionTotals>>;

// Closes the queue however the scope is left, since workers that wait would never end.
struct QueueCloser {
  BlockQueue& queue;
  ~QueueCloser() { queue.close(); }
};

// Fewer threads than asked for do the same work, only slower.
void startWorkers(Workers& workers, BlockQueue& queue, const Options& options) {
  workers.reserve(options.threads);
  try {
    while (workers.size() < options.threads) {
      workers.push_back(
          std::async(std::launch::async, compressBlocks, std::ref(queue), options.blockSize));
    }
  } catch (const std::system_error&) {
    if (workers.empty()) {
      throw;
    }
  }
}

// Shows the share of the sample that is done, and the time left once that can be told.
class SampleProgress {
 public:
  explicit SampleProgress(std::uint64_t dataBytes) : dataBytes_(dataBytes) {}

  void update(std::uint64_t bytesPassed) {
    constexpr double kToldAfterSeconds = 1.0;
    constexpr double kPercent = 100.0;
    if (!line_.isDue()) {
      return;
    }
    const double share = static_cast<double>(bytesPassed) / static_cast<double>(dataBytes_);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    std::string text = std::to_string(static_cast<int>(share * kPercent)) + " % of the sample";
    if (elapsed.count() >= kToldAfterSeconds && share > 0.0) {
      text += ", " + readableTime(elapsed.count() * (1.0 - share) / share) + " left";
    }
    line_.draw(text);
  }

 private:
  std::uint64_t dataBytes_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  Progress line_;
};

void queueSample(const Population& population, const Options& options, BlockQueue& queue) {
  SampleProgress progress(population.bytes);
  Sampler sampler(population, options);
  FileListReader list(options.listName);
  ListedFile listed;
  while (list.next(listed)) {
    sampler.startFile(listed.size);
    std::shared_ptr<SampledFile> file;
    while (const std::optional<PickedBlock> block = sampler.nextBlock()) {
      if (file == nullptr) {
        file = std::make_shared<SampledFile>(listed.path);
      }
      queue.push({file, *block});
      progress.update(sampler.bytesPassed());
    }
  }
  if (sampler.bytesSeen() != population.bytes) {
    throw std::runtime_error("changed while it was read: " + options.listName);
  }
}

}  // namespace

CompressionTotals simulate(const Options& options) {
  const Population population = measureList(options);
  BlockQueue queue(options.threads * kQueuedBlocksPerThread);
  Workers workers;
  {
    const QueueCloser closer{queue};
    startWorkers(workers, queue, options);
    queueSample(population, options, queue);
  }
  CompressionTotals totals;
  for (std::future<CompressionTotals>& worker : workers) {
    totals += worker.get();
  }
  return totals;
}
