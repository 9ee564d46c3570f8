/// Entries of the user's autostart folder, as freedesktop.org's Desktop Application Autostart Specification
/// describes them.
#pragma once

#include "platform/Log.h"
#include "platform/values/Result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// A program of ours that starts at login.
struct AutostartProgram {
  /// What people read in a list of such programs.
  const char* name;
  const char* comment;
  /// Absolute.
  std::filesystem::path program;
};

/// The user's entry of that identifier, also where there is none.
std::filesystem::path autostartEntry(std::string_view identifier);

/// Why the entry does not start its program in the desktop of this session, as far as the entry tells;
/// nothing if it does. Whether a desktop starts entries at all is another question.
std::optional<Trouble> whyNotStarted(const std::filesystem::path& entry);

/// Switches an entry on, making it or changing what keeps it from starting, or off. What else the user has
/// written into it stays, a command of the user's own too. An entry without any such thing is removed. One
/// that is malformed is kept aside, which the log tells.
std::optional<Trouble> setAutostart(const std::filesystem::path& entry, const AutostartProgram& program,
                                    bool enabled, Log& log);

}  // namespace quorlin
