#include "common/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace {

constexpr std::string_view kEraseLine = "\r\033[K";
constexpr std::chrono::milliseconds kRedrawInterval(200);
constexpr std::size_t kUnknownWidth = 80;

// What fails to reach the operator changes nothing in the result.
void writeToTerminal(std::string_view text) {
  [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text.data(), text.size());
}

std::size_t terminalWidth() {
  winsize size{};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUnknownWidth;
}

}  // namespace

void complain(const std::string& message) {
  eraseProgress();
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, message.c_str());
}

void eraseProgress() {
  if (isatty(STDERR_FILENO) != 0) {
    writeToTerminal(kEraseLine);
  }
}

Progress::Progress() : isTerminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() { eraseProgress(); }

bool Progress::isDue() { return isTerminal_ && std::chrono::steady_clock::now() >= next_; }

void Progress::draw(const std::string& text) {
  // A line that wraps could not be erased.
  writeToTerminal(std::string(kEraseLine) + text.substr(0, terminalWidth() - 1));
  next_ = std::chrono::steady_clock::now() + kRedrawInterval;
}

std::string readableSize(double bytes) {
  constexpr std::array kUnits = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  constexpr double kUnitStep = 1024.0;
  std::size_t unit = 0;
  while (bytes >= kUnitStep && unit + 1 < kUnits.size()) {
    bytes /= kUnitStep;
    ++unit;
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", bytes,
                kUnits.at(unit));
  return text.data();
}

std::string readableTime(double seconds) {
  constexpr long long kMinute = 60;
  constexpr long long kHour = 60 * kMinute;
  const long long whole = std::llround(seconds);
  if (whole < kMinute) {
    return std::to_string(whole) + " s";
  }
  if (whole < kHour) {
    return std::to_string(whole / kMinute) + " min " + std::to_string(whole % kMinute) + " s";
  }
  return std::to_string(whole / kHour) + " h " + std::to_string(whole % kHour / kMinute) + " min";
}
