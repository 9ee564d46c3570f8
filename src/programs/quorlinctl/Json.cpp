#include "quorlinctl/Json.h"

#include "platform/KeyedArchiver.h"
#include "platform/Utf8.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace quorlin {
namespace {

using nlohmann::ordered_json;

std::string base64Of(const Data& data) {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((data.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < data.size(); i += 3) {
    const std::size_t taken = std::min<std::size_t>(3, data.size() - i);
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k) bits = bits << 8U | (k < taken ? data[i + k] : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += k <= taken ? alphabet[bits >> (18 - 6 * k) & 63U] : '=';
  }
  return text;
}

std::string iso8601Of(Date date) {
  const auto day = std::chrono::floor<std::chrono::days>(date);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(date - day);
  std::array<char, 64> text{};
  int length = std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d", int(calendar.year()),
                             unsigned(calendar.month()), unsigned(calendar.day()),
                             static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                             static_cast<int>(time.seconds().count()));
  std::string result(text.data(), static_cast<std::size_t>(length));
  if (const auto fraction = time.subseconds().count(); fraction != 0) {
    length = std::snprintf(text.data(), text.size(), ".%06d", static_cast<int>(fraction));
    result.append(text.data(), static_cast<std::size_t>(length));
  }
  return result + "Z";
}

ordered_json jsonOf(const Array& array) {
  ordered_json json = ordered_json::array();
  for (const PropertyList& element : array) json.push_back(quorlin::jsonOf(element));
  return json;
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
  ordered_json operator()(const PropertyList::SharedArray& array) const { return jsonOf(*array); }
  ordered_json operator()(const PropertyList::SharedDictionary& entries) const { return jsonOf(*entries); }
};

}  // namespace

ordered_json jsonOf(const PropertyList& value) { return std::visit(Converter(), value.value()); }

std::string jsonLineOf(const Notification& notification, const std::optional<Battery>& battery) {
  ordered_json json;
  json["name"] = withoutMalformedUtf8(notification.name);
  json["object"] = nullptr;
  if (notification.object) json["object"] = withoutMalformedUtf8(*notification.object);
  json["userInfo"] = jsonOf(notification.userInfo);
  if (battery) {
    json["battery"]["state"] = wordOf(battery->state);
    json["battery"]["percent"] = battery->percent ? ordered_json(*battery->percent) : nullptr;
  }
  return textOf(json);
}

std::string textOf(const ordered_json& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace quorlin
