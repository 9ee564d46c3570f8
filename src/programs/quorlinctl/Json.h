/// Notifications as JSON: always valid, whatever the sender put into them.
#pragma once

#include "platform/NotificationCenter.h"
#include "quorlinctl/Battery.h"

#include <nlohmann/json.hpp>
#include <string>

namespace quorlin {

/// Numbers that JSON lacks become null and malformed text is mended. Data that is a keyed archive becomes its
/// root, other data base64. A date is ISO 8601 in UTC. Of two equal keys the first counts.
nlohmann::ordered_json jsonOf(const PropertyList& value);

/// {"name", "object" or null, "userInfo"} on one line, without its end; with a battery also "battery":
/// {"state": a word, "percent": a number or null}.
std::string jsonLineOf(const Notification& notification,
                       const std::optional<Battery>& battery = std::nullopt);

/// Any JSON as text; malformed UTF-8 inside is replaced.
std::string textOf(const nlohmann::ordered_json& json);

}  // namespace quorlin
