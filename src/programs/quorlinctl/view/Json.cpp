#include "programs/quorlinctl/view/Json.h"

#include "platform/KeyedArchiver.h"
#include "platform/values/Utf8.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>

#include <fmt/format.h>
#include <glib.h>

namespace quorlin {
namespace {

using nlohmann::ordered_json;

using Text = std::unique_ptr<gchar, decltype(&g_free)>;
using DateTime = std::unique_ptr<GDateTime, decltype(&g_date_time_unref)>;

std::string base64Of(const Data& data) {
  const Text text(g_base64_encode(data.data(), data.size()), g_free);
  return text.get();
}

ordered_json iso8601Of(Date date) {
  const auto second = std::chrono::floor<std::chrono::seconds>(date);
  const DateTime whole(g_date_time_new_from_unix_utc(second.time_since_epoch().count()), g_date_time_unref);
  if (!whole) return nullptr;
  const DateTime exact(g_date_time_add(whole.get(), (date - second).count()), g_date_time_unref);
  const Text text(g_date_time_format_iso8601(exact.get()), g_free);
  return text.get();
}

ordered_json jsonOf(const Dictionary& dictionary) {
  ordered_json json = ordered_json::object();
  for (const auto& [key, value] : dictionary) {
    json.emplace(withoutMalformedUtf8(key), quorlin::jsonOf(value));
  }
  return json;
}

struct Converter {
  ordered_json operator()(std::int64_t number) const { return number; }
  ordered_json operator()(double number) const {
    return std::isfinite(number) ? ordered_json(number) : nullptr;
  }
  ordered_json operator()(bool flag) const { return flag; }
  ordered_json operator()(const std::string& text) const { return withoutMalformedUtf8(text); }
  ordered_json operator()(const PropertyList::SharedData& data) const {
    const std::optional<PropertyList> root = unarchiveRootObject(*data);
    return root ? quorlin::jsonOf(*root) : ordered_json(base64Of(*data));
  }
  ordered_json operator()(Date date) const { return iso8601Of(date); }
  ordered_json operator()(const PropertyList::SharedArray& array) const {
    ordered_json json = ordered_json::array();
    for (const PropertyList& element : *array) json.push_back(quorlin::jsonOf(element));
    return json;
  }
  ordered_json operator()(const PropertyList::SharedDictionary& entries) const { return jsonOf(*entries); }
};

}  // namespace

ordered_json jsonOf(const Battery& battery) {
  ordered_json json;
  json["state"] = wordOf(battery);
  json["percent"] = battery.percent ? ordered_json(*battery.percent) : nullptr;
  return json;
}

ordered_json jsonOf(const PropertyList& value) { return std::visit(Converter(), value.value()); }

std::string jsonLineOf(const Notification& notification,
                       const std::optional<std::vector<Battery>>& batteries) {
  ordered_json json;
  json["name"] = withoutMalformedUtf8(notification.name);
  json["object"] = notification.object ? ordered_json(withoutMalformedUtf8(*notification.object)) : nullptr;
  json["userInfo"] = jsonOf(notification.userInfo);
  if (batteries) {
    json["battery"] = jsonOf(batteries->empty() ? Battery() : batteries->front());
    for (const Battery& battery : *batteries) {
      if (batteries->size() > 1) json["batteries"].push_back(jsonOf(battery));
    }
  }
  return textOf(json);
}

std::string textOf(const ordered_json& json) {
  const std::string dumped = json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  std::string text;
  text.reserve(dumped.size());
  // JSON itself is printable ASCII, so what is escaped here stands within strings.
  for (std::string_view rest = dumped; !rest.empty();) {
    std::string_view character = rest;
    const char32_t codePoint = takeCodePoint(rest);
    character.remove_suffix(rest.size());
    if (isControl(codePoint) || isDirectionMark(codePoint)) {
      text += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(codePoint));
    } else {
      text += character;
    }
  }
  return text;
}

}  // namespace quorlin
