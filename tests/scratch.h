#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

// The line that ends a run on a figure that is no number.
inline std::string failedToConvert(const std::string& figure, const std::string& text) {
  return "Failed to convert the " + figure + " \"" + text + "\" to a number\n";
}

struct Outcome {
  int status;  // -1 when a signal ended the shell
  std::string output, errors;
};

// A folder of its own for each test, gone afterwards. What the runs in it need lies beside it.
struct Scratch {
  Scratch() { fs::create_directory(folder); }
  ~Scratch() {
    const std::string remove = "chmod -R u+rwx " + top + "; rm -rf --one-file-system " + top;
    EXPECT_EQ(std::system(remove.c_str()), 0);
  }

  fs::path write(const std::string& name, const std::string& content) const {
    fs::create_directories((folder / name).parent_path());
    std::ofstream(folder / name) << content;
    return folder / name;
  }
  std::string read(const std::string& name) const {
    std::ifstream file(folder / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool has(const std::string& name) const { return fs::exists(fs::symlink_status(folder / name)); }

  // Runs a shell command in the folder, where it finds the programs by their names. What hangs is
  // ended, with all that it started.
  Outcome run(const std::string& command, const std::string& input = "") const {
    write("../command", "PATH='" PROGRAMS "':$PATH; cd work\n" + command);
    write("../in", input);
    const std::string line = "cd " + top + " && exec timeout 45 sh command <in >out 2>err";
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("../out"), read("../err")};
  }

  // Runs a program without the rights that only root has.
  Outcome runUnprivileged(const std::string& program, const std::string& input = "") const {
    run("chmod a+rwx . ..; cp '" PROGRAMS "'/kel_* .");
    const std::string user = geteuid() == 0 ? "setpriv --reuid=65534 --clear-groups " : "";
    return run(user + "./" + program, input);
  }

  // Runs a command on a terminal of its own, and fails where none can be had.
  Outcome runOnTerminal(const std::string& command) const {
    return run("script -qec '" + command + "' /dev/null");
  }

  std::string pattern = fs::temp_directory_path() / "kelXXXXXX";
  std::string top = fs::canonical(mkdtemp(pattern.data()));
  fs::path folder = top + "/work";
};
