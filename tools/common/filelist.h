#pragma once

#include <cstdint>
#include <fstream>
#include <string>

// The list of files that the survey leaves for the simulator: for each regular file its size in
// bytes, a blank, its path and a NUL byte, as `find DIR -type f -printf '%s %p\0'` writes them.

struct ListedFile {
  std::uint64_t size = 0;
  std::string path;
};

// Adds a file to the text of a list. Its path is the `prefix`, as far as the last "/", and its
// name.
void addRecord(std::string& list, std::uint64_t size, const std::string& prefix,
               const std::string& name);

// Reads a list from its start. All functions throw std::runtime_error, which names the list, when
// it cannot be read.
class ListReader {
 public:
  explicit ListReader(std::string name);

  // Takes the next file into `file`; returns false at the end. Throws also at a record that is no
  // file.
  bool next(ListedFile& file);

  // Back to the first file.
  void rewind();

 private:
  std::string name_;
  std::ifstream list_;
};

// Throws std::overflow_error when 64 bits do not hold the sum.
std::uint64_t sum(std::uint64_t bytes, std::uint64_t more);
