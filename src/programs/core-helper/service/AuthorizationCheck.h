/// One question to polkit: may this caller do that?
#pragma once

#include "platform/linux/bus/Bus.h"
#include "platform/values/Result.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace quorlin {

/// Destroyed before its answer, it withdraws the question.
class AuthorizationCheck {
 public:
  /// Nothing when polkit allows the call. Every other answer refuses it: polkit absent, too slow or confused,
  /// or the caller gone.
  using Answer = std::function<void(std::optional<Trouble> refusal)>;

  /// The caller is a unique name on the bus: a process id could belong to another by the time of the answer.
  /// Interactive lets polkit ask a person for a password. The answer comes from the bus's event loop, once.
  /// Throws BusError. The bus outlives the check.
  AuthorizationCheck(sd_bus* bus, const std::string& caller, const char* action, bool interactive,
                     std::chrono::microseconds patience, Answer answer);
  ~AuthorizationCheck();

 private:
  static int answered(sd_bus_message* reply, void* userdata, sd_bus_error* error);

  sd_bus* bus_;
  std::string cancellationId_;
  Answer answer_;
  BusSlot slot_;
};

}  // namespace quorlin
