#include "nettop/CommandLine.h"
#include "platform/linux/SystemRoots.h"
#include "platform/posix/RunningTime.h"

#include <vector>

int main(int argc, char** argv) {
  // The agent waits for its output.
  constexpr unsigned longest = 5;  // seconds
  quorlin::endAfter(longest);
  // Whoever starts a program may give it no name at all.
  const std::vector<std::string_view> arguments(argc > 0 ? argv + 1 : argv, argv + argc);
  return quorlin::runNettop(quorlin::systemRootsFromEnvironment().procfs, arguments);
}
