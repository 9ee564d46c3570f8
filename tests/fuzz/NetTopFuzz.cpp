/// Any bytes as nettop's output: lines without white space around them, records of three numbers.
#include "Require.h"
#include "inspect/NetTop.h"
#include "platform/values/Utf8.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quorlin;
  const std::vector<std::string> lines = formatLines(Data(data, data + size));
  std::size_t total = 0;
  for (const std::string& line : lines) {
    total += line.size();
    require(isUtf8(line) && line.find('\n') == std::string::npos);
    // Trimming twice changes nothing more.
    require(formatLines(Data(line.begin(), line.end())) == std::vector{line});
    const std::optional<Dictionary> record = parseNetTop(line);
    require(!line.starts_with("time ") || !record);
    if (!record) continue;
    require(record->size() == 3 && *find(*record, "pid")->integer() >= 0);
    require(find(*record, "bytesIn")->integer() != nullptr &&
            find(*record, "bytesOut")->integer() != nullptr);
  }
  require(total <= size);
  return 0;
}
