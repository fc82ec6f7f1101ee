#include <dirent.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <list>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "common/console.h"
#include "common/files.h"
#include "common/workers.h"

namespace {

constexpr unsigned kThreads = 8;             // storage that answers late answers as many at once
constexpr int kPiecesAhead = 64;             // from the front on, so that a disk's head stays near
constexpr std::size_t kPieceLength = 65536;  // bytes of entries, some 2,000 of usual names
constexpr std::size_t kMostHeldBack = 33554432;  // bytes of the list; then the front is read
constexpr std::size_t kMostNamed = 10;           // more would scroll the report away
constexpr double kTellingShare = 0.01;           // of the size, without storage

// What is counted, in the order of the info log, and its names there.
enum Figure {
  kBytes,             // of the regular files
  kFiles,             // those
  kDirectories,       // the surveyed one included
  kAllocatedBytes,    // of storage, to the files
  kUnallocatedBytes,  // of the files, without storage
  kLeftOut,           // directories and files that were found but could not be read
};
constexpr std::array kFigureNames = {"size",           "file_count",       "dir_count",
                                     "allocated_size", "unallocated_size", "left_out_count"};
using Figures = std::array<std::uint64_t, kFigureNames.size()>;

// As many of a directory's entries as fill a buffer, and what is found in them. One that is not
// taken yet is all of the directory or, where that is open, the rest of it.
struct Piece {
  std::string path;                                  // of the directory
  dev_t device;                                      // of its parent, until it is opened
  std::shared_ptr<const OpenFile> opened = nullptr;  // shared by all its pieces
  bool isTaken = false;
  bool isRead = false;

  Figures figures = {};
  std::string records = {};  // of the list
  std::list<std::string> problems = {};
  std::list<Piece> inside = {};  // the directories found
};

// Walks a tree without following the symbolic links in it. The pieces still to be written stand in
// the order of the list, whatever the threads do: a thread takes one, puts the rest of its
// directory behind it and, between the two, the directories found. Those at the front that are read
// are written and dropped. The front is taken at the latest when nothing else may be.
class Survey {
 public:
  // Neither of the survey's own two files counts.
  Survey(std::string directory, const Output& infoLog, Output& list)
      : root_(std::move(directory)), infoLog_(infoLog), list_(list) {}

  // Throws std::runtime_error when the directory, which may itself be a symbolic link, cannot be
  // read, the list cannot be written or the sizes do not add up in 64 bits.
  Figures run() {
    pieces_.push_back({.path = root_, .device = 0});
    workers_.run(
        kThreads, [this](Workers::Lock& lock) { work(lock); },
        [this] { return "files: " + std::to_string(figures_[kFiles]); });
    for (const std::string& problem : problems_) {
      complain(problem);
    }
    if (figures_[kLeftOut] > kMostNamed) {
      complain("and " + std::to_string(figures_[kLeftOut] - kMostNamed) + " more");
    }
    return figures_;
  }

 private:
  // Reads one piece after another, meanwhile without the lock.
  void work(Workers::Lock& lock) {
    std::vector<char> buffer(kPieceLength);
    for (auto taken = take(lock); taken != pieces_.end(); taken = take(lock)) {
      taken->isTaken = true;
      lock.unlock();
      std::size_t length = 0;
      if ((taken->opened || open(*taken)) && fill(*taken, buffer, length)) {
        // Before a file is looked at, so that another thread reads on meanwhile.
        lock.lock();
        pieces_.insert(std::next(taken),
                       {.path = taken->path, .device = taken->device, .opened = taken->opened});
        workers_.notify();
        lock.unlock();
      }
      lookAt(*taken, {buffer.data(), length});
      lock.lock();
      taken->isRead = true;
      std::ranges::transform(figures_, taken->figures, figures_.begin(), sum);
      heldBack_ += taken->records.size();
      pieces_.splice(std::next(taken), taken->inside);
      while (!pieces_.empty() && pieces_.front().isRead) {
        Piece& front = pieces_.front();
        list_.append(front.records);
        heldBack_ -= front.records.size();
        problems_.splice(problems_.end(), front.problems);
        problems_.resize(std::min(problems_.size(), kMostNamed));
        pieces_.pop_front();
      }
      workers_.notify();
    }
  }

  // Waits for a piece near the front that nobody has taken. The end means that all are read.
  std::list<Piece>::iterator take(Workers::Lock& lock) {
    auto next = pieces_.end();
    workers_.wait(lock, [&] {
      const int reach = heldBack_ < kMostHeldBack ? kPiecesAhead : 1;
      const auto stop = std::ranges::next(pieces_.begin(), reach, pieces_.end());
      next = std::ranges::find(pieces_.begin(), stop, false, &Piece::isTaken);
      const auto rest = std::find_if(
          next, stop, [](const Piece& piece) { return !piece.isTaken && piece.opened; });
      if (rest != stop) {
        next = rest;  // else more and more directories would be open
      }
      return next != stop || pieces_.empty();
    });
    return next;
  }

  // Returns whether the directory is to be read.
  bool open(Piece& piece) {
    piece.opened = std::make_shared<const OpenFile>(
        piece.path, O_DIRECTORY | (piece.path == root_ ? 0 : O_NOFOLLOW));
    const int descriptor = piece.opened->descriptor();
    struct stat status {};
    const bool isOpen = descriptor >= 0 && fstat(descriptor, &status) == 0;
    struct statfs system {};
    if (isOpen && status.st_dev != piece.device && fstatfs(descriptor, &system) == 0 &&
        (system.f_type == PROC_SUPER_MAGIC || system.f_type == SYSFS_MAGIC)) {
      return false;  // the kernel shows itself there, with sizes that no storage holds
    }
    ++piece.figures[kDirectories];
    piece.device = status.st_dev;
    if (!isOpen) {
      leaveOut(piece, piece.path);
    }
    return isOpen;
  }

  // Reads the next entries of the directory, `length` bytes of them. A listing may be interrupted
  // anywhere; it ends where the next entry does not fit. Returns whether there is a rest; a failure
  // behind other entries counts as one, which then meets it.
  bool fill(Piece& piece, std::vector<char>& buffer, std::size_t& length) {
    ssize_t added = 0;
    while ((added = getdents64(piece.opened->descriptor(), buffer.data() + length,
                               buffer.size() - length)) > 0) {
      length += static_cast<std::size_t>(added);
    }
    if (added < 0 && length == 0) {
      leaveOut(piece, piece.path);
    }
    return added < 0 && length > 0;
  }

  void lookAt(Piece& piece, std::string_view listing) {
    std::vector<const dirent64*> entries;
    for (; !listing.empty(); listing.remove_prefix(entries.back()->d_reclen)) {
      entries.push_back(reinterpret_cast<const dirent64*>(listing.data()));
    }
    std::ranges::sort(entries, {}, &dirent64::d_ino);  // as they lie on most disks
    for (const dirent64* const entry : entries) {
      visit(*entry, piece);
    }
    piece.opened.reset();
  }

  void visit(const dirent64& entry, Piece& piece) {
    const std::string name = entry.d_name;
    if (name == "." || name == "..") {
      return;
    }
    const std::string path = piece.path + (piece.path.ends_with('/') ? "" : "/") + name;
    struct stat status {};
    status.st_mode = static_cast<mode_t>(DTTOIF(entry.d_type));
    // Some file systems leave the type unknown.
    if ((entry.d_type == DT_REG || entry.d_type == DT_UNKNOWN) &&
        fstatat(piece.opened->descriptor(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      leaveOut(piece, path);
    } else if (S_ISDIR(status.st_mode)) {
      piece.inside.push_back({.path = path, .device = piece.device});
    } else if (S_ISREG(status.st_mode) && path.size() >= PATH_MAX) {
      errno = ENAMETOOLONG;  // for whoever would open it
      leaveOut(piece, path);
    } else if (S_ISREG(status.st_mode) && !infoLog_.isSameFile(status) &&
               !list_.isSameFile(status)) {
      ++piece.figures[kFiles];
      const auto size = static_cast<std::uint64_t>(status.st_size);
      const auto allocated = static_cast<std::uint64_t>(status.st_blocks) * 512;
      piece.figures[kBytes] = sum(piece.figures[kBytes], size);
      piece.figures[kAllocatedBytes] += allocated;
      piece.figures[kUnallocatedBytes] += size - std::min(size, allocated);
      piece.records += std::to_string(size) + ' ' + path + '\0';
    }
  }

  // For the reason in errno.
  void leaveOut(Piece& piece, const std::string& path) {
    const std::string problem =
        "cannot read " + path + ": " + std::generic_category().message(errno);
    if (path == root_) {
      throw std::runtime_error(problem);
    }
    ++piece.figures[kLeftOut];
    piece.problems.push_back(problem);
  }

  const std::string root_;
  const Output& infoLog_;
  Output& list_;
  Workers workers_;
  // Under the lock:
  std::list<Piece> pieces_;          // still to be written
  std::size_t heldBack_ = 0;         // bytes of the list, in those that are read
  Figures figures_ = {};             // of all that were read
  std::list<std::string> problems_;  // the first in those that were written
};

// In the unit that `du -h` takes.
std::string sizeText(std::uint64_t bytes) {
  const char* unit = "KMGTPE";
  double size = double(bytes) / 1024.0;
  for (; size >= 1023.995; ++unit) {
    size /= 1024.0;
  }
  return decimal(size, 2) + ' ' + *unit + "iB";
}

std::string sentence(const std::string& directory, const Figures& figures) {
  std::string text = "Surveyed " + directory + ": files: " + std::to_string(figures[kFiles]) +
                     ", directories: " + std::to_string(figures[kDirectories]) +
                     ", size: " + sizeText(figures[kBytes]) +
                     " (allocated: " + sizeText(figures[kAllocatedBytes]);
  if (double(figures[kUnallocatedBytes]) / double(figures[kBytes]) >= kTellingShare) {
    text += "; without storage: " + sizeText(figures[kUnallocatedBytes]) +
            " of holes or compressed by the file system, which lift the ratio";
  }
  if (figures[kLeftOut] == 0) {
    return text + "), all of it listed.";
  }
  return text +
         "), directories or files that could not be read: " + std::to_string(figures[kLeftOut]) +
         "; what they hold is missing.";
}

int survey(const std::string& directory, const std::string& aliasName) {
  umask(077);  // the list names what lies in private directories, too
  Output infoLog(aliasName + "_file_info.log");
  Output list(aliasName + "_file_type_file_list_new.log");
  const Figures figures = Survey(directory, infoLog, list).run();
  list.finish();
  say(sentence(directory, figures));
  for (std::size_t i = 0; i < figures.size(); ++i) {
    infoLog.append(std::string("detect_directory_") + kFigureNames[i] +
                   " is: " + std::to_string(figures[i]) + "\n");
  }
  infoLog.finish();
  return figures[kLeftOut] == 0 ? EXIT_SUCCESS : kPartialResult;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string usage = "usage: kel_evaluation_tool <directory> <aliasName>";
  return runTool(argc, argv, usage, [&] {
    if (argc != 3) {
      throw std::runtime_error(usage);
    }
    return survey(argv[1], argv[2]);
  });
}
