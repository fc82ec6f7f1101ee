#include "common/filelist.h"

#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <system_error>
#include <utility>

void addRecord(std::string& list, std::uint64_t size, const std::string& prefix,
               const std::string& name) {
  list += std::to_string(size);
  list += ' ';
  list += prefix;
  list += name;
  list += '\0';
}

ListReader::ListReader(std::string name) : name_(std::move(name)), list_(name_) {
  if (!list_) {
    throw std::system_error(errno, std::generic_category(), "cannot open " + name_);
  }
}

bool ListReader::next(ListedFile& file) {
  std::string record;
  if (!std::getline(list_, record, '\0')) {
    if (list_.bad()) {
      throw std::system_error(errno, std::generic_category(), "cannot read " + name_);
    }
    return false;
  }
  const char* const end = record.data() + record.size();
  const auto [blank, error] = std::from_chars(record.data(), end, file.size);
  // Behind the last NUL byte there is nothing.
  if (list_.eof() || error != std::errc() || end - blank < 2 || *blank != ' ') {
    throw std::runtime_error("not a list of files: " + name_);
  }
  file.path.assign(blank + 1, end);
  return true;
}

void ListReader::rewind() {
  list_.clear();
  list_.seekg(0);
}

std::uint64_t sum(std::uint64_t bytes, std::uint64_t more) {
  if (bytes > UINT64_MAX - more) {
    throw std::overflow_error("the sizes add up to more than 64 bits hold");
  }
  return bytes + more;
}
