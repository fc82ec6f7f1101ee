#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

namespace fs = std::filesystem;
using std::string;

// Why a row of a test is there, what is given and what is told then, wholly or by its start or end.
struct Row {
  string why, given, told, also = {};  // `also` is given, too
};

inline string replaced(const string& text, const string& pattern, const string& by) {
  return std::regex_replace(text, std::regex(pattern), by);
}

inline double numberBehind(const string& text, const string& name) {
  return std::stod(text.substr(text.find(name + " ") + name.size()));
}

// A folder of its own for each test, gone afterwards, however deep. What its runs need lies beside.
struct Scratch {
  Scratch() {
    fs::create_directory(folder);
    setenv("TOP", top.c_str(), 1);
  }
  ~Scratch() { EXPECT_EQ(std::system("rm -rf --one-file-system -- \"$TOP\""), 0); }

  fs::path write(const string& name, const string& content) const {
    fs::create_directories((folder / name).parent_path());
    std::ofstream(folder / name) << content;
    return folder / name;
  }
  string read(const string& name) const {
    std::ifstream file(folder / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // What a shell command in the folder, which finds the programs by name, prints, then complains
  // of, then a line with its status unless that is 0. Throws when it hangs or tells too much; a
  // file ends at 4000 blocks of 512 bytes.
  string run(const string& command, const string& input = "") const {
    write("../command", "PATH='" PROGRAMS "':$PATH; cd work\n" + command);
    write("../in", input);
    const int status = WEXITSTATUS(
        std::system("cd \"$TOP\" && ulimit -f 4000 && exec timeout 20 sh command <in >out 2>err"));
    const string told = read("../out") + read("../err");
    if (status == 124 || told.size() > 100000) throw std::runtime_error("no end: " + command);
    return told + (status == 0 ? "" : "status " + std::to_string(status) + "\n");
  }

  string model = fs::temp_directory_path() / "kelXXXXXX";
  fs::path top = fs::canonical(mkdtemp(model.data())), folder = top / "work";
};
