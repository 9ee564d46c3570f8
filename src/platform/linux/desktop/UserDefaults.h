/// Settings in a key file, $XDG_CONFIG_HOME/quorlin-sensors/settings.conf or the same below ~/.config.
#pragma once

#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace quorlin {

/// The settings of the user who runs the program.
std::filesystem::path settingsFile();

/// Each change is merged into the current file, which is then replaced as a whole: a reader finds the old
/// file or the new one, and a person's edits stay. A malformed file is copied to FILE.unreadable and reported
/// before it is replaced; a file that cannot be opened is left alone. A change that cannot be written is
/// reported, kept for the run and written with the next one. Any thread.
class KeyFileUserDefaults final : public UserDefaults {
 public:
  KeyFileUserDefaults(std::filesystem::path file, Log& log);

  std::int64_t integer(std::string_view key) const override;
  bool boolean(std::string_view key) const override { return integer(key) != 0; }
  std::optional<Date> date(std::string_view key) const override;

  void setInteger(std::string_view key, std::int64_t value) override { change(key, std::to_string(value)); }
  void setBoolean(std::string_view key, bool value) override { change(key, value ? "true" : "false"); }
  void setDate(std::string_view key, Date value) override;
  void remove(std::string_view key) override { change(key, std::nullopt); }

  /// Every change is written before its call returns.
  void synchronize() override {}

 private:
  std::optional<std::string> text(std::string_view key) const;
  void change(std::string_view key, std::optional<std::string> value);
  void store();

  std::filesystem::path file_;
  Log& log_;
  mutable std::mutex mutex_;
  std::map<std::string, std::string, std::less<>> values_;
  /// Nothing for a key that was removed.
  std::map<std::string, std::optional<std::string>, std::less<>> unsaved_;
};

}  // namespace quorlin
