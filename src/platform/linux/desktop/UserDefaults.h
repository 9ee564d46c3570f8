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
  bool boolean(std::string_view key) const override;
  std::optional<Date> date(std::string_view key) const override;

  void setInteger(std::string_view key, std::int64_t value) override;
  void setBoolean(std::string_view key, bool value) override;
  void setDate(std::string_view key, Date value) override;
  void remove(std::string_view key) override;

  /// Every change is written before its call returns.
  void synchronize() override {}

 private:
  /// Nothing for a key that was removed.
  using Changes = std::map<std::string, std::optional<std::string>, std::less<>>;

  std::optional<std::string> text(std::string_view key) const;
  void change(std::string_view key, std::optional<std::string> value);
  void store();

  std::filesystem::path file_;
  Log& log_;
  mutable std::mutex mutex_;
  std::map<std::string, std::string, std::less<>> values_;
  Changes unsaved_;
};

}  // namespace quorlin
