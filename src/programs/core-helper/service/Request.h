/// A call of one of the helper's methods, read from its message and checked for shape and key.
#pragma once

#include "platform/values/Result.h"
#include "programs/core-helper/metrics/MetricsRequest.h"

#include <string>

#include <systemd/sd-bus.h>

namespace quorlin {

enum class Method {
  ConnectWithEndpoint,
  GetVersion,
  GetCoreMetrics,
  UninstallHelper,
  LimitCharge,
  GetChargeHold
};

/// The polkit action that allows the call.
const char* actionOf(Method method);

struct Request {
  Method method;
  /// Of GetCoreMetrics.
  MetricsRequest metrics;
  /// Of LimitCharge: false holds, true lets the battery charge again.
  bool mode = false;
};

/// The error that answers a call.
struct Refusal {
  /// A D-Bus error name.
  const char* name;
  std::string text;
};

/// Strings and arrays past their bounds are refused before they are copied.
Result<Request, Refusal> readRequest(Method method, sd_bus_message* message);

}  // namespace quorlin
