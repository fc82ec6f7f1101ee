#include "common/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "common/temporary_file.h"
#include "common/terminal.h"

namespace {

constexpr std::array kEndingSignals = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM,
                                       SIGALRM, SIGUSR1, SIGUSR2, SIGXCPU};

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
