#include "common/process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "common/terminal.h"

namespace {

constexpr std::array kEndingSignals = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

// Plain globals, since a signal handler reads them.
std::array<char, PATH_MAX> temporaryName{};
volatile std::sig_atomic_t hasTemporary = 0;

void cleanUpAndEnd(int signalNumber) {
  removeTemporaryFile();
  eraseProgress();
  // Resetting the action lets the signal end the process as its sender expects.
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
}

}  // namespace

void prepareProcess() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1) {
      open("/dev/null", O_RDWR);  // takes the lowest free number, which is this one
    }
  }

  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int signalNumber : kEndingSignals) {
    if (std::signal(signalNumber, cleanUpAndEnd) == SIG_IGN) {
      // Whoever started the process meant it to outlive this one.
      std::signal(signalNumber, SIG_IGN);
    }
  }
}

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
