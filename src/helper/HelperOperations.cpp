/// The helper's operations. Each hands the helper's own answer, unread, to its completion.
#include "core/AppDelegate.h"

namespace quorlin {
namespace {

HelperToolConnection::StringReply replyTo(const AppDelegate::Completion& completion) {
  return [completion](std::string reply) { completion(std::move(reply)); };
}

HelperToolConnection::ErrorHandler failureTo(const AppDelegate::Completion& completion) {
  return [completion] { completion(std::nullopt); };
}

}  // namespace

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
