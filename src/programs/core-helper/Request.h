/// What a call asks of the helper, read from its message and checked for shape and key.
#pragma once

#include "core-helper/MetricsRequest.h"

#include <string>
#include <variant>

#include <systemd/sd-bus.h>

namespace quorlin {

enum class Method { ConnectWithEndpoint, GetVersion, GetCoreMetrics, UninstallHelper, LimitCharge };

/// polkit's name for the right to call it.
const char* actionOf(Method method);

struct Request {
  Method method;
  /// Of GetCoreMetrics.
  MetricsRequest metrics;
  /// Of LimitCharge: false holds, true lets the battery charge again.
  bool mode = false;
};

/// An answer in place of the one that was asked for.
struct Refusal {
  /// A D-Bus error name.
  const char* name;
  std::string text;
};

/// Strings and arrays past their bounds are refused before they are copied.
std::variant<Request, Refusal> readRequest(Method method, sd_bus_message* message,
                                           const std::string& expectedKey);

}  // namespace quorlin
