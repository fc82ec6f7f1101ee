#include "common/messages.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <new>
#include <sstream>
#include <system_error>

namespace {

// The first files to be opened would take the place of standard descriptors that were closed by who
// started the tool, and messages would get into them. Opened to be read, so that a sentence still
// cannot be written.
void occupyStandardDescriptors() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
    descriptor = open("/dev/null", O_RDONLY);
  }
  close(descriptor);
}

// Not while another program has the terminal.
void drawOnTerminal(const std::string& drawing) {
  const char* const variable = std::getenv("TERM");
  const std::string kind = variable == nullptr ? "" : variable;
  if (tcgetpgrp(STDERR_FILENO) == getpgrp() && !kind.empty() && kind != "dumb") {
    std::fputs(drawing.c_str(), stderr);
  }
}

std::string withoutControls(std::string text) {
  std::ranges::replace_if(
      text, [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
  return text;
}

}  // namespace

int runTool(int argc, char** argv, const std::string& usage, const std::function<int()>& work) {
  occupyStandardDescriptors();
  try {
    const std::string onlyWord = argc == 2 ? argv[1] : "";
    if (onlyWord == "--help" || onlyWord == "--version") {
      say(onlyWord == "--help" ? usage : program_invocation_short_name + std::string(" " VERSION));
      return EXIT_SUCCESS;
    }
    return work();
  } catch (const std::bad_alloc&) {
    complain("out of memory");
  } catch (const std::exception& error) {
    complain(error.what());
  }
  return EXIT_FAILURE;
}

void complain(const std::string& message) {
  eraseProgress();
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, withoutControls(message).c_str());
}

void say(const std::string& sentence) {
  winsize terminal{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &terminal) == 0) {
    // The operator may have typed on this line: then blanks up to its edge run on into the next
    // one, at whose start the sentence goes on.
    std::printf("%*s\r", terminal.ws_col - 1, "");
  }
  if (std::puts(withoutControls(sentence).c_str()) < 0 || std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
  }
}

std::string decimal(double number, int digits) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(digits) << number;
  return text.str();
}

void drawProgress(const std::string& text) {
  // Restores the cursor, which an operator who types moves, and does not wrap, which could scroll
  // at the edge. In one piece, so that nothing comes between.
  drawOnTerminal("\033[J\0337\033[?7l [" + text + "]\033[?7h\0338");
}

void eraseProgress() { drawOnTerminal("\033[J"); }
