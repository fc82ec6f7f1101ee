#include "common/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

// Plain globals, since a signal handler reads them.
std::array<char, PATH_MAX> temporaryName{};
volatile std::sig_atomic_t hasTemporary = 0;

}  // namespace

int createTemporaryFile(const std::string& folder) {
  const std::string pattern = folder + ".kel_XXXXXX";
  if (pattern.size() >= temporaryName.size()) {
    errno = ENAMETOOLONG;
    return -1;
  }
  temporaryName.at(pattern.copy(temporaryName.data(), pattern.size())) = '\0';
  hasTemporary = 1;  // beforehand, so that no signal finds a file that is not known yet
  const int descriptor = mkostemp(temporaryName.data(), O_CLOEXEC);
  if (descriptor < 0) {
    hasTemporary = 0;
  }
  return descriptor;
}

int renameTemporaryFile(const std::string& name) {
  const int status = std::rename(temporaryName.data(), name.c_str());
  if (status == 0) {
    hasTemporary = 0;
  }
  return status;
}

void removeTemporaryFile() {
  if (hasTemporary != 0) {
    unlink(temporaryName.data());
    hasTemporary = 0;
  }
}
