#include "common/result.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

void writeResult(const std::string& name, const std::string& text) {
  std::ofstream file(name);
  file << text;
  file.close();
  if (!file) {
    const int reason = errno;
    std::remove(name.c_str());
    throw std::system_error(reason, std::generic_category(), "cannot write " + name);
  }
}
