/// The application that a process belongs to, by the name of its systemd unit.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// The application id in a unit's name, unescaped; nothing if the unit is not an application's. The
/// forms are app[-LAUNCHER]-ID-RANDOM.scope and app[-LAUNCHER]-ID[@RANDOM|-RANDOM].service
/// (https://systemd.io/DESKTOP_ENVIRONMENTS).
std::optional<std::string> applicationIdOfUnit(std::string_view unit);

/// The same for the contents of /proc/PID/cgroup (cgroups(7)). The innermost unit of an application counts:
/// an application may have groups of its own below it.
std::optional<std::string> applicationIdOfControlGroups(std::string_view controlGroups);

}  // namespace quorlin
