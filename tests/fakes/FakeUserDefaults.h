/// Settings in memory.
#pragma once

#include "platform/UserDefaults.h"

#include <functional>
#include <map>
#include <string>

namespace quorlin {

class FakeUserDefaults final : public UserDefaults {
 public:
  std::map<std::string, std::int64_t, std::less<>> integers;
  std::map<std::string, bool, std::less<>> booleans;
  std::map<std::string, Date, std::less<>> dates;

  std::int64_t integer(std::string_view key) const override {
    const auto found = integers.find(key);
    return found == integers.end() ? 0 : found->second;
  }
  bool boolean(std::string_view key) const override {
    const auto found = booleans.find(key);
    return found != booleans.end() && found->second;
  }
  std::optional<Date> date(std::string_view key) const override {
    const auto found = dates.find(key);
    return found == dates.end() ? std::nullopt : std::optional(found->second);
  }
  void setInteger(std::string_view key, std::int64_t value) override { integers[std::string(key)] = value; }
  std::function<void()> onSetBoolean = [] {};
  void setBoolean(std::string_view key, bool value) override {
    booleans[std::string(key)] = value;
    onSetBoolean();
  }
  void setDate(std::string_view key, Date value) override { dates[std::string(key)] = value; }
  void remove(std::string_view key) override { integers.erase(std::string(key)); }
  void synchronize() override {}
};

}  // namespace quorlin
