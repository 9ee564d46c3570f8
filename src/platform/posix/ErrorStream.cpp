#include "platform/posix/ErrorStream.h"

#include "platform/values/Utf8.h"

#include <string>

#include <unistd.h>

namespace quorlin {

void writeErrorLine(std::string_view text) {
  const std::string line = withoutTerminalControls(text) + '\n';
  // One call a line keeps the lines of several threads apart.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace quorlin
