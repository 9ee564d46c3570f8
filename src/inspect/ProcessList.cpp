#include "inspect/ProcessList.h"

#include "core/AppDelegate.h"
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
  const std::string_view text(reinterpret_cast<const char*>(output.data()), output.size());
  if (!isUtf8(text)) return unreadable;
  const std::size_t headerEnd = text.find('\n');
  if (headerEnd == std::string_view::npos) return unreadable;

  const std::string_view line = text.substr(headerEnd + 1, text.find('\n', headerEnd + 1) - headerEnd - 1);
  // Not from_chars(), which libc++ 16 lacks for floating-point numbers; the stream's locale is the classic
  // one.
  std::istringstream stream{std::string(line)};
  stream.imbue(std::locale::classic());
  float share = 0.0F;
  stream >> share;
  return stream && std::isfinite(share) ? share : 0.0F;
}

}  // namespace quorlin
