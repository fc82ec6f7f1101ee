#pragma once

#include <cstdint>
#include <istream>
#include <string>

// The list of files that the survey leaves for the simulator: one line a regular file, its size in
// bytes, a blank and its path, in which a line end stands as "\n" and a backslash as "\\".

struct ListedFile {
  std::uint64_t size = 0;
  std::string path;
};

// The list's line for a file.
std::string listLine(const ListedFile& file);

// Takes the next file of a list into `file`; returns false at its end. Throws std::runtime_error
// when the list cannot be read or has a line that is no file.
bool readListedFile(std::istream& list, ListedFile& file);
