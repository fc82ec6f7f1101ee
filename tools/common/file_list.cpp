#include "common/file_list.h"

#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "common/path.h"

namespace {

// Far longer than the line of any path; bounds the memory that something else than a list could
// take. What no line reaches of it takes none.
std::array<char, 1 << 24> line;

}  // namespace

std::string listLine(const std::string& path, std::uint64_t size) {
  return std::to_string(size) + ' ' + escapePath(path) + '\n';
}

FileListReader::FileListReader(std::string name) : name_(std::move(name)), stream_(name_) {
  if (!stream_) {
    throw std::runtime_error("cannot open " + name_);
  }
}

bool FileListReader::next(ListedFile& file) {
  stream_.getline(line.data(), line.size());
  if (stream_.bad()) {
    throw std::runtime_error("cannot read " + name_);
  }
  if (stream_.eof() && stream_.gcount() == 0) {
    return false;
  }
  const char* const end = line.data() + std::strlen(line.data());
  const auto [blank, error] = std::from_chars(line.data(), end, file.size);
  const bool isWhole = stream_.good() && end + 1 == line.data() + stream_.gcount();
  if (!isWhole || error != std::errc() || end - blank < 2 || *blank != ' ') {
    throw std::runtime_error("not a list of files: " + name_);
  }
  file.path = unescapePath(std::string(blank + 1, end));
  return true;
}
