#include "common/path.h"

#include <fcntl.h>

#include <cerrno>
#include <climits>

Descriptor openPath(const std::string& path, int flags) {
  Descriptor base;
  int directory = AT_FDCWD;
  std::string rest = path;
  while (rest.size() >= PATH_MAX) {
    const std::size_t cut = rest.rfind('/', PATH_MAX - 2);
    if (cut == std::string::npos) {
      errno = ENAMETOOLONG;
      return {};
    }
    // A piece keeps the "/" at its end, so that the first may be the root; the rest has none at its
    // start, which would make it absolute.
    const std::string piece = rest.substr(0, cut + 1);
    base = Descriptor(openat(directory, piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!base.isOpen()) {
      return {};
    }
    directory = base.number();
    rest.erase(0, rest.find_first_not_of('/', cut));
  }
  return Descriptor(openat(directory, rest.c_str(), flags | O_CLOEXEC));
}

std::string escapePath(const std::string& path) {
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

std::string unescapePath(const std::string& escaped) {
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
