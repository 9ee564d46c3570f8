/// The program's output: its two output streams and its exit status.
#pragma once

#include "platform/values/Result.h"

#include <optional>
#include <string_view>

namespace quorlin {

/// The process's exit status.
enum ExitCode : int { kExitOk = 0, kExitFailed = 1, kExitUsage = 2, kExitNotHeld = 3 };

/// Writes all of the bytes to a descriptor as they are, however long that takes.
std::optional<Trouble> writeAll(int descriptor, std::string_view bytes);

/// Writes a text to standard output, made so that it cannot drive a terminal, and complains if that fails.
ExitCode print(std::string_view text);

/// Like print, for lines that StyledLine has drawn: their colours stay.
ExitCode printDrawn(std::string_view text);

/// Writes a line to the error stream, after the program's name; it cannot drive a terminal.
void complain(std::string_view message);

/// Complains. Returns kExitFailed.
ExitCode fail(std::string_view message);

}  // namespace quorlin
