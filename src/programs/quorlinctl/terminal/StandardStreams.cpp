#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <cerrno>

#include <fmt/format.h>
#include <unistd.h>

namespace quorlin {

std::error_code writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return {errno, std::generic_category()};
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

ExitCode print(std::string_view text) {
  const std::error_code error = writeAll(STDOUT_FILENO, text);
  if (error) complain(troubleWithOutput(error));
  return error ? kExitFailed : kExitOk;
}

void complain(std::string_view message) {
  // A failure here cannot be reported.
  writeAll(STDERR_FILENO, fmt::format("quorlinctl: {}\n", message));
}

std::string troubleWithOutput(std::error_code error) {
  return fmt::format("cannot write to standard output: {}", error.message());
}

}  // namespace quorlin
