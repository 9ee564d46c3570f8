#include "programs/core-helper/service/Request.h"

#include "commands/RequestKey.h"
#include "platform/linux/system/System.h"

#include <array>
#include <cstring>
#include <optional>
#include <vector>

namespace quorlin {
namespace {

constexpr std::size_t kLongestKey = 64;
constexpr std::size_t kLongestParameter = 256;
constexpr std::size_t kMostParameters = 16;

Refusal malformed(std::string text) { return {SD_BUS_ERROR_INVALID_ARGS, std::move(text)}; }

bool hasKey(Method method) {
  return method == Method::GetCoreMetrics || method == Method::UninstallHelper ||
         method == Method::LimitCharge;
}

/// Nothing when the key is right.
std::optional<Refusal> checkKey(sd_bus_message* message) {
  const char* key = nullptr;
  if (sd_bus_message_read_basic(message, 's', &key) <= 0) {
    return malformed("the key is not a string, or the call is too long");
  }
  if (strnlen(key, kLongestKey + 1) > kLongestKey) return malformed("the key is too long");
  // The name may change while the helper runs.
  if (key != requestKey(LinuxSystem().localizedHostName()).value_or(""))
    return Refusal{SD_BUS_ERROR_ACCESS_DENIED, "the key is not this computer's"};
  return std::nullopt;
}

Result<MetricsRequest, Refusal> readMetricsRequest(sd_bus_message* message) {
  if (sd_bus_message_enter_container(message, 'a', "s") <= 0)
    return malformed("the parameters are not an array");
  std::vector<std::string> parameters;
  const char* parameter = nullptr;
  int result = 0;
  while ((result = sd_bus_message_read_basic(message, 's', &parameter)) > 0) {
    if (parameters.size() == kMostParameters) return malformed("there are too many parameters");
    if (strnlen(parameter, kLongestParameter + 1) > kLongestParameter) {
      return malformed("a parameter is too long");
    }
    parameters.emplace_back(parameter);
  }
  if (result < 0) return malformed("the parameters are not strings");
  const Result<MetricsRequest> request = parseMetricsParameters(parameters);
  if (!request) return malformed(request.error().text());
  return *request;
}

}  // namespace

const char* actionOf(Method method) {
  // In the order of the methods.
  constexpr std::array actions = {
      "com.brellwick.quorlin-core-helper.connect-with-endpoint",
      "com.brellwick.quorlin-core-helper.get-version",
      "com.brellwick.quorlin-core-helper.get-core-metrics",
      "com.brellwick.quorlin-core-helper.uninstall-helper",
      "com.brellwick.quorlin-core-helper.limit-charge",
      "com.brellwick.quorlin-core-helper.get-charge-hold",
  };
  return actions[static_cast<std::size_t>(method)];
}

Result<Request, Refusal> readRequest(Method method, sd_bus_message* message) {
  Request request{.method = method, .metrics = {}, .mode = false};
  if (hasKey(method)) {
    if (auto refusal = checkKey(message)) return *refusal;
  }
  if (method == Method::GetCoreMetrics) {
    const Result<MetricsRequest, Refusal> metrics = readMetricsRequest(message);
    if (!metrics) return metrics.error();
    request.metrics = *metrics;
  }
  if (method == Method::LimitCharge) {
    int mode = 0;
    if (sd_bus_message_read_basic(message, 'b', &mode) <= 0) return malformed("the mode is not a boolean");
    request.mode = mode != 0;
  }
  return request;
}

}  // namespace quorlin
