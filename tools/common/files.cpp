#include "common/files.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

OpenFile::OpenFile(const std::string& path, int flags) {
  flags |= O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  descriptor_ = open(path.c_str(), flags | O_NOATIME);
  if (descriptor_ < 0 && errno == EPERM) {  // another user's
    descriptor_ = open(path.c_str(), flags);
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
  // Standard output may go to the same file, so what is written goes behind what is there. Where it
  // is closed, its descriptor is the first one's, so that nothing printed gets into the file.
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
    std::error_code aPipeHasNoSize;
    std::filesystem::resize_file(name_, 0, aPipeHasNoSize);
    throw std::system_error(reason, std::generic_category(), "cannot write " + name_ + place);
  }
}

bool readListedFile(std::istream& list, ListedFile& file) {
  std::string record;
  if (!std::getline(list, record, '\0')) {
    if (list.bad()) {
      throw std::system_error(errno, std::generic_category(), "cannot read the list of files");
    }
    return false;
  }
  const char* const end = record.data() + record.size();
  const auto [blank, error] = std::from_chars(record.data(), end, file.size);
  if (list.eof() || error != std::errc() || end - blank < 2 || *blank != ' ') {
    throw std::runtime_error("not a list of files");  // or one whose last record has no end
  }
  file.path.assign(blank + 1, end);
  return true;
}

std::uint64_t sum(std::uint64_t bytes, std::uint64_t more) {
  if (bytes > UINT64_MAX - more) {
    throw std::overflow_error("the sizes add up to more than 64 bits hold");
  }
  return bytes + more;
}
