/// Notifications as JSON, valid whatever the sender put into them.
#pragma once

#include "platform/NotificationCenter.h"
#include "programs/quorlinctl/view/Battery.h"

#include <nlohmann/json.hpp>
#include <string>

namespace quorlin {

/// Numbers that JSON lacks become null, and malformed text is repaired. A keyed archive becomes its root,
/// other data base64. A date is ISO 8601 in UTC, or null outside the years 1 to 9999. Of two equal keys the
/// first counts.
nlohmann::ordered_json jsonOf(const PropertyList& value);

/// {"state": a word, "percent": a number or null}.
nlohmann::ordered_json jsonOf(const Battery& battery);

/// {"name", "object" or null, "userInfo"} on one line, without a line end; with batteries also "battery", the
/// first, and where there are several "batteries", all of them.
std::string jsonLineOf(const Notification& notification,
                       const std::optional<std::vector<Battery>>& batteries = std::nullopt);

/// Any JSON as text, with malformed UTF-8 replaced. Characters that could drive a terminal are escaped.
std::string textOf(const nlohmann::ordered_json& json);

}  // namespace quorlin
