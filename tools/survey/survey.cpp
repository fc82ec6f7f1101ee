#include "survey/survey.h"

#include <sys/resource.h>

#include <algorithm>
#include <list>
#include <stdexcept>
#include <utility>

#include "common/filelist.h"
#include "common/messages.h"
#include "common/workers.h"
#include "survey/directory.h"

namespace {

constexpr std::size_t kFirstThreads = 8;
constexpr std::size_t kMostThreads = 64;     // on storage that answers late
constexpr std::size_t kMostReadAhead = 512;  // pieces; more would only fill the memory
constexpr std::size_t kMostNamed = 10;       // more would scroll the report away

// The threads may have one directory each open, and as many may wait to be read on; the rest is for
// other files.
std::size_t thirdOfOpenFiles() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  return std::max<std::size_t>(limit.rlim_cur / 3, 1);
}

// A place in the list of what is still to be read: a directory that was found, or the rest of one
// that is open, of which a thread takes the next piece.
struct Place {
  FoundDirectory directory;
  std::shared_ptr<const OpenDirectory> opened = nullptr;
  bool isTaken = false;
  std::list<Findings> before = {};  // was read and comes right before it in the list of files

  [[nodiscard]] bool isRest() const { return !isTaken && opened != nullptr; }
};

// What all threads share. The places stand in the order of the list of files, whatever the threads
// do: that of a piece gives way to the directories in it and the rest of its directory. What comes
// before the first place is written.
class Survey {
 public:
  Survey(const Output& infoLog, Output& list) : infoLog_(infoLog), list_(list) {}

  Figures run(const FoundDirectory& root) {
    Findings findings;
    auto opened = openDirectory(root, 0, findings);
    if (!findings.problems.empty()) {
      throw std::runtime_error(findings.problems.front());
    }
    figures_ = findings.figures;
    if (opened != nullptr) {
      addRest(end_, {.directory = root, .opened = std::move(opened)});
    }
    workers_.run(
        std::min(kFirstThreads, mostRests_), std::min(kMostThreads, mostRests_),
        [this](Workers::Lock& lock) { work(lock); },
        [this] { return "files: " + std::to_string(figures_.fileCount); });
    for (const std::string& problem : problems_) {
      complain(problem);
    }
    if (figures_.leftOutCount > kMostNamed) {
      complain("and " + std::to_string(figures_.leftOutCount - kMostNamed) + " more");
    }
    return figures_;
  }

 private:
  using Places = std::list<Place>;

  // Reads one piece after another, in each thread.
  void work(Workers::Lock& lock) {
    Piece piece;
    for (auto place = take(lock); place != end_; place = take(lock)) {
      Findings findings;
      auto opened = std::move(place->opened);
      bool hasRest = false;
      {
        const Workers::Unlocked alone(lock);
        if (opened == nullptr) {
          opened = openDirectory(place->directory, O_NOFOLLOW, findings);
        }
        hasRest = opened != nullptr && piece.read(*opened, findings);
      }
      if (hasRest) {
        // Before its files are looked at, so that another thread reads on meanwhile.
        addRest(std::next(place), {.directory = place->directory, .opened = opened});
      }
      if (opened != nullptr) {
        const Workers::Unlocked alone(lock);
        piece.lookAt(*opened, infoLog_, list_, findings);
        opened.reset();
      }
      finish(place, std::move(findings));
    }
  }

  // The functions below need the lock.

  // Waits for a place to read. The end means that all are read.
  Places::iterator take(Workers::Lock& lock) {
    workers_.wait(lock, [this] { return next() != end_ || places_.begin() == end_; });
    const auto place = next();
    rests_ -= place->isRest() ? 1 : 0;
    place->isTaken = true;
    return place;
  }

  // The place that is to be read next, the first but for two bounds; the end where none is.
  Places::iterator next() {
    auto place = places_.begin();
    if (rests_ >= mostRests_) {
      return std::ranges::find_if(place, end_, &Place::isRest);
    }
    std::size_t ahead = 0;  // pieces before it that are read and not written yet
    while (place != end_ && place->isTaken) {
      ++place;
      ahead += place->before.size();
    }
    return ahead < kMostReadAhead ? place : end_;
  }

  void addRest(Places::iterator behind, Place rest) {
    places_.insert(behind, std::move(rest));
    ++rests_;
    workers_.notify();
  }

  // Puts what was found into its place, and writes what comes before the first one.
  void finish(Places::iterator place, Findings findings) {
    add(figures_, findings.figures);
    const auto behind = std::next(place);
    for (FoundDirectory& found : findings.directories) {
      places_.insert(behind, {.directory = std::move(found)});
    }
    place->before.push_back(std::move(findings));
    const auto following = std::next(place);
    following->before.splice(following->before.begin(), place->before);
    places_.erase(place);
    std::list<Findings>& written = places_.front().before;
    for (; !written.empty(); written.pop_front()) {
      write(written.front());
    }
    workers_.notify();
  }

  void write(const Findings& findings) {
    std::string records;
    for (const auto& [size, name] : findings.files) {
      addRecord(records, size, findings.prefix, name);
    }
    list_.append(records);
    for (const std::string& problem : findings.problems) {
      if (problems_.size() < kMostNamed) {
        problems_.push_back(problem);
      }
    }
  }

  const Output& infoLog_;
  Output& list_;
  const std::size_t mostRests_ = thirdOfOpenFiles();
  Workers workers_;
  // Under the lock:
  Places places_{{.directory = {}, .isTaken = true}};  // nobody takes the last, the end
  const Places::iterator end_ = places_.begin();
  std::size_t rests_ = 0;              // of the places, rests that wait
  Figures figures_ = {};               // of all that were read
  std::vector<std::string> problems_;  // the first in those that were written
};

}  // namespace

Figures surveyTree(const std::string& directory, const Output& infoLog, Output& list) {
  return Survey(infoLog, list).run({directory, 0});
}
