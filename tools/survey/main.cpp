#include <dirent.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <list>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "common/console.h"
#include "common/files.h"
#include "common/workers.h"

namespace {

constexpr unsigned kThreads = 8;          // storage that answers late answers as many at once
constexpr int kDirectoriesAhead = 64;     // of the front, so that a disk's head stays near it
constexpr int kEntriesAtOnce = 262144;    // bytes, some 8,000 entries, that are put in order
constexpr int kMostHeldBack = 1048576;    // bytes of the list, by a directory behind the front
constexpr int kMostHeld = 33554432;       // by all: beyond, only the front is taken
constexpr int kMostNamed = 10;            // more would scroll the report away
constexpr double kUsualAllocation = 0.9;  // of the size; what is missing lifts the ratio

struct Figures {
  std::atomic<std::uint64_t> bytes = 0;           // of the regular files
  std::atomic<std::uint64_t> allocatedBytes = 0;  // of storage, to them
  std::atomic<std::uint64_t> files = 0;
  std::atomic<std::uint64_t> directories = 0;  // the surveyed one included
  std::atomic<std::uint64_t> leftOut = 0;      // of both, that were found but could not be read
};

struct Directory {
  struct Findings {
    std::string records;  // of the list
    std::vector<std::string> problems;
    std::list<Directory> inside;
  };

  std::string path;
  dev_t device;                                  // of its parent, until it is opened
  std::unique_ptr<Findings> findings = nullptr;  // there once a thread has taken it
  bool isRead = false;
};

std::string leftOutText(std::uint64_t count) {
  return std::to_string(count) +
         (count == 1 ? " directory or file could not be read; what it holds is missing"
                     : " directories or files could not be read; what they hold is missing");
}

// There the kernel shows itself, with sizes that no storage holds.
bool isOfTheKernel(int directory) {
  struct statfs fileSystem {};
  return fstatfs(directory, &fileSystem) == 0 &&
         (fileSystem.f_type == PROC_SUPER_MAGIC || fileSystem.f_type == SYSFS_MAGIC);
}

// Walks a tree without following the symbolic links in it, and lists the files of a directory, then
// each of its directories in the same way, whatever the threads do. The directories still to be
// written stand in this order. A thread takes the first that nobody has taken, and what is found in
// it comes right behind it; those at the front that are read are written and dropped. One with more
// records than it may hold back waits for its turn at the front. The front itself waits for nobody:
// a thread reads it, or it is the first that the next one takes.
class Survey {
 public:
  // Neither of the survey's own two files counts.
  Survey(std::string directory, const Output& infoLog, Output& list)
      : root_(std::move(directory)), infoLog_(infoLog), list_(list) {}

  // Throws std::runtime_error when the directory, which may itself be a symbolic link, cannot be
  // read, the list cannot be written or the sizes do not add up in 64 bits.
  const Figures& run() {
    directories_.push_back({.path = root_, .device = 0});
    workers_.run(
        kThreads, [this](Workers::Lock& lock) { work(lock); },
        [this] { return "files: " + std::to_string(figures_.files); });
    if (figures_.leftOut > kMostNamed) {
      complain("and " + std::to_string(figures_.leftOut - kMostNamed) + " more: in all " +
               leftOutText(figures_.leftOut));
    }
    return figures_;
  }

 private:
  // Reads one directory after another, meanwhile without the lock.
  void work(Workers::Lock& lock) {
    std::vector<char> buffer(kEntriesAtOnce);
    for (auto taken = take(lock); taken != directories_.end(); taken = take(lock)) {
      taken->findings = std::make_unique<Directory::Findings>();
      lock.unlock();
      readDirectory(*taken, buffer, lock);
      lock.lock();
      taken->isRead = true;
      held_ += taken->findings->records.size();
      directories_.splice(std::next(taken), taken->findings->inside);
      while (!directories_.empty() && directories_.front().isRead) {
        held_ -= directories_.front().findings->records.size();
        write(*directories_.front().findings);
        directories_.pop_front();
      }
      workers_.notify();
    }
  }

  // Waits for the first directory that nobody has taken. The end means that all are read.
  std::list<Directory>::iterator take(Workers::Lock& lock) {
    auto first = directories_.end();
    workers_.wait(lock, [&] {
      first = std::ranges::find_if(directories_, std::logical_not(), &Directory::findings);
      const auto ahead = std::distance(directories_.begin(), first);
      return ahead == 0 ||
             (first != directories_.end() && ahead < kDirectoriesAhead && held_ < kMostHeld);
    });
    return first;
  }

  void readDirectory(Directory& directory, std::vector<char>& buffer, Workers::Lock& lock) {
    const OpenFile opened(directory.path, O_DIRECTORY | (directory.path == root_ ? 0 : O_NOFOLLOW));
    struct stat status {};
    const bool isOpen = opened.descriptor() >= 0 && fstat(opened.descriptor(), &status) == 0;
    if (isOpen && status.st_dev != directory.device && isOfTheKernel(opened.descriptor())) {
      return;
    }
    ++figures_.directories;
    directory.device = status.st_dev;
    ssize_t length = -1;
    while (isOpen && (length = getdents64(opened.descriptor(), buffer.data(), buffer.size())) > 0) {
      std::vector<const dirent64*> entries;
      for (ssize_t at = 0; at < length; at += entries.back()->d_reclen) {
        entries.push_back(reinterpret_cast<const dirent64*>(buffer.data() + at));
      }
      std::ranges::sort(entries, {}, &dirent64::d_ino);  // as they lie on most disks
      for (const dirent64* const entry : entries) {
        visit(*entry, directory, opened.descriptor());
      }
      if (directory.findings->records.size() > kMostHeldBack) {
        lock.lock();
        workers_.wait(lock, [&] { return &directory == &directories_.front(); });
        write(*directory.findings);
        lock.unlock();
      }
    }
    if (length < 0) {
      leaveOut(directory, directory.path);
    }
  }

  void visit(const dirent64& entry, Directory& parent, int descriptor) {
    const std::string name = entry.d_name;
    const std::string path = parent.path + (parent.path.ends_with('/') ? "" : "/") + name;
    struct stat status {};
    status.st_mode = static_cast<mode_t>(DTTOIF(entry.d_type));
    // Some file systems leave the type unknown.
    if ((entry.d_type == DT_REG || entry.d_type == DT_UNKNOWN) &&
        fstatat(descriptor, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      leaveOut(parent, path);
    } else if (S_ISDIR(status.st_mode) && name != "." && name != "..") {
      parent.findings->inside.push_back({.path = path, .device = parent.device});
    } else if (S_ISREG(status.st_mode) && !infoLog_.isSameFile(status) &&
               !list_.isSameFile(status)) {
      const auto size = static_cast<std::uint64_t>(status.st_size);
      ++figures_.files;
      requireSum(figures_.bytes.fetch_add(size), size);
      figures_.allocatedBytes += static_cast<std::uint64_t>(status.st_blocks) * 512;
      parent.findings->records += std::to_string(size) + ' ' + path + '\0';
    }
  }

  // For the reason in errno.
  void leaveOut(Directory& parent, const std::string& path) {
    const std::string problem =
        "cannot read " + path + ": " + std::generic_category().message(errno);
    if (path == root_) {
      throw std::runtime_error(problem);
    }
    ++figures_.leftOut;
    if (parent.findings->problems.size() < kMostNamed) {
      parent.findings->problems.push_back(problem);
    }
  }

  // Under the lock, for the directory at the front.
  void write(Directory::Findings& found) {
    list_.append(std::exchange(found.records, {}));
    for (const std::string& problem : std::exchange(found.problems, {})) {
      if (named_++ < kMostNamed) {
        complain(problem);
      }
    }
  }

  const std::string root_;
  const Output& infoLog_;
  Output& list_;
  Figures figures_;
  Workers workers_;
  std::list<Directory> directories_;  // still to be written; like the next two under the lock
  std::size_t held_ = 0;              // bytes of the list, by directories that are read
  int named_ = 0;
};

// As `du -h` scales.
std::string sizeText(std::uint64_t bytes) {
  const char* unit = "KMGTPE";
  double size = double(bytes) / 1024.0;
  for (; size >= 1023.995; ++unit) {
    size /= 1024.0;
  }
  return decimal(size, 2) + ' ' + *unit + "iB";
}

std::string sentence(const std::string& directory, const Figures& figures) {
  std::string text = "Surveyed " + directory + ": files: " + std::to_string(figures.files) +
                     ", directories: " + std::to_string(figures.directories) +
                     ", size: " + sizeText(figures.bytes) +
                     " (allocated: " + sizeText(figures.allocatedBytes);
  if (double(figures.allocatedBytes) < kUsualAllocation * double(figures.bytes)) {
    text += "; the rest is holes or already compressed by the file system, and lifts the ratio";
  }
  return text + (figures.leftOut == 0 ? "), nothing left out."
                                      : "); " + leftOutText(figures.leftOut) + ".");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) {
      throw std::runtime_error("usage: kel_evaluation_tool <directory> <aliasName>");
    }
    const std::string aliasName = argv[2];
    umask(077);  // the list names what lies in private directories, too
    Output infoLog(aliasName + "_file_info.log");
    Output list(aliasName + "_file_type_file_list_new.log");
    Survey survey(argv[1], infoLog, list);
    const Figures& figures = survey.run();
    list.finish();
    say(sentence(argv[1], figures));
    infoLog.append(
        "detect_directory_size is: " + std::to_string(figures.bytes) +
        "\ndetect_directory_file_count is: " + std::to_string(figures.files) +
        "\ndetect_directory_dir_count is: " + std::to_string(figures.directories) +
        "\ndetect_directory_allocated_size is: " + std::to_string(figures.allocatedBytes) +
        "\ndetect_directory_left_out_count is: " + std::to_string(figures.leftOut) + "\n");
    infoLog.finish();
    return figures.leftOut == 0 ? EXIT_SUCCESS : kPartialResult;
  } catch (const std::exception& error) {
    complain(error.what());
    return EXIT_FAILURE;
  }
}
