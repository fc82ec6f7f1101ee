#include "report/console.h"

#include <cstdio>
#include <stdexcept>

void flushConsole() {
  // On a terminal each line is written as it is printed, so a failure may lie further back.
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw std::runtime_error("Failed to write to standard output");
  }
}
