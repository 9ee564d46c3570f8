#include "inspect/NetTop.h"

#include "platform/values/Parsing.h"
#include "platform/values/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>

namespace quorlin {
namespace {

/// The length of the white-space character or line break that the text begins with, or 0. These are the
/// characters with Unicode's property White_Space.
std::size_t whiteSpaceLength(std::string_view text) {
  constexpr std::string_view single = " \t\n\v\f\r";
  constexpr std::array<std::string_view, 19> others = {
      "\u0085", "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006",
      "\u2007", "\u2008", "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"};
  if (text.empty()) return 0;
  if (single.find(text.front()) != std::string_view::npos) return 1;
  if (static_cast<std::uint8_t>(text.front()) < 0x80) return 0;
  const auto* found = std::ranges::find_if(others, [&](auto space) { return text.starts_with(space); });
  return found == others.end() ? 0 : found->size();
}

void skipWhiteSpace(std::string_view& text) {
  while (const std::size_t length = whiteSpaceLength(text)) text.remove_prefix(length);
}

/// Takes the next run of characters that are no white space off the text; empty at its end.
std::string_view takeToken(std::string_view& text) {
  skipWhiteSpace(text);
  std::size_t length = 0;
  while (length < text.size() && whiteSpaceLength(text.substr(length)) == 0) ++length;
  const std::string_view token = text.substr(0, length);
  text.remove_prefix(length);
  return token;
}

std::string_view trimmed(std::string_view text) {
  skipWhiteSpace(text);
  std::string_view rest = text;
  std::size_t end = 0;
  while (!takeToken(rest).empty()) end = text.size() - rest.size();
  return text.substr(0, end);
}

/// Takes a number off the text. Nothing when none stands there.
template <typename Integer>
std::optional<Integer> takeInteger(std::string_view& text) {
  Integer value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::invalid_argument) return std::nullopt;
  if (error == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<Integer>;
    value = text.front() == '-' ? Limits::min() : Limits::max();
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return value;
}

std::optional<std::int64_t> takeCount(std::string_view& text) {
  skipWhiteSpace(text);
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  return takeInteger<std::int64_t>(text);
}

std::int32_t processIdOf(std::string_view column) {
  const std::size_t dot = column.rfind('.');
  if (dot == std::string_view::npos) return 0;
  std::string_view digits = column.substr(dot + 1);
  return digits.starts_with('-') ? 0 : takeInteger<std::int32_t>(digits).value_or(0);
}

}  // namespace

std::optional<Data> outputOfNetTop(TaskLauncher& taskLauncher) {
  return taskLauncher.standardOutputOf(
      "/usr/bin/nettop",
      {"-Px", "-k",
       "interface,state,rx_ooo,rx_dupe,re-tx,rtt_avg,rcvsize,tx_win,tc_class,tc_mgt,cc_algo,P,C,R,W", "-l",
       "1", "-t", "external"});
}

std::vector<std::string> formatLines(const Data& output) {
  std::string_view text(reinterpret_cast<const char*>(output.data()), output.size());
  std::vector<std::string> lines;
  if (!isUtf8(text)) return lines;
  while (!text.empty()) {
    const std::string_view line = trimmed(takeUntil('\n', text));
    if (!line.empty()) lines.emplace_back(line);
  }
  return lines;
}

std::optional<Dictionary> parseNetTop(std::string_view line) {
  const std::string_view time = takeToken(line);
  const std::string_view process = takeToken(line);
  if (time == "time" || process.empty()) return std::nullopt;
  const std::optional<std::int64_t> received = takeCount(line);
  if (!received) return std::nullopt;
  const std::optional<std::int64_t> sent = takeCount(line);
  if (!sent) return std::nullopt;
  return Dictionary{{"pid", processIdOf(process)}, {"bytesIn", *received}, {"bytesOut", *sent}};
}

}  // namespace quorlin
