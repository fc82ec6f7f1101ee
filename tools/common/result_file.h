#pragma once

#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <string>

// Removes the result of an earlier run. Throws std::system_error when it is there to stay.
void removeResult(const std::string& name);

// A result that appears under its name only when it is complete. Until then it stands under a
// temporary name beside it, which goes away with the object, or with the process when a signal
// ends it. One at a time. Every function throws std::system_error on failure.
class ResultFile {
 public:
  // Removes the result of an earlier run and creates the temporary file.
  explicit ResultFile(std::string name);
  ~ResultFile();
  ResultFile(const ResultFile&) = delete;
  ResultFile& operator=(const ResultFile&) = delete;
  ResultFile(ResultFile&&) = delete;
  ResultFile& operator=(ResultFile&&) = delete;

  void write(const std::string& text);

  // The status of the temporary file.
  [[nodiscard]] struct stat status() const;

  // Gives the file its name.
  void publish();

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string name_;
  std::unique_ptr<std::FILE, Closer> file_;
};
