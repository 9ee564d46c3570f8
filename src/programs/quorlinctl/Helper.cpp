#include "quorlinctl/Helper.h"

#include "helper/HelperTool.h"
#include "platform/linux/HelperProtocol.h"

#include <chrono>
#include <cstdlib>

namespace quorlin {
namespace {

struct FreeNames {
  void operator()(char** names) const {
    for (char** name = names; *name != nullptr; ++name) std::free(*name);
    std::free(names);
  }
};

constexpr std::chrono::seconds kPatience(30);
constexpr std::chrono::minutes kPatienceWithPeople(10);

BusMessage methodCall(const Bus& bus, const char* member) {
  sd_bus_message* message = nullptr;
  checked(sd_bus_message_new_method_call(bus.get(), &message, kHelperLabel.data(), helperprotocol::kPath,
                                         helperprotocol::kInterface, member),
          "write a message to the core helper");
  return BusMessage(message);
}

HelperAnswer::Kind kindOf(const sd_bus_error& error) {
  using enum HelperAnswer::Kind;
  if (sd_bus_error_has_names(&error, SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0) {
    return NotInstalled;
  }
  if (sd_bus_error_has_names(&error, SD_BUS_ERROR_ACCESS_DENIED,
                             SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED,
                             SD_BUS_ERROR_AUTH_FAILED) != 0) {
    return NotAllowed;
  }
  return Failed;
}

HelperAnswer ask(const Bus& bus, sd_bus_message* call, std::chrono::microseconds patience) {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* answer = nullptr;
  const int result =
      sd_bus_call(bus.get(), call, static_cast<std::uint64_t>(patience.count()), &error, &answer);
  const BusMessage reply(answer);
  if (result < 0) {
    HelperAnswer failure{kindOf(error), error.message == nullptr ? "" : error.message};
    sd_bus_error_free(&error);
    return failure;
  }
  const char* text = nullptr;
  if (sd_bus_message_read_basic(reply.get(), 's', &text) <= 0) {
    return {HelperAnswer::Kind::Failed, "its answer is not a text"};
  }
  return {HelperAnswer::Kind::Answered, text};
}

}  // namespace

bool isAvailable(const Bus& bus, std::string_view service) {
  char** acquired = nullptr;
  char** activatable = nullptr;
  checked(sd_bus_list_names(bus.get(), &acquired, &activatable), "list the names on the system bus");
  const std::unique_ptr<char*, FreeNames> running(acquired);
  const std::unique_ptr<char*, FreeNames> startable(activatable);
  for (char** name : {acquired, activatable}) {
    for (; *name != nullptr; ++name) {
      if (*name == service) return true;
    }
  }
  return false;
}

HelperAnswer askHelperVersion(const Bus& systemBus) {
  const BusMessage call = methodCall(systemBus, helperprotocol::kGetVersion);
  return ask(systemBus, call.get(), kPatience);
}

HelperAnswer askHelperToUninstall(const Bus& systemBus, const std::string& key) {
  constexpr const char* attempt = "write a message to the core helper";
  const BusMessage call = methodCall(systemBus, helperprotocol::kUninstallHelper);
  checked(sd_bus_message_append_basic(call.get(), 's', key.c_str()), attempt);
  checked(sd_bus_message_set_allow_interactive_authorization(call.get(), 1), attempt);
  return ask(systemBus, call.get(), kPatienceWithPeople);
}

}  // namespace quorlin
