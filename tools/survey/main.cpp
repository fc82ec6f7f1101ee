#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/console.h"
#include "common/file_list.h"
#include "common/output.h"

namespace {

constexpr const char* kUsage = "usage: kel_evaluation_tool <directory> <aliasName>";

// Each level takes an open file, of which a process usually has 1,024, and some stack.
constexpr int kMostLevels = 1000;

// More than these would scroll the report away.
constexpr std::uint64_t kMostNamed = 10;

// Regular files, their sizes and the storage allocated to them in bytes, directories, the surveyed
// one included, and how many of both were found but could not be read.
struct Figures {
  std::uint64_t bytes = 0;
  std::uint64_t allocatedBytes = 0;
  std::uint64_t files = 0;
  std::uint64_t directories = 0;
  std::uint64_t leftOut = 0;
};

std::string systemReason() { return std::generic_category().message(errno); }

double inGib(std::uint64_t bytes) { return double(bytes) / (1024.0 * 1024.0 * 1024.0); }

// Walks a tree without following the symbolic links in it, and lists its files. Memory grows with
// the depth of the tree only.
class Survey {
 public:
  // Neither of the survey's own two files counts.
  Survey(std::string directory, const Output& infoLog, Output& list)
      : path_(std::move(directory)), infoLog_(infoLog), list_(list) {}

  // Throws std::runtime_error when the directory, which may itself be a symbolic link, cannot be
  // read, the list cannot be written or the sizes do not add up in 64 bits.
  Figures run() {
    if (const std::string problem = visitDirectory(AT_FDCWD, path_.c_str(), 0); !problem.empty()) {
      throw std::runtime_error("cannot read " + path_ + ": " + problem);
    }
    if (figures_.leftOut > kMostNamed) {
      complain(std::to_string(figures_.leftOut - kMostNamed) + " more could not be read; what " +
               std::to_string(figures_.leftOut) + " in all hold is missing from the figures");
    }
    return figures_;
  }

 private:
  // Visits all that is in the directory at path_, `name` in `parent`. Returns why it cannot be read
  // to its end, or an empty text.
  std::string visitDirectory(int parent, const char* name, int flags) {
    ++figures_.directories;
    if (level_ > kMostLevels) {
      return "more than " + std::to_string(kMostLevels) + " levels deep";
    }
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
    const auto closer = [](DIR* opened) { closedir(opened); };
    const std::unique_ptr<DIR, decltype(closer)> directory(descriptor < 0 ? nullptr
                                                                          : fdopendir(descriptor));
    if (directory == nullptr) {
      return systemReason();
    }
    const std::size_t pathLength = path_.size();
    while (true) {
      errno = 0;
      const dirent* const entry = readdir(directory.get());
      if (entry == nullptr) {
        return errno == 0 ? "" : systemReason();
      }
      path_ += path_.ends_with('/') ? "" : "/";
      path_ += entry->d_name;
      visitEntry(descriptor, entry->d_name, entry->d_type);
      path_.resize(pathLength);
    }
  }

  void visitEntry(int parent, const char* name, unsigned char type) {
    if (name == std::string_view(".") || name == std::string_view("..")) {
      return;
    }
    // Some file systems leave the type unknown.
    if (type == DT_REG || type == DT_UNKNOWN) {
      struct stat status {};
      if (fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        leaveOut(systemReason());
      } else if (S_ISREG(status.st_mode)) {
        countFile(status);
      } else if (S_ISDIR(status.st_mode)) {
        type = DT_DIR;
      }
    }
    if (type == DT_DIR) {
      ++level_;
      const std::string problem = visitDirectory(parent, name, O_NOFOLLOW);
      --level_;
      if (!problem.empty()) {
        leaveOut(problem);
      }
    }
  }

  void countFile(const struct stat& status) {
    if (infoLog_.isSameFile(status) || list_.isSameFile(status)) {
      return;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    ++figures_.files;
    addSize(figures_.bytes, size);
    figures_.allocatedBytes += static_cast<std::uint64_t>(status.st_blocks) * 512;
    list_.append(std::to_string(size) + ' ' + path_ + '\0');
    if (progress_.isDue()) {
      progress_.draw("files: " + std::to_string(figures_.files));
    }
  }

  void leaveOut(const std::string& reason) {
    ++figures_.leftOut;
    if (figures_.leftOut <= kMostNamed) {
      complain("cannot read " + path_ + ": " + reason);
    }
  }

  std::string path_;
  int level_ = 0;  // of path_, below the directory
  const Output& infoLog_;
  Output& list_;
  Figures figures_;
  Progress progress_;
};

std::string sentence(const std::string& directory, const Figures& figures) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(2) << "Surveyed " << directory
       << ": files: " << figures.files << ", directories: " << figures.directories
       << ", size: " << inGib(figures.bytes) << " GiB (allocated: " << inGib(figures.allocatedBytes)
       << " GiB)";
  if (figures.leftOut == 0) {
    text << ", nothing left out.";
  } else {
    text << "; directories or files that could not be read, so that their content is missing: "
         << figures.leftOut << ".";
  }
  return text.str();
}

int survey(const std::string& directory, const std::string& aliasName) {
  Output infoLog(aliasName + "_file_info.log");
  Output list(aliasName + "_file_type_file_list_new.log");
  const Figures figures = Survey(directory, infoLog, list).run();
  list.finish();
  say(sentence(directory, figures));
  std::ostringstream log;
  log << "detect_directory_size is: " << figures.bytes
      << "\ndetect_directory_file_count is: " << figures.files
      << "\ndetect_directory_dir_count is: " << figures.directories
      << "\ndetect_directory_allocated_size is: " << figures.allocatedBytes
      << "\ndetect_directory_left_out_count is: " << figures.leftOut << "\n";
  infoLog.append(log.str());
  infoLog.finish();
  return figures.leftOut == 0 ? EXIT_SUCCESS : kPartialResult;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    // Options end at the first word, since an alias may look like one.
    nextOption(argc, argv, "+", 2, kUsage);
    return survey(argv[optind], argv[optind + 1]);
  } catch (const std::exception& error) {
    complain(error.what());
    return EXIT_FAILURE;
  }
}
