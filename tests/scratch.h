#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

namespace fs = std::filesystem;
using std::string;

// Figures of a survey: 18 GiB. With 0.5 GiB for the files at 1 KiB each, 2.5 for the directories at
// 320 KiB each and 1 that counts once, that is 22 GiB, and 16 at a ratio of 1.5.
const string kLog = R"(detect_directory_size is: 19327352832
detect_directory_file_count is: 524288
detect_directory_dir_count is: 8192
)";

const string kInOneThread = "-e inject=?clone,?clone3:error=EAGAIN";  // for strace

// The text with all that matches a regular expression replaced.
inline string replaced(const string& text, const string& pattern, const string& by) {
  return std::regex_replace(text, std::regex(pattern), by);
}

// Whether the text holds the part. A test that fails shows both.
inline testing::AssertionResult holds(const string& text, const string& part) {
  if (text.find(part) != string::npos) return testing::AssertionSuccess();
  return testing::AssertionFailure() << text << "\ndoes not hold: " << part;
}

// The number behind a word of the text. Throws where there is none.
inline double numberBehind(const string& text, const string& word) {
  const std::size_t place = text.find(word + " ");
  if (place == string::npos) throw std::runtime_error(word + " is not in " + text);
  return std::stod(text.substr(place + word.size()));
}

// A folder of its own for each test, gone afterwards. What its runs need lies beside.
struct Scratch : testing::Test {
  Scratch() {
    fs::create_directory(folder);
    setenv("TOP", top.c_str(), 1);
    setenv("LC_ALL", "C", 1);
    setenv("PROGRAMS", PROGRAMS, 0);  // unless others are to be tested
  }
  ~Scratch() override { EXPECT_EQ(std::system("rm -rf --one-file-system -- \"$TOP\""), 0); }

  fs::path write(const string& name, const string& content) const {
    fs::create_directories((folder / name).parent_path());
    std::ofstream(folder / name) << content;
    return folder / name;
  }
  string read(const string& name) const {
    std::ifstream file(folder / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // What a shell command in the folder, which finds the programs by name and may open few files,
  // prints, then complains of, then a line with its status unless that is 0. Throws when it hangs
  // or tells too much.
  string run(const string& command, const string& input = "") const {
    write("../command", "ulimit -n 48; PATH=$PROGRAMS:'" SCRIPTS "':$PATH; cd work\n" + command);
    write("../in", input);
    const int status = WEXITSTATUS(std::system(
        "cd \"$TOP\" && ulimit -f 100000 && exec timeout 20 sh command <in >out 2>err"));
    const string told = read("../out") + read("../err");
    if (status == 124 || told.size() > 100000 || told.find("Sanitizer: ") != string::npos)
      throw std::runtime_error(command + ": " + told.substr(0, 2000));
    return told + (status == 0 ? "" : "status " + std::to_string(status) + "\n");
  }

  // The same under strace with its options; how many threads start then; whether strace works here.
  string runTraced(const string& options, const string& command) const {
    // A traced program cannot be searched for leaks.
    return run("ASAN_OPTIONS=detect_leaks=0 strace -fqqo ../trace " + options + " " + command);
  }
  int threadsOf(const string& options, const string& command) const {
    runTraced(options, command);
    return std::stoi(run("grep -c 'clone.*= [0-9]' ../trace"));
  }
  bool canTrace() const { return runTraced("", "true").empty(); }

  string model = fs::temp_directory_path() / "kelXXXXXX";
  fs::path top = fs::canonical(mkdtemp(model.data())), folder = top / "work";
};
