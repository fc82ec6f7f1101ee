#include "common/file_list.h"

#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace {

std::string escape(const std::string& path) {
  std::string escaped;
  for (const char c : path) {
    if (c == '\n') {
      escaped += "\\n";
    } else if (c == '\\') {
      escaped += "\\\\";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string unescape(std::string_view escaped) {
  std::string path;
  for (std::size_t i = 0; i < escaped.size(); ++i) {
    if (escaped[i] == '\\' && i + 1 < escaped.size()) {
      ++i;
      path += escaped[i] == 'n' ? '\n' : escaped[i];
    } else {
      path += escaped[i];
    }
  }
  return path;
}

}  // namespace

std::string listLine(const ListedFile& file) {
  return std::to_string(file.size) + ' ' + escape(file.path) + '\n';
}

bool readListedFile(std::istream& list, ListedFile& file) {
  std::string line;
  if (!std::getline(list, line)) {
    if (list.bad()) {
      throw std::system_error(errno, std::generic_category(), "cannot read the list of files");
    }
    return false;
  }
  const char* const end = line.data() + line.size();
  const auto [blank, error] = std::from_chars(line.data(), end, file.size);
  const bool isWhole = !list.eof();  // the last line, too, has its end
  if (!isWhole || error != std::errc() || end - blank < 2 || *blank != ' ') {
    throw std::runtime_error("not a list of files");
  }
  file.path = unescape({blank + 1, end});
  return true;
}
