#pragma once

#include <chrono>
#include <string>

// Prints "<program>: <message>" as a line of its own on standard error, with "?" for ASCII control
// characters, which a terminal would obey.
void complain(std::string message);

// Erases the progress line, if one is drawn. A signal handler may call it.
void eraseProgress();

// A line on standard error that is drawn over and over and leaves no trace. It shows only on a
// terminal.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  Progress(Progress&&) = delete;
  Progress& operator=(Progress&&) = delete;

  // True when it is time to draw the line again.
  bool isDue();
  void draw(const std::string& text);

 private:
  bool isTerminal_;
  std::chrono::steady_clock::time_point next_;
};
