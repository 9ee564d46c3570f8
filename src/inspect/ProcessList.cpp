#include "inspect/ProcessList.h"

#include "core/AppDelegate.h"
#include "platform/values/Parsing.h"
#include "platform/values/Utf8.h"

#include <cmath>
#include <locale>
#include <sstream>
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
  std::string_view text(reinterpret_cast<const char*>(output.data()), output.size());
  if (!isUtf8(text) || text.find('\n') == std::string_view::npos) return unreadable;
  takeUntil('\n', text);
  // Not from_chars(), which libc++ 16 lacks for floating-point numbers; the stream's locale is the classic
  // one.
  std::istringstream stream{std::string(takeUntil('\n', text))};
  stream.imbue(std::locale::classic());
  float share = 0.0F;
  stream >> share;
  return stream && std::isfinite(share) ? share : 0.0F;
}

}  // namespace quorlin
