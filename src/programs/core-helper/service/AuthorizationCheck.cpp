#include "programs/core-helper/service/AuthorizationCheck.h"

#include <cstdint>
#include <utility>

namespace quorlin {
namespace {

// https://www.freedesktop.org/software/polkit/docs/latest/eggdbus-interface-org.freedesktop.PolicyKit1.Authority.html
constexpr BusObject kPolkit{"org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                            "org.freedesktop.PolicyKit1.Authority"};
constexpr std::uint32_t kAllowUserInteraction = 1;

/// Only the first boolean decides; the challenge and the details are ignored.
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
  const BusMessage question = methodCall(bus, kPolkit, "CheckAuthorization");
  checked(sd_bus_message_append(question.get(), "(sa{sv})sa{ss}us", "system-bus-name", 1, "name", "s",
                                caller.c_str(), action, 0, interactive ? kAllowUserInteraction : 0U,
                                cancellationId_.c_str()),
          "Cannot ask polkit");
  checked(sd_bus_call_async(bus, &slot, question.get(), answered, this,
                            static_cast<std::uint64_t>(patience.count())),
          "Cannot ask polkit");
  slot_.reset(slot);
}

AuthorizationCheck::~AuthorizationCheck() {
  if (!slot_) return;
  slot_.reset();
  // Closes a password dialog whose answer is no longer needed.
  try {
    const BusMessage cancellation = methodCall(bus_, kPolkit, "CancelCheckAuthorization");
    sd_bus_message_set_auto_start(cancellation.get(), 0);
    checked(sd_bus_message_append(cancellation.get(), "s", cancellationId_.c_str()), "Cannot ask polkit");
    sd_bus_send(bus_, cancellation.get(), nullptr);
  } catch (const BusError&) {
    // polkit drops the question by itself when this connection ends.
  }
}

int AuthorizationCheck::answered(sd_bus_message* reply, void* userdata, sd_bus_error* /*error*/) {
  auto* const check = static_cast<AuthorizationCheck*>(userdata);
  std::optional<Trouble> refusal;
  if (const sd_bus_error* error = sd_bus_message_get_error(reply)) {
    refusal = {.what = "polkit cannot answer", .why = error->message == nullptr ? "" : error->message};
  } else {
    check->slot_.reset();
    if (!saysYes(reply)) refusal = {.what = "polkit does not allow this call"};
  }
  // The answer may destroy this check.
  const Answer answer = std::exchange(check->answer_, nullptr);
  answer(std::move(refusal));
  return 0;
}

}  // namespace quorlin
