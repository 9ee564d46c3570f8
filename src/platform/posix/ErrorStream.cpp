#include "platform/posix/ErrorStream.h"

#include "platform/posix/TextFile.h"

#include <string>

#include <unistd.h>

namespace quorlin {

void writeErrorLine(std::string_view text) {
  constexpr std::size_t most = 2000;
  const std::string line = excerpt(text, most) + '\n';
  // One call a line keeps the lines of several threads apart.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace quorlin
