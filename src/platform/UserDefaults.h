/// The program's persisted settings.
#pragma once

#include "platform/values/PropertyList.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorlin {

/// Reading never fails: an absent or unusable value reads as 0, false or nothing. A value set is
/// read back for the rest of the run even if it could not be stored. Main thread only, except for
/// the setters, which a helper's reply may call on its own queue.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  virtual std::int64_t integer(std::string_view key) const = 0;
  virtual bool boolean(std::string_view key) const = 0;
  virtual std::optional<Date> date(std::string_view key) const = 0;

  virtual void setInteger(std::string_view key, std::int64_t value) = 0;
  virtual void setBoolean(std::string_view key, bool value) = 0;
  virtual void setDate(std::string_view key, Date value) = 0;
  virtual void remove(std::string_view key) = 0;

  /// Returns once everything set before is stored, or could not be.
  virtual void synchronize() = 0;
};

}  // namespace quorlin
