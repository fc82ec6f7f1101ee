#include "common/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>

namespace {

// Nothing is remembered from one drawing to the next, so that whatever else moves the cursor, as an
// operator who types does, it is never put back to a place that it has left. A text that wrapped at
// the edge of the terminal could scroll, which would do the same.
constexpr const char* kEraseBehind = "\033[J";
constexpr const char* kSaveAndStopWrapping = "\0337\033[?7l";
constexpr const char* kWrapAndRestore = "\033[?7h\0338";

constexpr std::chrono::milliseconds kRedrawInterval(200);

bool isTerminal() {
  static const bool answer = isatty(STDERR_FILENO) != 0;
  return answer;
}

void eraseProgress() {
  if (isTerminal()) {
    std::fputs(kEraseBehind, stderr);
  }
}

bool isControl(char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }

}  // namespace

void complain(std::string message) {
  std::replace_if(message.begin(), message.end(), isControl, '?');
  eraseProgress();
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, message.c_str());
}

Progress::~Progress() { eraseProgress(); }

bool Progress::isDue() const { return isTerminal() && std::chrono::steady_clock::now() >= next_; }

void Progress::draw(const std::string& text) {
  // One write, so that nothing comes between saving the cursor and restoring it.
  std::string drawing = kEraseBehind;
  drawing.append(kSaveAndStopWrapping).append(" [" + text + "]").append(kWrapAndRestore);
  std::fputs(drawing.c_str(), stderr);
  next_ = std::chrono::steady_clock::now() + kRedrawInterval;
}
