/// nettop, and what can be read from the table that it prints: one line a process, its columns apart by white
/// space.
#pragma once

#include "platform/Task.h"
#include "platform/values/PropertyList.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// One sample of the processes that have used an external interface: time, process, bytes in and bytes out.
/// Blocks until nettop has ended; nothing when it could not be started.
std::optional<Data> outputOfNetTop(TaskLauncher& taskLauncher);

/// The lines without the white space around them, empty ones left out. None when the bytes are not UTF-8.
std::vector<std::string> formatLines(const Data& output);

/// The "pid", "bytesIn" and "bytesOut" of a line that begins with a time, a name with the process id behind
/// its last dot, and two counts. The process id is 0 where there is no dot or no digit behind it; a number
/// that its type cannot hold becomes the nearest that it can. Nothing for the header and for all other lines.
std::optional<Dictionary> parseNetTop(std::string_view line);

}  // namespace quorlin
