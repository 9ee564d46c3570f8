/// A bound on how long this process may run.
#pragma once

namespace quorlin {

/// Ends this process by SIGALRM that many seconds from now, even while it blocks and even if its parent
/// ignored or blocked that signal.
void endAfter(unsigned seconds);

}  // namespace quorlin
