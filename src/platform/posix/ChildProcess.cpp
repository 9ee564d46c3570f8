#include "platform/posix/ChildProcess.h"

#include <algorithm>
#include <cerrno>

#include <sys/wait.h>

namespace quorlin {

std::optional<std::vector<char*>> argumentVector(const std::string& path,
                                                 const std::vector<std::string>& arguments) {
  const auto hasZeroByte = [](const std::string& text) { return text.find('\0') != std::string::npos; };
  if (hasZeroByte(path) || std::ranges::any_of(arguments, hasZeroByte)) return std::nullopt;
  std::vector<char*> vector = {const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);
  return vector;
}

std::optional<int> waitForEnd(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return std::nullopt;
  }
  return status;
}

}  // namespace quorlin
