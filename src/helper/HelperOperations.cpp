/// The helper's operations. Each hands the helper's own answer, unread, to its completion.
#include "core/AppDelegate.h"

namespace quorlin {

HelperToolConnection::StringReply AppDelegate::replyTo(const Completion& completion) const {
  return [completion, alive = std::weak_ptr(alive_)](std::string reply) {
    if (!alive.expired()) completion(std::move(reply));
  };
}

HelperToolConnection::ErrorHandler AppDelegate::failureTo(const Completion& completion) const {
  return [completion, alive = std::weak_ptr(alive_)] {
    if (!alive.expired()) completion(std::nullopt);
  };
}

void AppDelegate::getHelperVersion(Completion completion) {
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.getVersion(replyTo(completion), failureTo(completion));
  });
}

void AppDelegate::getStatisticsData(Completion completion) {
  key_ = getKey();
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.getCoreMetrics(key_.value_or(""),
                              {"--samplers", "cpu_power,gpu_power,ane_power,thermal", "-i", "1000"},
                              replyTo(completion), failureTo(completion));
  });
}

void AppDelegate::limitCharge(Completion completion, bool mode) {
  key_ = getKey();
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.limitCharge(key_.value_or(""), mode, replyTo(completion), failureTo(completion));
  });
}

void AppDelegate::uninstallHelper() {
  key_ = getKey();
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.uninstallHelper(
        key_.value_or(""), [](const std::string&) {}, [] {});
  });
}

}  // namespace quorlin
