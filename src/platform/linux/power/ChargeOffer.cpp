#include "platform/linux/power/ChargeOffer.h"

#include "platform/linux/power/SystemBatteries.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <system_error>

#include <sys/stat.h>

namespace quorlin {
namespace {

constexpr std::array<std::string_view, 4> kBehaviours = {"auto", kInhibitCharge, "inhibit-charge-awake",
                                                         "force-discharge"};
constexpr std::array<std::string_view, 7> kTypes = {"Trickle",     "Fast",      "Standard", "Adaptive",
                                                    kCustomCharge, "Long_Life", "Bypass"};

/// The choices of an attribute that is a list of them; none for a percentage.
std::span<const std::string_view> choicesOf(std::string_view attribute) {
  if (attribute == kChargeBehaviour) return kBehaviours;
  if (attribute == kChargeTypes || attribute == kChargeType) return kTypes;
  return {};
}

/// Whether a choice is in an attribute's list, in which the one in force has brackets.
bool hasChoice(const std::filesystem::path& battery, std::string_view attribute, std::string_view choice) {
  std::string choices = ' ' + supplyText(battery, attribute) + ' ';
  std::ranges::replace_if(
      choices, [](char character) { return character == '[' || character == ']'; }, ' ');
  return choices.find(' ' + std::string(choice) + ' ') != std::string::npos;
}

/// Many drivers only report the type in force, in a file that its owner cannot write either.
bool canBeSet(const std::filesystem::path& battery, std::string_view attribute) {
  struct stat status {};
  return stat((battery / attribute).c_str(), &status) == 0 && (status.st_mode & S_IWUSR) != 0;
}

std::string_view typeAttributeOf(const std::filesystem::path& battery) {
  if (hasChoice(battery, kChargeTypes, kCustomCharge)) return kChargeTypes;
  const bool isWithoutList = supplyText(battery, kChargeTypes).empty() && canBeSet(battery, kChargeType) &&
                             isChargeValue(kChargeType, chargeValue(battery, kChargeType).value_or(""));
  return isWithoutList ? kChargeType : std::string_view();
}

}  // namespace

ChargeOffer chargeOfferOf(const std::filesystem::path& battery) {
  std::error_code ignored;
  return {.inhibitsCharge = hasChoice(battery, kChargeBehaviour, kInhibitCharge),
          .hasEndThreshold = std::filesystem::exists(battery / kEndThreshold, ignored),
          .typeAttribute = typeAttributeOf(battery)};
}

bool isChargeValue(std::string_view attribute, std::string_view value) {
  const auto choices = choicesOf(attribute);
  if (!choices.empty()) return std::ranges::find(choices, value) != choices.end();
  if (attribute != kEndThreshold && attribute != kStartThreshold) return false;
  return wholeNumber<unsigned>(value).value_or(101) <= 100;
}

std::optional<std::string> chargeValue(const std::filesystem::path& battery, std::string_view attribute) {
  std::string text = supplyText(battery, attribute);
  if (text.empty()) return std::nullopt;
  if (choicesOf(attribute).empty()) return text;
  if (attribute == kChargeType) {
    std::ranges::replace(text, ' ', '_');
    return text;
  }
  const std::size_t open = text.find('[');
  const std::size_t close = text.find(']', open);
  if (close == std::string::npos) return std::nullopt;
  return text.substr(open + 1, close - open - 1);
}

std::optional<std::string> unsetValue(const std::filesystem::path& battery, std::string_view attribute) {
  if (attribute != kEndThreshold && attribute != kStartThreshold) return std::nullopt;
  const Result<std::string> text = readText((battery / attribute).string());
  if (text || text.error().error != ENODATA) return std::nullopt;
  return attribute == kEndThreshold ? "100" : "0";
}

}  // namespace quorlin
