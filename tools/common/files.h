#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

// A file or directory that is opened to be read so that its host cannot tell: its access time
// stays, where the system lets the user keep it, and nothing waits for a pipe or a device.
class OpenFile {
 public:
  // Takes further `flags` of open(2).
  OpenFile(const std::string& path, int flags);
  ~OpenFile();
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  // Negative when it could not be opened, for the reason in errno.
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// A file that a tool writes, opened before the work so that no earlier figures stand from there on.
// All functions throw std::system_error on failure; a file that was opened is empty then.
class Output {
 public:
  // Creates or empties `name`, as ">" does in a shell.
  explicit Output(std::string name);

  [[nodiscard]] bool isSameFile(const struct stat& other) const {
    return other.st_ino == status_.st_ino && other.st_dev == status_.st_dev;
  }

  // What was appended is written in pieces of some kilobytes, the last of them when it is finished.
  void append(const std::string& text);
  void finish();

 private:
  void require(bool isDone);

  std::string name_;
  std::ofstream file_;
  struct stat status_ {};
};
