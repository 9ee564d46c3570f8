#include "platform/linux/system/CpuInfo.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

namespace quorlin {

std::string processorField(const std::filesystem::path& procfs, std::string_view key) {
  const std::string text = readText((procfs / "cpuinfo").string()).value_or("");
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view line = takeUntil('\n', rest);
    const std::size_t colon = line.find(':');
    if (line.starts_with(key) && colon != std::string_view::npos) {
      return std::string(trimmed(line.substr(colon + 1)));
    }
  }
  return {};
}

}  // namespace quorlin
