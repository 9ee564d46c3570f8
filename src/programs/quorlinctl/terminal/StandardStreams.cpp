#include "programs/quorlinctl/terminal/StandardStreams.h"

#include "platform/posix/ErrorStream.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Utf8.h"

#include <cerrno>

#include <unistd.h>

namespace quorlin {

std::optional<Trouble> writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return systemTrouble("cannot write to standard output", {}, errno);
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return std::nullopt;
}

ExitCode print(std::string_view text) { return printDrawn(withoutTerminalControls(text, "\n")); }

ExitCode printDrawn(std::string_view text) {
  const std::optional<Trouble> trouble = writeAll(STDOUT_FILENO, text);
  return trouble ? fail(trouble->text()) : kExitOk;
}

void complain(std::string_view message) { writeErrorLine(filledIn("quorlinctl: {}", {message})); }

ExitCode fail(std::string_view message) {
  complain(message);
  return kExitFailed;
}

}  // namespace quorlin
