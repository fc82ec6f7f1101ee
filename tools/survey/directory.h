#pragma once

#include <dirent.h>

#include <memory>
#include <utility>
#include <vector>

#include "common/files.h"
#include "survey/figures.h"

// What a thread does alone: it opens a directory, reads a piece of it and looks at what is in that.
// Nothing here needs the lock.

struct FoundDirectory {
  std::string path;
  dev_t parentDevice;
};

// One that is open, and read by one thread at a time.
struct OpenDirectory {
  OpenDirectory(std::string name, int flags) : path(std::move(name)), file(path, flags) {}

  const std::string path;
  const OpenFile file;
  dev_t device = 0;
};

struct FoundFile {
  std::uint64_t size;
  std::string name;
};

// What is in a piece of a directory, in the order of the list.
struct Findings {
  Figures figures = {};
  std::string prefix = {};  // stands before the names of the files in their paths
  std::vector<FoundFile> files = {};
  std::vector<FoundDirectory> directories = {};
  std::vector<std::string> problems = {};  // what was left out, and why
};

// Opens a directory with further `flags` of open(2). Returns null where it is not to be read: when
// it cannot be, which is then found as a problem, or when the kernel shows itself in it.
std::shared_ptr<const OpenDirectory> openDirectory(const FoundDirectory& directory, int flags,
                                                   Findings& findings);

// A piece of a directory: as many of its entries as fill a buffer of 8 KiB.
class Piece {
 public:
  // Reads the next entries. Returns whether there may be more.
  bool read(const OpenDirectory& directory, Findings& findings);

  // Looks at what was read, but not at the two outputs of the survey, which do not count.
  void lookAt(const OpenDirectory& directory, const Output& infoLog, const Output& list,
              Findings& findings) const;

 private:
  std::vector<char> buffer_ = std::vector<char>(8192);
  std::size_t length_ = 0;
};
