#include "inspect/ProcessList.h"

#include "core/AppDelegate.h"
#include "platform/Utf8.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace quorlin {

std::vector<std::string> AppDelegate::getCarbonProcessList() {
  std::vector<std::string> identifiers;
  services_.processManager.enumerateProcesses([&](std::optional<std::string_view> identifier) {
    identifiers.emplace_back(identifier.value_or("(null)"));
  });
  return identifiers;
}

float AppDelegate::askSystemPS(std::int32_t pid) {
  const std::string command = "ps -p " + std::to_string(pid) + " -o %cpu";
  const std::optional<Data> output = services_.taskLauncher.standardOutputOf("/bin/sh", {"-c", command});
  return output ? processorShareFromPsOutput(*output) : 0.0F;
}

float processorShareFromPsOutput(const Data& output) {
  constexpr float unreadable = -1.0F;
  const std::string_view text(reinterpret_cast<const char*>(output.data()), output.size());
  if (!isUtf8(text)) return unreadable;
  const std::size_t headerEnd = text.find('\n');
  if (headerEnd == std::string_view::npos) return unreadable;

  std::string_view line = text.substr(headerEnd + 1);
  line = line.substr(0, line.find('\n'));
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  // What begins with a letter would be read as infinity or not-a-number.
  const bool isNumber =
      !line.empty() && std::string_view("-.0123456789").find(line.front()) != std::string_view::npos;
  if (!isNumber) return 0.0F;
  float share = 0.0F;
  std::from_chars(line.data(), line.data() + line.size(), share);
  return share;
}

}  // namespace quorlin
