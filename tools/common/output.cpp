#include "common/output.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

Output::Output(std::string name) : name_(std::move(name)) {
  const std::ofstream emptied(name_);
  if (emptied) {
    // Standard output may go to the same file, so what is written goes behind what is there.
    file_.open(name_, std::ios::app);
  }
  if (!file_.is_open() || stat(name_.c_str(), &status_) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + name_);
  }
}

bool Output::isSameFile(const struct stat& other) const {
  return other.st_ino == status_.st_ino && other.st_dev == status_.st_dev;
}

void Output::append(const std::string& text) {
  file_ << text;
  requireWritten();
}

void Output::finish() {
  file_.close();
  requireWritten();
}

void Output::requireWritten() {
  if (!file_) {
    const int reason = errno;
    file_.close();
    std::error_code aPipeHasNoSize;
    std::filesystem::resize_file(name_, 0, aPipeHasNoSize);
    throw std::system_error(reason, std::generic_category(), "cannot write " + name_);
  }
}
