#include "platform/linux/system/SystemRoots.h"
#include "platform/posix/RunningTime.h"
#include "programs/nettop/CommandLine.h"

#include <vector>

int main(int argc, char** argv) {
  // The agent waits for its output.
  quorlin::endAfter(5);
  // A program may be started without even its name.
  const std::vector<std::string_view> arguments(argc > 0 ? argv + 1 : argv, argv + argc);
  return quorlin::runNettop(quorlin::systemRootsFromEnvironment().procfs, arguments);
}
