#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace fs = std::filesystem;
using std::string;

// The text with all that matches a regular expression replaced.
string replaced(const string& text, const string& pattern, const string& by);

// The number behind a word of the text. Throws where there is none.
double numberBehind(const string& text, const string& word);

// A folder of its own for each test, gone afterwards. What its runs need lies beside.
struct Scratch {
  Scratch();
  ~Scratch();
  fs::path write(const string& name, const string& content) const;
  string read(const string& name) const;

  // What a shell command in the folder, which finds the programs by name and may open few files,
  // prints, then complains of, then a line with its status unless that is 0. Throws when it hangs
  // or tells too much.
  string run(const string& command, const string& input = "") const;

  // The same under strace with its options, and whether it can trace here.
  string runTraced(const string& options, const string& command) const;
  bool canTrace() const;

  // The most system calls of a kind that a command has under way at once, in the last quarter of
  // its run, when each takes 5 ms.
  int mostAtOnce(const string& calls, const string& command) const;

  string model = fs::temp_directory_path() / "kelXXXXXX";
  fs::path top = fs::canonical(mkdtemp(model.data())), folder = top / "work";
};
