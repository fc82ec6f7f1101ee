#pragma once

#include <cstdint>
#include <fstream>
#include <string>

// The list of files that the survey leaves for the simulator: one line a regular file, its size in
// bytes, a blank and its path, escaped to stay on the line.

struct ListedFile {
  std::uint64_t size = 0;
  std::string path;
};

// The list's line for a file.
std::string listLine(const std::string& path, std::uint64_t size);

// Reads a list from its start, one file at a time. One thread at a time may read lists.
class FileListReader {
 public:
  // Throws std::runtime_error when the list cannot be opened.
  explicit FileListReader(std::string name);

  // Takes the next file into `file`; returns false at the end of the list. Throws
  // std::runtime_error when the list cannot be read or a line of it is no file, which a line
  // without its end is not either.
  bool next(ListedFile& file);

 private:
  std::string name_;
  std::ifstream stream_;
};
