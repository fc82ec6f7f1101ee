#pragma once

#include <cstdint>
#include <istream>
#include <string>

// The list of files that the survey leaves for the simulator: for each regular file its size in
// bytes, a blank, its path and a NUL byte, as `find DIR -type f -printf '%s %p\0'` writes them.

struct ListedFile {
  std::uint64_t size = 0;
  std::string path;
};

// Takes the next file of a list into `file`; returns false at its end. Throws std::runtime_error
// when the list cannot be read or has a record that is no file.
bool readListedFile(std::istream& list, ListedFile& file);

// Adds the size of a file to those before. Throws std::overflow_error when 64 bits do not hold it.
void addSize(std::uint64_t& total, std::uint64_t size);
