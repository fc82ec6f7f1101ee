// late COMMAND...: runs a command for which all storage answers 300 us late, as across a network:
// openat, newfstatat by a name, getdents64, pread64. Not late are what is asked about an open file,
// and plain reads, by which the simulator reads its list. It needs no root and slows any program,
// also a static one: the kernel hands over each of these calls, and `late` lets it go on when its
// time has come. As many calls wait at once as the command makes.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <queue>

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::microseconds kDelay = 300us;

// Returns where the kernel hands over the late calls of this process and all that it starts.
int divertLateCalls() {
  constexpr unsigned kLoad = BPF_LD | BPF_W | BPF_ABS;
  constexpr unsigned kIfEqual = BPF_JMP | BPF_JEQ | BPF_K;
  constexpr unsigned kIfSet = BPF_JMP | BPF_JSET | BPF_K;
  constexpr unsigned kReturn = BPF_RET | BPF_K;
  sock_filter steps[] = {
      {kLoad, 0, 0, offsetof(seccomp_data, nr)},
      {kIfEqual, 5, 0, SYS_openat},
      {kIfEqual, 4, 0, SYS_getdents64},
      {kIfEqual, 3, 0, SYS_pread64},
      {kIfEqual, 0, 3, SYS_newfstatat},
      {kLoad, 0, 0, offsetof(seccomp_data, args[3])},
      {kIfSet, 1, 0, AT_EMPTY_PATH},
      {kReturn, 0, 0, SECCOMP_RET_USER_NOTIF},
      {kReturn, 0, 0, SECCOMP_RET_ALLOW},
  };
  const sock_fprog program = {.len = std::size(steps), .filter = steps};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  return static_cast<int>(
      syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

// Lets each call go on after the delay, until the child has ended.
void answerLate(int calls, pid_t child) {
  using Clock = std::chrono::steady_clock;
  struct Waiting {
    decltype(seccomp_notif::id) id;
    Clock::time_point due;
  };
  std::queue<Waiting> waiting;
  prctl(PR_SET_TIMERSLACK, 1, 0, 0, 0);  // else the kernel adds 50 us
  const auto childFile = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
  std::array<pollfd, 2> sources = {{{calls, POLLIN, 0}, {childFile, POLLIN, 0}}};
  while (sources[1].revents == 0) {
    for (; !waiting.empty() && waiting.front().due <= Clock::now(); waiting.pop()) {
      seccomp_notif_resp answer{};
      answer.id = waiting.front().id;
      answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
      ioctl(calls, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }
    const std::chrono::nanoseconds rest =
        waiting.empty() ? 1s : std::max(0ns, waiting.front().due - Clock::now());
    const timespec timeout = {.tv_sec = rest / 1s, .tv_nsec = (rest % 1s).count()};
    ppoll(sources.data(), sources.size(), &timeout, nullptr);
    seccomp_notif call{};
    if ((sources[0].revents & POLLIN) != 0 && ioctl(calls, SECCOMP_IOCTL_NOTIF_RECV, &call) == 0) {
      waiting.push({call.id, Clock::now() + kDelay});
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: late COMMAND...\n", stderr);
    return 1;
  }
  const int calls = divertLateCalls();
  if (calls < 0) {
    std::perror("late: the kernel does not hand over system calls");
    return 1;
  }
  const pid_t child = fork();
  if (child == 0) {
    execvp(argv[1], argv + 1);
    std::perror(argv[1]);
    _exit(127);
  }
  answerLate(calls, child);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
