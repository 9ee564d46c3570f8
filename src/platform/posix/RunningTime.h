/// A bound on how long this process may run.
#pragma once

namespace quorlin {

/// Ends this process by SIGALRM that many seconds from now, whatever it waits for unless it is stopped, and
/// whatever its parent made of that signal.
void endAfter(unsigned seconds);

}  // namespace quorlin
