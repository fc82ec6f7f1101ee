#include "scratch.h"

#include <sys/wait.h>

#include <fstream>
#include <regex>

string replaced(const string& text, const string& pattern, const string& by) {
  return std::regex_replace(text, std::regex(pattern), by);
}

double numberBehind(const string& text, const string& name) {
  if (text.find(name + " ") == string::npos) throw std::runtime_error(name + " is not in " + text);
  return std::stod(text.substr(text.find(name + " ") + name.size()));
}

Scratch::Scratch() {
  fs::create_directory(folder);
  setenv("TOP", top.c_str(), 1);
  setenv("PROGRAMS", PROGRAMS, 0);  // unless others are to be tested
}

Scratch::~Scratch() { EXPECT_EQ(std::system("rm -rf --one-file-system -- \"$TOP\""), 0); }

fs::path Scratch::write(const string& name, const string& content) const {
  fs::create_directories((folder / name).parent_path());
  std::ofstream(folder / name) << content;
  return folder / name;
}

string Scratch::read(const string& name) const {
  std::ifstream file(folder / name);
  return {std::istreambuf_iterator<char>(file), {}};
}

string Scratch::run(const string& command, const string& input) const {
  write("../command", "ulimit -n 48; PATH=$PROGRAMS:'" SCRIPTS "':$PATH; cd work\n" + command);
  write("../in", input);
  const int status = WEXITSTATUS(
      std::system("cd \"$TOP\" && ulimit -f 4000 && exec timeout 20 sh command <in >out 2>err"));
  const string told = read("../out") + read("../err");
  if (status == 124 || told.size() > 100000 || told.find("Sanitizer: ") != string::npos) {
    throw std::runtime_error(command + ": " + told.substr(0, 2000));
  }
  return told + (status == 0 ? "" : "status " + std::to_string(status) + "\n");
}

void Scratch::runIn(const string& seconds, const string& delay, const string& command) const {
  if (!run("strace -o ../trace true").empty()) GTEST_SKIP() << "cannot trace here";
  const string traced = "strace -fqqo ../trace -e inject=" + delay + " " + command;
  run("for i in 1 2 3; do timeout " + seconds + " " + traced +
      "; status=$?; [ $status = 124 ] || exit $status; done; exit 124");
}
