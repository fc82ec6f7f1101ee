#include "common/file_list.h"

#include <charconv>
#include <stdexcept>

#include "common/path.h"

std::string listLine(const std::string& path, std::uint64_t size) {
  return std::to_string(size) + ' ' + escapePath(path) + '\n';
}

FileListReader::FileListReader(std::string name) : name_(std::move(name)), stream_(name_) {
  if (!stream_) {
    throw std::runtime_error("cannot open " + name_);
  }
}

bool FileListReader::next(ListedFile& file) {
  if (!std::getline(stream_, line_)) {
    if (stream_.bad()) {
      throw std::runtime_error("cannot read " + name_);
    }
    return false;
  }
  const char* const end = line_.data() + line_.size();
  const auto [blank, error] = std::from_chars(line_.data(), end, file.size);
  if (error != std::errc() || end - blank < 2 || *blank != ' ') {
    throw std::runtime_error("not a list of files: " + name_);
  }
  file.path = unescapePath(std::string(blank + 1, end));
  return true;
}
