#include "common/path.h"

#include <fcntl.h>

#include <climits>

Descriptor openPath(const std::string& path, int flags) {
  Descriptor base;
  std::size_t start = 0;
  while (path.size() - start >= PATH_MAX) {
    const std::size_t cut = path.rfind('/', start + PATH_MAX - 2);
    if (cut == std::string::npos || cut <= start) {
      errno = ENAMETOOLONG;
      return {};
    }
    // The cut keeps its "/", so that a first piece is absolute when the path is.
    const std::string piece = path.substr(start, cut + 1 - start);
    base = Descriptor(openat(base.isOpen() ? base.number() : AT_FDCWD, piece.c_str(),
                             O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!base.isOpen()) {
      return {};
    }
    start = cut + 1;
  }
  return Descriptor(
      openat(base.isOpen() ? base.number() : AT_FDCWD, path.c_str() + start, flags | O_CLOEXEC));
}

std::string escapePath(const std::string& path) {
  std::string escaped;
  escaped.reserve(path.size());
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
  path.reserve(escaped.size());
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
