#include "platform/linux/system/CpuInfo.h"

#include "platform/posix/TextFile.h"

#include <algorithm>

namespace quorlin {

std::string processorField(const std::filesystem::path& procfs, std::string_view key) {
  const std::string text = readText((procfs / "cpuinfo").string()).value_or("");
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string_view line = std::string_view(text).substr(start, end - start);
    const std::size_t colon = line.find(':');
    if (line.starts_with(key) && colon != std::string_view::npos) {
      return std::string(trimmed(line.substr(colon + 1)));
    }
    start = end + 1;
  }
  return {};
}

}  // namespace quorlin
