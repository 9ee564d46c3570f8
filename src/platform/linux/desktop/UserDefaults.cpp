#include "platform/linux/desktop/UserDefaults.h"

#include "platform/linux/desktop/KeyFile.h"
#include "platform/values/Sentence.h"

#include <charconv>
#include <limits>
#include <utility>

#include <glib.h>

namespace quorlin {
namespace {

using GDate = Owned<GDateTime, g_date_time_unref>;

constexpr const char* kGroup = "Settings";
constexpr const char* kNotSaved = "The settings are not saved: {}";

std::string isoText(Date date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  const GDate whole(g_date_time_new_from_unix_utc(seconds.time_since_epoch().count()));
  if (!whole) return {};
  const GDate exact(g_date_time_add(whole.get(), (date - seconds).count()));
  return GText(g_date_time_format(exact.get(), "%Y-%m-%dT%H:%M:%S.%fZ")).get();
}

}  // namespace

std::filesystem::path settingsFile() {
  return std::filesystem::path(g_get_user_config_dir()) / "quorlin-sensors" / "settings.conf";
}

KeyFileUserDefaults::KeyFileUserDefaults(std::filesystem::path file, Log& log)
    : file_(std::move(file)), log_(log) {
  const Result<KeyFile> keyFile = loadKeyFile(file_);
  if (!keyFile) {
    log_.line(filledIn("The settings are ignored: {}", {keyFile.error().text()}));
    return;
  }
  gsize count = 0;
  const Owned<gchar*, g_strfreev> keys(g_key_file_get_keys(keyFile->get(), kGroup, &count, nullptr));
  for (gsize i = 0; i < count; ++i) {
    const char* key = keys.get()[i];
    const GText value(g_key_file_get_value(keyFile->get(), kGroup, key, nullptr));
    if (value) values_.emplace(key, value.get());
  }
}

std::optional<std::string> KeyFileUserDefaults::text(std::string_view key) const {
  const std::scoped_lock lock(mutex_);
  const auto value = values_.find(key);
  return value == values_.end() ? std::nullopt : std::optional(value->second);
}

std::int64_t KeyFileUserDefaults::integer(std::string_view key) const {
  const std::string value = text(key).value_or("");
  if (value == "true" || value == "yes") return 1;
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (error == std::errc::result_out_of_range) {
    return value.front() == '-' ? std::numeric_limits<std::int64_t>::min()
                                : std::numeric_limits<std::int64_t>::max();
  }
  return number;
}

std::optional<Date> KeyFileUserDefaults::date(std::string_view key) const {
  const std::optional<std::string> value = text(key);
  if (!value) return std::nullopt;
  const GDate parsed(g_date_time_new_from_iso8601(value->c_str(), nullptr));
  if (!parsed) return std::nullopt;
  return Date(std::chrono::seconds(g_date_time_to_unix(parsed.get())) +
              std::chrono::microseconds(g_date_time_get_microsecond(parsed.get())));
}

void KeyFileUserDefaults::setDate(std::string_view key, Date value) { change(key, isoText(value)); }

void KeyFileUserDefaults::change(std::string_view key, std::optional<std::string> value) {
  const std::scoped_lock lock(mutex_);
  if (value) {
    values_.insert_or_assign(std::string(key), *value);
  } else {
    values_.erase(std::string(key));
  }
  unsaved_.insert_or_assign(std::string(key), std::move(value));
  store();
}

void KeyFileUserDefaults::store() {
  const auto merge = [this](GKeyFile* keyFile) {
    for (const auto& [key, value] : unsaved_) {
      if (value) {
        g_key_file_set_value(keyFile, kGroup, key.c_str(), value->c_str());
      } else {
        g_key_file_remove_key(keyFile, kGroup, key.c_str(), nullptr);
      }
    }
    return Changed::Contents;
  };
  if (const std::optional<Trouble> trouble = changeKeyFile(file_, merge, &log_)) {
    return log_.line(filledIn(kNotSaved, {trouble->text()}));
  }
  unsaved_.clear();
}

}  // namespace quorlin
