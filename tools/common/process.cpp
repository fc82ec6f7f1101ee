#include "common/process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
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

sigset_t endingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signalNumber : kEndingSignals) {
    sigaddset(&set, signalNumber);
  }
  return set;
}

}  // namespace

void prepareProcess() {
  int descriptor = open("/dev/null", O_RDWR);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
    descriptor = open("/dev/null", O_RDWR);
  }
  close(descriptor);

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
  std::string name = folder + ".kel_XXXXXX";
  const sigset_t ending = endingSignals();
  sigset_t before;
  pthread_sigmask(SIG_BLOCK, &ending, &before);
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor >= 0) {
    name.copy(temporaryName.data(), name.size());
    temporaryName.at(name.size()) = '\0';
    hasTemporary = 1;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
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
