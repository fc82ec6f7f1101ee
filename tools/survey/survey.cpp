#include "survey/survey.h"

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <vector>

#include "common/descriptor.h"
#include "common/path.h"
#include "common/terminal.h"

namespace {

constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

constexpr std::size_t kEntryBufferSize = 1 << 17;

// A deeper tree makes do with as many, since a process may not open very many at once.
constexpr std::size_t kMostOpenLevels = 32;

// One directory on the way from the surveyed one down to where the walk is.
struct Level {
  Descriptor descriptor;     // not open while the walk is far below
  struct stat identity;      // filled when the descriptor is given up
  std::size_t pathLength;    // of the directory's own path
  std::size_t firstPending;  // where its subdirectories' names start
};

bool isSameFile(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev;
}

class Walk {
 public:
  Walk(std::string directory, const struct stat& excluded, const FileVisitor& visitFile)
      : path_(std::move(directory)),
        excluded_(excluded),
        visitFile_(visitFile),
        entries_(kEntryBufferSize) {}

  SurveyFigures run() {
    Descriptor top = openPath(path_, kOpenDirectory);
    if (!top.isOpen() || !enter(std::move(top))) {
      throw std::system_error(errno, std::generic_category(), "cannot read " + escapePath(path_));
    }
    ++figures_.directories;
    while (!levels_.empty()) {
      path_.resize(levels_.back().pathLength);
      if (pending_.size() == levels_.back().firstPending) {
        ascend();
      } else {
        descend();
      }
    }
    return figures_;
  }

 private:
  // Makes the directory at path_ the deepest level and reads it: counts its files at once and puts
  // its subdirectories aside. Returns false, with errno set, when it cannot be read to its end.
  bool enter(Descriptor descriptor) {
    levels_.push_back({std::move(descriptor), {}, path_.size(), pending_.size()});
    if (levels_.size() > kMostOpenLevels) {
      giveUpDescriptor(levels_[levels_.size() - 1 - kMostOpenLevels]);
    }
    const int directory = levels_.back().descriptor.number();
    while (true) {
      const ssize_t length = getdents64(directory, entries_.data(), entries_.size());
      if (length <= 0) {
        return length == 0;
      }
      const char* position = entries_.data();
      const char* const end = position + length;
      while (position < end) {
        const auto* entry = reinterpret_cast<const dirent64*>(position);
        position += entry->d_reclen;
        visitEntry(directory, entry->d_name, entry->d_type);
      }
    }
  }

  void visitEntry(int directory, const char* name, unsigned char type) {
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) {
      return;
    }
    if (type == DT_DIR) {
      putAside(name);
      return;
    }
    if (type != DT_REG && type != DT_UNKNOWN) {
      return;
    }
    appendToPath(name);
    struct stat status {};
    if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      leaveOut();
    } else if (S_ISDIR(status.st_mode)) {
      putAside(name);
    } else if (S_ISREG(status.st_mode) && !isSameFile(status, excluded_)) {
      countFile(static_cast<std::uint64_t>(status.st_size));
    }
    path_.resize(levels_.back().pathLength);
  }

  void countFile(std::uint64_t size) {
    if (__builtin_add_overflow(figures_.bytes, size, &figures_.bytes)) {
      throw std::system_error(EOVERFLOW, std::generic_category(), "cannot add up the sizes");
    }
    ++figures_.files;
    visitFile_(path_, size, figures_);
  }

  void putAside(const char* name) {
    ++figures_.directories;
    pending_.append(name, std::strlen(name) + 1);
  }

  // Goes down into the subdirectory that was put aside last.
  void descend() {
    const std::size_t end = pending_.size() - 1;
    const std::size_t start = pending_.rfind('\0', end - 1) + 1;  // 0 when there is none before
    const std::string name = pending_.substr(start, end - start);
    pending_.resize(start);

    appendToPath(name.c_str());
    Descriptor child(
        openat(levels_.back().descriptor.number(), name.c_str(), kOpenDirectory | O_NOFOLLOW));
    if (!levels_.back().descriptor.isOpen()) {
      errno = ENOENT;  // the parent was lost on the way back up
    }
    if (!child.isOpen() || !enter(std::move(child))) {
      leaveOut();
    }
  }

  static void giveUpDescriptor(Level& level) {
    if (level.descriptor.isOpen() && fstat(level.descriptor.number(), &level.identity) == 0) {
      level.descriptor = Descriptor();
    }
  }

  // Goes back up to the parent. A descriptor that was given up is opened again from the child, or
  // by its path in case the child has been moved elsewhere meanwhile.
  void ascend() {
    const Level child = std::move(levels_.back());
    levels_.pop_back();
    if (levels_.empty() || levels_.back().descriptor.isOpen()) {
      return;
    }
    path_.resize(levels_.back().pathLength);
    recover(levels_.back(), Descriptor(openat(child.descriptor.number(), "..", kOpenDirectory)));
    if (!levels_.back().descriptor.isOpen()) {
      recover(levels_.back(), openPath(path_, kOpenDirectory));
    }
  }

  // Takes `descriptor` for the level's own if it leads to the same directory.
  static void recover(Level& level, Descriptor descriptor) {
    struct stat status {};
    if (descriptor.isOpen() && fstat(descriptor.number(), &status) == 0 &&
        isSameFile(status, level.identity)) {
      level.descriptor = std::move(descriptor);
    }
  }

  void appendToPath(const char* name) {
    if (!path_.ends_with('/')) {
      path_ += '/';
    }
    path_ += name;
  }

  void leaveOut() {
    ++figures_.leftOut;
    complain("cannot read " + escapePath(path_) + ": " + std::generic_category().message(errno));
  }

  std::string path_;
  const struct stat& excluded_;
  const FileVisitor& visitFile_;
  std::vector<char> entries_;
  std::string pending_;  // names of subdirectories still to visit, each ended by a NUL byte
  std::vector<Level> levels_;
  SurveyFigures figures_;
};

}  // namespace

SurveyFigures surveyDirectory(const std::string& directory, const struct stat& excluded,
                              const FileVisitor& visitFile) {
  return Walk(directory, excluded, visitFile).run();
}
