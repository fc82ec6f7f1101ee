#pragma once

#include <chrono>
#include <string>

// What a tool takes from its operator and shows there. In its own messages ASCII control
// characters, which a terminal would obey, are shown as "?".

// Takes the next option by getopt's `pattern`, with its text in optarg; -1 is the end, with exactly
// so many `words` left from optind on. Prints the help or the version that is asked for and ends
// the program. Throws std::runtime_error with the usage when getopt has complained or words do not
// fit.
int nextOption(int argc, char** argv, const char* pattern, int words, const std::string& usage);

// Prints "<program>: <message>" and a line end on standard error.
void complain(const std::string& message);

// Prints a line on standard output, at once; on a terminal behind what an operator may have typed.
// Throws std::system_error when it cannot be written.
void say(const std::string& sentence);

// A text on standard error that is drawn over and over and leaves no trace. It shows only on a
// terminal, behind the cursor, which stays where it is.
class Progress {
 public:
  ~Progress();

  // True when it is time to draw the text again.
  [[nodiscard]] bool isDue() const;
  void draw(const std::string& text);

 private:
  std::chrono::steady_clock::time_point next_;
};
