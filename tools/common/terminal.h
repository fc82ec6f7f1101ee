#pragma once

#include <chrono>
#include <string>

// Prints "<program>: <message>" as a line of its own on standard error, with "?" for ASCII control
// characters, which a terminal would obey.
void complain(std::string message);

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
