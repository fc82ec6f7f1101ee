#include "common/files.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

OpenFile::OpenFile(const std::string& path, int flags) {
  flags |= O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  std::string rest = path;
  // The system takes a longer path in pieces, each from the directory that the one before leads to.
  while (rest.size() >= PATH_MAX) {
    const std::size_t slash = rest.rfind('/', PATH_MAX - 1);
    const std::string piece = rest.substr(0, slash > 1 ? slash : rest.size());  // else too long
    replaceBy(openat(descriptor_, piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (descriptor_ < 0) {
      return;
    }
    rest.erase(0, slash - 1);
    rest.front() = '.';
  }
  int file = openat(descriptor_, rest.c_str(), flags | O_NOATIME);
  if (file < 0 && errno == EPERM) {  // another user's
    file = openat(descriptor_, rest.c_str(), flags);
  }
  replaceBy(file);
}

void OpenFile::replaceBy(int descriptor) {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
  descriptor_ = descriptor;
}

Output::Output(std::string name) : name_(std::move(name)) {
  const std::ofstream emptied(name_);
  // Standard output may go to the same file, so what is written goes behind what is there.
  file_.open(name_, std::ios::app);
  requireWritten();
  stat(name_.c_str(), &status_);
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

void requireSum(std::uint64_t total, std::uint64_t size) {
  if (total > UINT64_MAX - size) {
    throw std::overflow_error("the sizes add up to more than 64 bits hold");
  }
}
