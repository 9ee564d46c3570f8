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

/// Where the settings of the user who runs the program are.
std::filesystem::path settingsFile();

/// Every change is merged into the file as it is then, and replaces it as a whole: whoever reads it finds the
/// old or the new one, and what a person wrote into it meanwhile stays. A malformed file is kept aside as
/// FILE.unreadable and reported before it is replaced; one that cannot be opened is left alone. What cannot
/// be written is reported, kept for the run and tried again with the next change. Any thread.
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
  /// Nothing stands for a key that was removed.
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
