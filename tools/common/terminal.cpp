#include "common/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string_view>

namespace {

// The line starts where the cursor is, which may be behind a prompt, and must not wrap: what lies
// on a second row could not be erased.
constexpr const char* kSaveCursor = "\0337";
constexpr const char* kBackAndErase = "\0338\033[K";
constexpr const char* kStopWrapping = "\033[?7l";
constexpr const char* kWrapAgain = "\033[?7h";

constexpr std::chrono::milliseconds kRedrawInterval(200);

// Plain, since a signal handler reads it.
volatile std::sig_atomic_t isDrawn = 0;

// What fails to reach the operator changes nothing in the result.
void writeToTerminal(std::string_view text) {
  [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text.data(), text.size());
}

// A file's name must not give orders to the terminal.
bool isControl(char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0 && c != '\n'; }

}  // namespace

void complain(std::string message) {
  std::replace_if(message.begin(), message.end(), isControl, '?');
  eraseProgress();
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, message.c_str());
}

void eraseProgress() {
  if (isDrawn != 0) {
    writeToTerminal(kBackAndErase);
    isDrawn = 0;
  }
}

Progress::Progress() : isTerminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() { eraseProgress(); }

bool Progress::isDue() { return isTerminal_ && std::chrono::steady_clock::now() >= next_; }

void Progress::draw(const std::string& text) {
  const std::string start = isDrawn != 0 ? kBackAndErase : kSaveCursor;
  const std::string line = start + kStopWrapping + text + kWrapAgain;
  isDrawn = 1;
  writeToTerminal(line);
  next_ = std::chrono::steady_clock::now() + kRedrawInterval;
}
