#pragma once

#include <sys/stat.h>

#include <fstream>
#include <string>

// The exit status when there are figures, but something could not be read.
constexpr int kPartialResult = 2;

// A file that a tool writes. It is opened before the work, so that one which cannot be written
// costs no time and no earlier figures stand from there on. All functions throw std::system_error
// on failure; a file that was opened is empty then.
class Output {
 public:
  // Creates or empties `name`, as ">" does in a shell.
  explicit Output(std::string name);

  [[nodiscard]] bool isSameFile(const struct stat& other) const;

  // What was appended is written in pieces of some kilobytes, the last of them when it is finished.
  void append(const std::string& text);
  void finish();

 private:
  void requireWritten();

  std::string name_;
  std::ofstream file_;
  struct stat status_ {};
};
