#include "core-helper/AuthorizationCheck.h"

#include <cstdint>
#include <utility>

namespace quorlin {
namespace {

// https://www.freedesktop.org/software/polkit/docs/latest/eggdbus-interface-org.freedesktop.PolicyKit1.Authority.html
constexpr const char* kName = "org.freedesktop.PolicyKit1";
constexpr const char* kPath = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* kInterface = "org.freedesktop.PolicyKit1.Authority";
constexpr std::uint32_t kAllowUserInteraction = 1;

/// What follows the first boolean, a challenge and details, does not make a no a yes.
bool saysYes(sd_bus_message* reply) {
  int authorized = 0;
  return sd_bus_message_enter_container(reply, 'r', "bba{ss}") > 0 &&
         sd_bus_message_read_basic(reply, 'b', &authorized) > 0 && authorized != 0;
}

/// Unique among the questions that this process has open.
std::string nextCancellationId() {
  static std::uint64_t count = 0;
  return "quorlin-core-helper-" + std::to_string(++count);
}

}  // namespace

AuthorizationCheck::AuthorizationCheck(sd_bus* bus, const std::string& caller, const char* action,
                                       bool interactive, std::chrono::microseconds patience, Answer answer)
    : bus_(bus), cancellationId_(nextCancellationId()), answer_(std::move(answer)) {
  sd_bus_slot* slot = nullptr;
  sd_bus_message* created = nullptr;
  checked(sd_bus_message_new_method_call(bus, &created, kName, kPath, kInterface, "CheckAuthorization"),
          "ask polkit");
  const BusMessage question(created);
  checked(
      sd_bus_message_append(created, "(sa{sv})sa{ss}us", "system-bus-name", 1, "name", "s", caller.c_str(),
                            action, 0, interactive ? kAllowUserInteraction : 0U, cancellationId_.c_str()),
      "ask polkit");
  checked(
      sd_bus_call_async(bus, &slot, created, answered, this, static_cast<std::uint64_t>(patience.count())),
      "ask polkit");
  slot_.reset(slot);
}

AuthorizationCheck::~AuthorizationCheck() {
  if (!slot_) return;
  slot_.reset();
  // Takes a password dialog away that nobody waits for any more.
  sd_bus_message* created = nullptr;
  if (sd_bus_message_new_method_call(bus_, &created, kName, kPath, kInterface, "CancelCheckAuthorization") <
      0) {
    return;
  }
  const BusMessage cancellation(created);
  sd_bus_message_set_auto_start(created, 0);
  if (sd_bus_message_append(created, "s", cancellationId_.c_str()) >= 0) {
    sd_bus_send(bus_, created, nullptr);
  }
}

int AuthorizationCheck::answered(sd_bus_message* reply, void* userdata, sd_bus_error* /*error*/) {
  auto* const check = static_cast<AuthorizationCheck*>(userdata);
  std::optional<std::string> refusal;
  if (const sd_bus_error* error = sd_bus_message_get_error(reply)) {
    refusal = std::string("polkit could not be asked: ") + (error->message == nullptr ? "" : error->message);
  } else {
    check->slot_.reset();
    if (!saysYes(reply)) refusal = "polkit does not allow it";
  }
  // The answer may destroy this check.
  const Answer answer = std::exchange(check->answer_, nullptr);
  answer(std::move(refusal));
  return 0;
}

}  // namespace quorlin
