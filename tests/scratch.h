#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace fs = std::filesystem;
using std::string;

// What the survey leaves: 18 GiB, 0.5 GiB for the files at 1 KiB each and 2.5 GiB for the
// directories at 320 KiB each. With the 1 GiB that counts once they were 22 GiB before, and take 16
// GiB at 1.5.
const string kLog = R"(detect_directory_size is: 19327352832
detect_directory_file_count is: 524288
detect_directory_dir_count is: 8192
)";

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

  // The same under strace with its options, how many threads are started then, and whether it can
  // trace here.
  string runTraced(const string& options, const string& command) const;
  int threadsOf(const string& options, const string& command) const;
  bool canTrace() const;

  string model = fs::temp_directory_path() / "kelXXXXXX";
  fs::path top = fs::canonical(mkdtemp(model.data())), folder = top / "work";
};
