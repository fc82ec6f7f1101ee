#include "report/figure.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace {

void requireConverted(const char* end, const std::string& figureName, const std::string& text) {
  if (end == text.c_str() || errno == ERANGE) {
    throw std::runtime_error("Failed to convert the " + figureName + " \"" + text +
                             "\" to a number");
  }
}

}  // namespace

double toDecimal(std::string figureName, std::string text) {
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  requireConverted(end, figureName, text);
  return value;
}

long long toInteger(std::string figureName, std::string text) {
  char* end = nullptr;
  errno = 0;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  requireConverted(end, figureName, text);
  return value;
}
