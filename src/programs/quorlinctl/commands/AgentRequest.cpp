#include "programs/quorlinctl/commands/AgentRequest.h"

#include "commands/PercentEncoding.h"
#include "commands/RequestKey.h"
#include "commands/UrlScheme.h"
#include "platform/linux/system/System.h"
#include "platform/posix/TextFile.h"
#include "programs/quorlinctl/services/Agent.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <fmt/format.h>

namespace quorlin {

std::string commandUrl(const std::optional<std::string>& key, std::string_view command,
                       std::string_view argument) {
  // A computer without a name has no key, and its agent expects none.
  return fmt::format("{}://{}/{}/{}", kUrlScheme, key.value_or(""), command, percentEncoded(argument));
}

Result<int, UsageError> sendRequest(const AgentRequest& request, const ParsedArguments& arguments) {
  const bool hasOptions = !arguments.flags.empty();
  if (arguments.flags.size() > 1) return UsageError{"The options exclude each other"};
  if (hasOptions && arguments.operands.empty()) return request.followOption(arguments);
  const auto argument = request.read(arguments.operands);
  if (!argument) return argument.error();
  if (const auto objection = request.check == nullptr ? std::nullopt : request.check(*argument)) {
    if (objection->isRefusal) return fail(objection->reason);
    complain(fmt::format("warning: {}", objection->reason));
  }
  openUrl(Bus::openSession(),
          commandUrl(requestKey(LinuxSystem().localizedHostName()), request.word, *argument));
  const ExitCode printed =
      print(fmt::format(fmt::runtime(request.confirmation), displayText(*argument)) + "\n");
  return hasOptions && printed == kExitOk ? request.followOption(arguments) : printed;
}

}  // namespace quorlin
