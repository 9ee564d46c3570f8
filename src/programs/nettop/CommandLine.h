/// The command line of nettop, which lists what each process has received and sent over the network.
#pragma once

#include <filesystem>
#include <span>
#include <string_view>

namespace quorlin {

/// Does what the arguments after the program's name say and returns the process's exit status, of sysexits.h.
/// The list is printed when it is complete; what keeps it from being so is said on the error stream.
int runNettop(const std::filesystem::path& procfsRoot, std::span<const std::string_view> arguments);

}  // namespace quorlin
