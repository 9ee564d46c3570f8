/// The command line of nettop, which lists the bytes that each process has received and sent over the
/// network.
#pragma once

#include <filesystem>
#include <span>
#include <string_view>

namespace quorlin {

/// Carries out the arguments, which do not include the program's name. Returns the exit status, of
/// sysexits.h. Prints only a complete list; a trouble goes to the error stream.
int runNettop(const std::filesystem::path& procfsRoot, std::span<const std::string_view> arguments);

}  // namespace quorlin
