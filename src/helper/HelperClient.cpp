#include "helper/HelperClient.h"

#include "helper/HelperTool.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace quorlin {
namespace {

/// Stays in release builds: the connection's owner is not safe on two threads.
void assertMainThread(const RunLoop& runLoop) {
  if (runLoop.isMainThread()) return;
  std::fputs("AppDelegate: assertion failed: [NSThread isMainThread]\n", stderr);
  std::abort();
}

}  // namespace

void HelperClient::createAuthorization() {
  authRef_ = jobBlessing_.createAuthorization();
  if (authRef_) authorization_ = authRef_->externalForm();
}

void HelperClient::install(std::function<void(bool installed)> completion) {
  assertMainThread(runLoop_);
  jobBlessing_.bless(
      kHelperLabel, authRef_.get(),
      [this, alive = std::weak_ptr(alive_), completion = std::move(completion)](bool installed) {
        if (alive.expired()) return;
        log_.line(installed ? "installed" : "install failed!");
        completion(installed);
      });
}

void HelperClient::getVersion(const Completion& completion) {
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.getVersion(replyTo(completion), failureTo(completion));
  });
}

void HelperClient::getCoreMetrics(const std::string& key, const Completion& completion) {
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.getCoreMetrics(key, {"--samplers", "cpu_power,gpu_power,ane_power,thermal", "-i", "1000"},
                              replyTo(completion), failureTo(completion));
  });
}

void HelperClient::limitCharge(const std::string& key, bool mode, const Completion& completion) {
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.limitCharge(key, mode, replyTo(completion), failureTo(completion));
  });
}

void HelperClient::uninstall(const std::string& key) {
  connectAndExecuteCommandBlock([&](HelperToolConnection& connection) {
    connection.uninstallHelper(
        key, [](const std::string&) {}, [] {});
  });
}

HelperToolConnection::StringReply HelperClient::replyTo(const Completion& completion) const {
  return [completion, alive = std::weak_ptr(alive_)](std::string reply) {
    if (!alive.expired()) completion(std::move(reply));
  };
}

HelperToolConnection::ErrorHandler HelperClient::failureTo(const Completion& completion) const {
  return [completion, alive = std::weak_ptr(alive_)] {
    if (!alive.expired()) completion(std::nullopt);
  };
}

void HelperClient::connectToHelperTool() {
  assertMainThread(runLoop_);
  if (helperToolConnection_) return;
  helperToolConnection_ = helperService_.makeConnection(kHelperLabel);
  helperToolConnection_->setInvalidationHandler([this] {
    runLoop_.performOnMainThread([this] {
      helperToolConnection_.reset();
      log_.line("connection invalidated");
    });
  });
  helperToolConnection_->resume();
}

void HelperClient::connectAndExecuteCommandBlock(const std::function<void(HelperToolConnection&)>& command) {
  assertMainThread(runLoop_);
  connectToHelperTool();
  command(*helperToolConnection_);
}

}  // namespace quorlin
