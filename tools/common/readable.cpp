#include "common/readable.h"

#include <array>
#include <cmath>
#include <cstdio>

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
