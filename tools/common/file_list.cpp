#include "common/file_list.h"

#include <charconv>
#include <cstring>
#include <stdexcept>

#include "common/path.h"

namespace {

// Far beyond any path; bounds the memory that something else than a list could take.
constexpr std::streamsize kLongestLine = 1 << 24;

}  // namespace

std::string listLine(const std::string& path, std::uint64_t size) {
  return std::to_string(size) + ' ' + escapePath(path) + '\n';
}

FileListReader::FileListReader(std::string name)
    : name_(std::move(name)),
      stream_(name_),
      line_(std::make_unique_for_overwrite<char[]>(kLongestLine)) {
  if (!stream_) {
    throw std::runtime_error("cannot open " + name_);
  }
}

bool FileListReader::next(ListedFile& file) {
  stream_.getline(line_.get(), kLongestLine);
  if (stream_.bad()) {
    throw std::runtime_error("cannot read " + name_);
  }
  if (stream_.eof() && stream_.gcount() == 0) {
    return false;
  }
  const char* const end = line_.get() + std::strlen(line_.get());
  const auto [blank, error] = std::from_chars(line_.get(), end, file.size);
  const bool isWhole = stream_.good() && end + 1 == line_.get() + stream_.gcount();
  if (!isWhole || error != std::errc() || end - blank < 2 || *blank != ' ') {
    throw std::runtime_error("not a list of files: " + name_);
  }
  file.path = unescapePath(std::string(blank + 1, end));
  return true;
}
