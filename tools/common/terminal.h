#pragma once

#include <chrono>
#include <string>

// Prints "<program>: <message>" as a line of its own on standard error.
void complain(const std::string& message);

// Erases the progress line, if standard error is a terminal. A signal handler may call it.
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

// A size in bytes as text for people, such as "1.4 GiB".
std::string readableSize(double bytes);

// A duration in seconds as text for people, such as "2 h 5 min".
std::string readableTime(double seconds);
