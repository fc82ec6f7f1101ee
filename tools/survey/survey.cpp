#include "survey/survey.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iomanip>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/file_list.h"
#include "common/terminal.h"

namespace {

constexpr std::uint64_t kAllocationUnit = 512;  // bytes, of st_blocks

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

// Returns no directory, with errno set, on failure.
Directory openDirectory(int parent, const char* name, int flags) {
  const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
  if (descriptor < 0) {
    return nullptr;
  }
  Directory directory(fdopendir(descriptor));
  if (directory == nullptr) {
    close(descriptor);
  }
  return directory;
}

bool isSameFile(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev;
}

class Survey {
 public:
  Survey(std::string directory, std::string listName)
      : path_(std::move(directory)), listName_(std::move(listName)), list_(listName_) {
    if (!list_ || stat(listName_.c_str(), &listStatus_) != 0) {
      throw std::system_error(errno, std::generic_category(), "cannot create " + listName_);
    }
  }

  SurveyFigures run() {
    if (!visitDirectory(AT_FDCWD, path_.c_str(), 0)) {
      throw std::system_error(errno, std::generic_category(), "cannot read " + path_);
    }
    list_.close();
    requireWritten();
    return figures_;
  }

 private:
  // Visits all that is in the directory at path_, `name` in `parent`. Returns false, with errno
  // set, when it cannot be read to its end.
  bool visitDirectory(int parent, const char* name, int flags) {
    ++figures_.directories;
    const Directory directory = openDirectory(parent, name, flags);
    if (directory == nullptr) {
      return false;
    }
    const std::size_t pathLength = path_.size();
    while (true) {
      errno = 0;
      const dirent* const entry = readdir(directory.get());
      if (entry == nullptr) {
        return errno == 0;
      }
      appendToPath(entry->d_name);
      visitEntry(dirfd(directory.get()), entry->d_name, entry->d_type);
      path_.resize(pathLength);
    }
  }

  void visitEntry(int parent, const char* name, unsigned char type) {
    if (name == std::string_view(".") || name == std::string_view("..")) {
      return;
    }
    if (type == DT_REG || type == DT_UNKNOWN) {
      struct stat status {};
      if (fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        leaveOut();
      } else if (S_ISREG(status.st_mode)) {
        countFile(status);
      } else if (S_ISDIR(status.st_mode)) {
        type = DT_DIR;
      }
    }
    if (type == DT_DIR && !visitDirectory(parent, name, O_NOFOLLOW)) {
      leaveOut();
    }
  }

  void countFile(const struct stat& status) {
    if (isSameFile(status, listStatus_)) {
      return;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    ++figures_.files;
    if (__builtin_add_overflow(figures_.bytes, size, &figures_.bytes)) {
      throw std::overflow_error("the sizes add up to more than 64 bits hold");
    }
    figures_.allocatedBytes += static_cast<std::uint64_t>(status.st_blocks) * kAllocationUnit;
    list_ << listLine({size, path_});
    requireWritten();
    if (progress_.isDue()) {
      drawProgress();
    }
  }

  void requireWritten() const {
    if (!list_) {
      throw std::system_error(errno, std::generic_category(), "cannot write " + listName_);
    }
  }

  void drawProgress() {
    constexpr double kGib = 1024.0 * 1024.0 * 1024.0;
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << "files: " << figures_.files
         << ", size: " << static_cast<double>(figures_.bytes) / kGib << " GiB";
    progress_.draw(text.str());
  }

  void appendToPath(const char* name) {
    if (!path_.ends_with('/')) {
      path_ += '/';
    }
    path_ += name;
  }

  void leaveOut() {
    ++figures_.leftOut;
    complain("cannot read " + path_ + ": " + std::generic_category().message(errno));
  }

  std::string path_;
  std::string listName_;
  std::ofstream list_;
  struct stat listStatus_ {};
  SurveyFigures figures_;
  Progress progress_;
};

}  // namespace

SurveyFigures surveyDirectory(const std::string& directory, const std::string& listName) {
  return Survey(directory, listName).run();
}
