/// Any text as a URL: what comes out is a command that could have been meant, or nothing.
#include "Require.h"
#include "commands/PercentEncoding.h"
#include "commands/UrlCommand.h"
#include "platform/values/Utf8.h"

#include <cstdint>

namespace {

using namespace quorlin;

constexpr const char* kKey = "0123abcd";

void requireArguments(std::string_view argument) {
  require(argument.find('/') == std::string_view::npos);
  if (const auto processId = processIdArgument(argument)) require(*processId > 0);
  require(numberArgument(argument).has_value() != argument.empty());
  const auto text = textArgument(argument);
  if (!text) return;
  require(!text->empty() && text->find('\0') == std::string::npos && isUtf8(*text));
  require(percentDecoded(percentEncoded(*text)) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto raw = urlCommand(text, kKey);
  require(!raw || text.find(std::string("/") + kKey + "/") != std::string::npos);
  // The same behind a key, so that most inputs get past it.
  const std::string url = std::string("s://") + kKey + "/" + text;
  if (const auto command = urlCommand(url, kKey)) requireArguments(command->argument);
  require(!urlCommand("s://0123abce/" + text, kKey));
  return 0;
}
