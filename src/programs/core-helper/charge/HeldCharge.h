/// The former values of batteries' attributes, kept in a file.
#pragma once

#include "platform/linux/power/ChargeOffer.h"
#include "platform/values/Result.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorlin {

/// The attributes that a hold may change.
inline constexpr std::array kHeldAttributes = {kChargeTypes, kChargeType, kChargeBehaviour, kEndThreshold,
                                               kStartThreshold};

struct FormerValue {
  std::string battery;
  std::string attribute;
  std::string value;
  /// The value after the change; empty while it is unknown.
  std::string ours;
};

/// The lines "BATTERY ATTRIBUTE VALUE" and "BATTERY ATTRIBUTE VALUE OURS" of a text that name one of the
/// attributes and values that it can have. Other lines are ignored, and so is a second one for an attribute.
std::vector<FormerValue> parseFormerValues(std::string_view text);

/// The file and its contents.
class HeldCharge {
 public:
  /// Without a file nothing is held. A file that cannot be read is a trouble, so that nothing replaces it.
  static Result<HeldCharge> in(std::filesystem::path file);

  /// Empty, whatever the file says.
  explicit HeldCharge(std::filesystem::path file) : file_(std::move(file)) {}

  const std::vector<FormerValue>& values() const { return values_; }

  /// Null when the file has no former value.
  const FormerValue* find(std::string_view battery, std::string_view attribute) const;

  /// Whether the file has a former value of a battery.
  bool isAbout(std::string_view battery) const;

  /// Before a change: has the value in the file when it returns without trouble. A known former value stays,
  /// but what is ours becomes unknown.
  std::optional<Trouble> remember(const std::string& battery, std::string_view attribute,
                                  const std::optional<std::string>& value);

  /// The result of a change. In memory only until store(), as with forget().
  void setOurs(std::string_view battery, std::string_view attribute, const std::string& ours);
  void forget(std::string_view battery, std::string_view attribute);

  /// Replaces the file as a whole, or removes it when there is nothing to keep. Writes nothing that the file
  /// already says.
  std::optional<Trouble> store();

 private:
  std::filesystem::path file_;
  std::vector<FormerValue> values_;
  bool isStored_ = true;
};

}  // namespace quorlin
