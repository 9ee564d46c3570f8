/// Any text as a URL: what comes out is an order that could have been meant, or nothing.
#include "Require.h"
#include "commands/PercentEncoding.h"
#include "commands/UrlCommand.h"
#include "platform/Utf8.h"

#include <cstdint>

namespace {

using namespace quorlin;

constexpr const char* kKey = "0123abcd";

void requireText(const std::string& text) {
  require(!text.empty() && text.find('\0') == std::string::npos && isUtf8(text));
  require(percentDecoded(percentEncoded(text)) == text);
}

struct Requirements {
  void operator()(const TerminateApp& order) const { require(order.processId > 0); }
  void operator()(const ForceTerminateApp& order) const { require(order.processId > 0); }
  void operator()(const RunTerminal& order) const { requireText(order.command); }
  void operator()(const RunWorkflow& order) const { requireText(order.path); }
  void operator()(const SetBatteryLimit& /*order*/) const {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto raw = urlCommand(text, kKey);
  require(!raw || text.find(std::string("/") + kKey + "/") != std::string::npos);
  // The same behind a key, so that most inputs get past it.
  const auto command = urlCommand(std::string("s://") + kKey + "/" + text, kKey);
  if (command) std::visit(Requirements{}, *command);
  require(!urlCommand("s://0123abce/" + text, kKey));
  return 0;
}
