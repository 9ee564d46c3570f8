#include "platform/posix/RunningTime.h"

#include <csignal>

#include <unistd.h>

namespace quorlin {

void endAfter(unsigned seconds) {
  std::signal(SIGALRM, SIG_DFL);
  sigset_t alarms;
  sigemptyset(&alarms);
  sigaddset(&alarms, SIGALRM);
  sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
  alarm(seconds);
}

}  // namespace quorlin
