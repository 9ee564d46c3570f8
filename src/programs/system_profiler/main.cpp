/// system_profiler: describes this computer to other programs. Of its many reports it has the hardware's.
#include "platform/posix/RunningTime.h"
#include "programs/system_profiler/HardwareProfile.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vector>

#include <sysexits.h>

int main(int argc, char** argv) {
  quorlin::endAfter(5);
  const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
  if (arguments != std::vector<std::string_view>{"SPHardwareDataType", "-xml"}) {
    std::fputs("Usage: system_profiler SPHardwareDataType -xml\n", stderr);
    return EX_USAGE;
  }
  const std::string profile = quorlin::hardwareProfile(quorlin::systemRootsFromEnvironment());
  if (std::fputs(profile.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
    std::perror("system_profiler: cannot write the output");
    return EX_IOERR;
  }
  return EX_OK;
}
