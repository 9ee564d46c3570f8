#include "programs/quorlinctl/view/NetworkView.h"

#include "programs/quorlinctl/view/Figures.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr int kProcessesWidth = 15;
constexpr int kFigureWidth = 11;
constexpr int kWidest = 80;

std::optional<std::int64_t> integerOf(const Dictionary& record, std::string_view key) {
  const PropertyList* value = find(record, key);
  const std::int64_t* number = value == nullptr ? nullptr : value->integer();
  return number == nullptr ? std::nullopt : std::optional(*number);
}

std::string processesText(const std::vector<std::int32_t>& processes) {
  if (processes.size() == 1) return std::to_string(processes.front());
  return fmt::format("{} processes", processes.size());
}

/// A narrow terminal has room for the name and the received bytes only.
std::string row(int columns, Appearance appearance, Tone tone, std::string_view name,
                const std::string& processes, const std::string& received, const std::string& sent) {
  struct Column {
    const std::string& text;
    int width;
    int leastColumns;
  };
  const std::array<Column, 3> figures = {
      {{processes, kProcessesWidth, 56}, {received, kFigureWidth, 0}, {sent, kFigureWidth, 40}}};
  const int end = std::min(columns, kWidest);
  int width = 0;
  for (const Column& column : figures) width += columns < column.leastColumns ? 0 : column.width;
  StyledLine label(std::max(end - width, 0), appearance);
  StyledLine line(columns, appearance);
  line.line(label.text(name, tone));
  int columnEnd = end - width;
  for (const Column& column : figures) {
    if (columns < column.leastColumns) continue;
    columnEnd += column.width;
    line.textEndingAt(columnEnd, column.text, tone);
  }
  return line.bytes();
}

}  // namespace

std::vector<NetworkApplication> networkApplicationsOf(
    const Dictionary& userInfo, const std::function<std::string(std::int32_t)>& nameOf) {
  std::vector<NetworkApplication> applications;
  const PropertyList* list = find(userInfo, "netapps");
  if (list == nullptr || list->array() == nullptr) return applications;
  for (const PropertyList& record : *list->array()) {
    if (record.dictionary() == nullptr) continue;
    const std::optional<std::int64_t> process = integerOf(*record.dictionary(), "pid");
    const std::optional<std::int64_t> received = integerOf(*record.dictionary(), "bytesIn");
    const std::optional<std::int64_t> sent = integerOf(*record.dictionary(), "bytesOut");
    if (!process || !received || !sent || *process < 0 ||
        *process > std::numeric_limits<std::int32_t>::max()) {
      continue;
    }
    const auto id = static_cast<std::int32_t>(*process);
    std::string name = nameOf(id);
    auto known = std::ranges::find(applications, name, &NetworkApplication::name);
    if (known == applications.end()) {
      known = applications.insert(known, {.name = std::move(name), .processes = {}});
    }
    known->processes.push_back(id);
    known->received += static_cast<double>(*received);
    known->sent += static_cast<double>(*sent);
  }
  std::ranges::stable_sort(applications, std::ranges::greater(),
                           [](const NetworkApplication& one) { return one.received + one.sent; });
  return applications;
}

std::vector<std::string> renderApplications(const std::vector<NetworkApplication>& applications, int columns,
                                            Appearance appearance) {
  if (applications.empty()) {
    const auto lines = linesOf(
        "The list is empty: no application has a connection over an external interface, or nettop fails; "
        "quorlinctl doctor says which.",
        std::min(columns, kWidest), appearance.charset);
    return {lines.begin(), lines.end()};
  }
  std::vector<std::string> lines = {
      row(columns, appearance, Tone::Heading, "Application", "Process", "Received", "Sent")};
  for (const NetworkApplication& application : applications) {
    lines.push_back(row(columns, appearance, Tone::Plain, application.name,
                        processesText(application.processes), bytesText(application.received),
                        bytesText(application.sent)));
  }
  return lines;
}

}  // namespace quorlin
