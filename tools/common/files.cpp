#include "common/files.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace {

int openUninterrupted(const std::string& path, int flags) {
  return static_cast<int>(TEMP_FAILURE_RETRY(open(path.c_str(), flags)));
}

}  // namespace

OpenFile::OpenFile(const std::string& path, int flags) {
  flags |= O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  descriptor_ = openUninterrupted(path, flags | O_NOATIME);
  if (descriptor_ < 0 && errno == EPERM) {  // only root and the owner may keep the access time
    descriptor_ = openUninterrupted(path, flags);
  }
}

OpenFile::~OpenFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

Output::Output(std::string name) : name_(std::move(name)) {
  const std::ofstream emptied(name_);
  require(emptied.good());
  // Appends, since standard output may be the same file: neither writes over the other.
  file_.open(name_, std::ios::app);
  require(file_.good() && stat(name_.c_str(), &status_) == 0);
}

void Output::append(const std::string& text) {
  file_ << text;
  require(file_.good());
}

void Output::finish() {
  file_.close();
  require(file_.good());
}

void Output::require(bool isDone) {
  if (!isDone) {
    const int reason = errno;
    const char* const place = name_.starts_with('/') ? "" : " in the working directory";
    file_.close();
    // Leaves no part of the figures. A pipe or a device has no size, which is no failure.
    std::error_code ignored;
    std::filesystem::resize_file(name_, 0, ignored);
    throw std::system_error(reason, std::generic_category(), "cannot write " + name_ + place);
  }
}
