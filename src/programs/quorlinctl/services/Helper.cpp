#include "programs/quorlinctl/services/Helper.h"

#include "helper/HelperTool.h"
#include "platform/linux/helper/HelperProtocol.h"
#include "platform/posix/TextFile.h"

#include <chrono>

namespace quorlin {
namespace {

constexpr std::chrono::seconds kPatience(30);
constexpr std::chrono::minutes kPatienceWithPeople(10);

constexpr const char* kAttempt = "Cannot write a message to the core helper";

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

bool isHelperInstalled() {
  try {
    return isAvailable(Bus::openSystem(), kHelperLabel);
  } catch (const BusError&) {
    return false;
  }
}

Result<HelperHold, HelperRefusal> askHowHeld(const Bus& systemBus) {
  constexpr BusObject object{kHelperLabel.data(), helperprotocol::kPath, helperprotocol::kHoldInterface};
  const BusMessage question = methodCall(systemBus.get(), object, helperprotocol::kGetChargeHold);
  checked(sd_bus_message_set_auto_start(question.get(), 0), kAttempt);
  const auto answer = call(systemBus.get(), question, kPatience);
  if (!answer) {
    const HelperRefusal::Kind kind = kindOf(answer.error());
    if (kind == HelperRefusal::Kind::NotInstalled && isAvailable(systemBus, kHelperLabel))
      return HelperHold();
    return HelperRefusal{kind, answer.error().message};
  }
  sd_bus_message* const message = answer->get();
  const HelperRefusal malformed{HelperRefusal::Kind::Failed, "the answer is malformed"};
  HelperHold hold;
  const char* holder = nullptr;
  if (sd_bus_message_read(message, "su", &holder, &hold.user) <= 0) return malformed;
  hold.holder = holder;
  if (sd_bus_message_enter_container(message, 'a', "(sbss)") < 0) return malformed;
  const char* name = nullptr;
  const char* attribute = nullptr;
  const char* text = nullptr;
  int isHeld = 0;
  while (sd_bus_message_read(message, "(sbss)", &name, &isHeld, &attribute, &text) > 0) {
    hold.batteries.push_back({displayText(name), isHeld != 0, displayText(attribute), displayText(text)});
  }
  return hold;
}

Result<std::string, HelperRefusal> askHelperVersion(const Bus& systemBus) {
  return ask(systemBus, methodCall(systemBus.get(), kHelper, helperprotocol::kGetVersion), kPatience);
}

Result<std::string, HelperRefusal> askHelperToUninstall(const Bus& systemBus, const std::string& key) {
  const BusMessage question = methodCall(systemBus.get(), kHelper, helperprotocol::kUninstallHelper);
  checked(sd_bus_message_append_basic(question.get(), 's', key.c_str()), kAttempt);
  checked(sd_bus_message_set_allow_interactive_authorization(question.get(), 1), kAttempt);
  return ask(systemBus, question, kPatienceWithPeople);
}

}  // namespace quorlin
