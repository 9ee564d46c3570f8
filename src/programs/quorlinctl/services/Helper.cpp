#include "programs/quorlinctl/services/Helper.h"

#include "helper/HelperTool.h"
#include "platform/linux/helper/HelperProtocol.h"

#include <chrono>

namespace quorlin {
namespace {

constexpr std::chrono::seconds kPatience(30);
constexpr std::chrono::minutes kPatienceWithPeople(10);

constexpr BusObject kHelper{kHelperLabel.data(), helperprotocol::kPath, helperprotocol::kInterface};

HelperRefusal::Kind kindOf(const CallError& error) {
  using enum HelperRefusal::Kind;
  if (error.isOneOf({SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER})) return NotInstalled;
  if (error.isOneOf({SD_BUS_ERROR_ACCESS_DENIED, SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED,
                     SD_BUS_ERROR_AUTH_FAILED})) {
    return NotAllowed;
  }
  return Failed;
}

Result<std::string, HelperRefusal> ask(const Bus& bus, const BusMessage& question,
                                       std::chrono::microseconds patience) {
  const auto answer = call(bus.get(), question, patience);
  if (!answer) return HelperRefusal{kindOf(answer.error()), answer.error().message};
  const char* const text = stringIn(*answer);
  if (text == nullptr) return HelperRefusal{HelperRefusal::Kind::Failed, "the answer is not text"};
  return std::string(text);
}

}  // namespace

Result<std::string, HelperRefusal> askHelperVersion(const Bus& systemBus) {
  return ask(systemBus, methodCall(systemBus.get(), kHelper, helperprotocol::kGetVersion), kPatience);
}

Result<std::string, HelperRefusal> askHelperToUninstall(const Bus& systemBus, const std::string& key) {
  constexpr const char* attempt = "Cannot write a message to the core helper";
  const BusMessage question = methodCall(systemBus.get(), kHelper, helperprotocol::kUninstallHelper);
  checked(sd_bus_message_append_basic(question.get(), 's', key.c_str()), attempt);
  checked(sd_bus_message_set_allow_interactive_authorization(question.get(), 1), attempt);
  return ask(systemBus, question, kPatienceWithPeople);
}

}  // namespace quorlin
