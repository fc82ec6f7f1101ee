#include "scratch.h"

#include <sys/wait.h>

#include <fstream>
#include <regex>

string replaced(const string& text, const string& pattern, const string& by) {
  return std::regex_replace(text, std::regex(pattern), by);
}

double numberBehind(const string& text, const string& word) {
  const std::size_t place = text.find(word + " ");
  if (place == string::npos) throw std::runtime_error(word + " is not in " + text);
  return std::stod(text.substr(place + word.size()));
}

Scratch::Scratch() {
  fs::create_directory(folder);
  setenv("TOP", top.c_str(), 1);
  setenv("PROGRAMS", PROGRAMS, 0);  // unless others are to be tested
}

Scratch::~Scratch() {
  // Directories whose rights a test has taken away get them back.
  EXPECT_EQ(std::system("find \"$TOP\" -xdev -type d ! -perm -700 -exec chmod 700 {} \\; &&"
                        "rm -rf --one-file-system -- \"$TOP\""),
            0);
}

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
      std::system("cd \"$TOP\" && ulimit -f 100000 && exec timeout 20 sh command <in >out 2>err"));
  const string told = read("../out") + read("../err");
  if (status == 124 || told.size() > 100000 || told.find("Sanitizer: ") != string::npos) {
    throw std::runtime_error(command + ": " + told.substr(0, 2000));
  }
  return told + (status == 0 ? "" : "status " + std::to_string(status) + "\n");
}

bool Scratch::canTrace() const { return runTraced("", "true").empty(); }

string Scratch::runTraced(const string& options, const string& command) const {
  // A traced program cannot be searched for leaks.
  return run("ASAN_OPTIONS=detect_leaks=0 strace -fqqo ../trace " + options + " " + command);
}

int Scratch::threadsOf(const string& options, const string& command) const {
  runTraced(options, command);
  return std::stoi(run("grep -c 'clone.*= [0-9]' ../trace"));
}
