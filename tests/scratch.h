#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace fs = std::filesystem;
using std::string;

// Why a row of a test is there, what is given, what is told then, and what else is given.
struct Row {
  string why, given, told, also = {};
};

string replaced(const string& text, const string& pattern, const string& by);
double numberBehind(const string& text, const string& name);

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

  // The same where strace delays system calls of a kind. Throws when three runs take longer.
  void runIn(const string& seconds, const string& delay, const string& command) const;

  string model = fs::temp_directory_path() / "kelXXXXXX";
  fs::path top = fs::canonical(mkdtemp(model.data())), folder = top / "work";
};
