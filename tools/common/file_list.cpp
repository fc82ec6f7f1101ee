#include "common/file_list.h"

#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <system_error>

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
  const bool isWhole = !list.eof();  // the last record, too, has its end
  if (!isWhole || error != std::errc() || end - blank < 2 || *blank != ' ') {
    throw std::runtime_error("not a list of files");
  }
  file.path.assign(blank + 1, end);
  return true;
}

void addSize(std::uint64_t& total, std::uint64_t size) {
  if (__builtin_add_overflow(total, size, &total)) {
    throw std::overflow_error("the sizes add up to more than 64 bits hold");
  }
}
