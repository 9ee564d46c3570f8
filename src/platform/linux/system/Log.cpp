#include "platform/linux/system/Log.h"

#include <unistd.h>

namespace quorlin {

void StreamLog::line(std::string_view text) {
  std::string line = program_ + ": ";
  for (const char character : text) {
    const bool control = static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    line += control ? ' ' : character;
  }
  line += '\n';
  // One call a line keeps the lines of several threads apart. There is nowhere to report a failure to.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace quorlin
