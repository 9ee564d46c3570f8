/// The computer's own batteries among the supplies in /sys/class/power_supply.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// The folders of the batteries that the computer runs on, in the natural order of their names (BAT2 before
/// BAT10): not those of mice and headsets, and no empty bay.
std::vector<std::filesystem::path> systemBatteries(const std::filesystem::path& sysfsRoot);

/// The folders of the supplies that bring power from outside to the computer itself.
std::vector<std::filesystem::path> externalSupplies(const std::filesystem::path& sysfsRoot);

/// An attribute of a supply; empty when it is absent or cannot be read.
std::string supplyText(const std::filesystem::path& supply, std::string_view attribute);

/// An attribute that is a whole number from 0 to the largest of 32 bits with a sign; nothing for any other
/// text.
std::optional<std::int32_t> supplyNumber(const std::filesystem::path& supply, std::string_view attribute);

}  // namespace quorlin
