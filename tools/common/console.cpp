#include "common/console.h"

#include <getopt.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace {

// Nothing is remembered from one drawing to the next, since an operator who types moves the cursor.
// A text that wrapped at the edge of the terminal could scroll, which would move it, too.
const std::string kEraseBehind = "\033[J";
const std::string kSaveAndStopWrapping = "\0337\033[?7l";
const std::string kWrapAndRestore = "\033[?7h\0338";

constexpr std::chrono::milliseconds kRedrawInterval(200);

void drawOnTerminal(const std::string& drawing) {
  if (isatty(STDERR_FILENO) != 0) {
    std::fputs(drawing.c_str(), stderr);
  }
}

std::string withoutControls(std::string text) {
  const auto isControl = [](unsigned char c) { return std::iscntrl(c) != 0; };
  std::replace_if(text.begin(), text.end(), isControl, '?');
  return text;
}

}  // namespace

int nextOption(int argc, char** argv, const char* pattern, int words, const std::string& usage) {
  constexpr option kLongOptions[] = {
      {"help", no_argument, nullptr, 'h'}, {"version", no_argument, nullptr, 'v'}, {}};
  const int letter = getopt_long(argc, argv, pattern, kLongOptions, nullptr);
  if (letter == 'h' || letter == 'v') {
    say(letter == 'h' ? usage : VERSION);
    std::exit(EXIT_SUCCESS);
  }
  if (letter == '?' || (letter == -1 && argc - optind != words)) {
    throw std::runtime_error(usage);
  }
  return letter;
}

void complain(const std::string& message) {
  drawOnTerminal(kEraseBehind);
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, withoutControls(message).c_str());
}

void say(const std::string& sentence) {
  winsize terminal{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &terminal) == 0) {
    // Blanks up to the edge go on to the next line, unless the cursor is at the start of one.
    std::printf("%*s\r", terminal.ws_col - 1, "");
  }
  if (std::puts(withoutControls(sentence).c_str()) < 0 || std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
  }
}

Progress::~Progress() { drawOnTerminal(kEraseBehind); }

bool Progress::isDue() const { return std::chrono::steady_clock::now() >= next_; }

void Progress::draw(const std::string& text) {
  // In one piece, so that nothing comes between saving the cursor and restoring it.
  drawOnTerminal(kEraseBehind + kSaveAndStopWrapping + " [" + text + "]" + kWrapAndRestore);
  next_ = std::chrono::steady_clock::now() + kRedrawInterval;
}
