#pragma once

#include <cstdint>
#include <string>

// What a survey found: regular files, their sizes and the storage allocated to them in bytes, and
// directories, the surveyed one included. `leftOut` counts what was found but could not be read.
struct SurveyFigures {
  std::uint64_t bytes = 0;
  std::uint64_t allocatedBytes = 0;
  std::uint64_t files = 0;
  std::uint64_t directories = 0;
  std::uint64_t leftOut = 0;
};

// Walks the tree below `directory`, which may itself be a symbolic link, without following the
// links in it, writes a new list of its files to `listName` and names on standard error what cannot
// be read. The list itself does not count. Memory grows with the depth of the tree only. Throws
// std::runtime_error when `directory` cannot be read, the list cannot be written or the sizes do
// not add up in 64 bits.
SurveyFigures surveyDirectory(const std::string& directory, const std::string& listName);
