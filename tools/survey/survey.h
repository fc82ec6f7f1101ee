#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>

// What a survey found: regular files, the sum of their sizes in bytes, and directories, the
// surveyed one included. `leftOut` counts what was found but could not be read.
struct SurveyFigures {
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  std::uint64_t directories = 0;
  std::uint64_t leftOut = 0;
};

// Called with each regular file and the figures so far, the file included.
using FileVisitor =
    std::function<void(const std::string& path, std::uint64_t size, const SurveyFigures& figures)>;

// Walks the tree below `directory`, which may itself be a symbolic link, without following the
// links in it, and names on standard error what cannot be read. The file whose status is `excluded`
// does not count. Memory grows with the depth of the tree and with the subdirectories that wait for
// their turn, not with the files. Throws std::system_error when `directory` cannot be read, or
// when the sizes add up to more than 64 bits hold.
SurveyFigures surveyDirectory(const std::string& directory, const struct stat& excluded,
                              const FileVisitor& visitFile);
