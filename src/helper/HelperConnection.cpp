/// The one connection to the root helper, made when it is first needed and again after it was lost.
#include "core/AppDelegate.h"
#include "helper/HelperTool.h"

#include <cstdio>
#include <cstdlib>

namespace quorlin {
namespace {

/// Stays in release builds: the connection's owner is not safe on two threads.
void assertMainThread(const RunLoop& runLoop) {
  if (runLoop.isMainThread()) return;
  std::fputs("AppDelegate: assertion failed: [NSThread isMainThread]\n", stderr);
  std::abort();
}

}  // namespace

void AppDelegate::connectToHelperTool() {
  assertMainThread(services_.runLoop);
  if (helperToolConnection_) return;
  helperToolConnection_ = services_.helperService.makeConnection(kHelperLabel);
  helperToolConnection_->setInvalidationHandler([this] {
    services_.runLoop.performOnMainThread([this] {
      helperToolConnection_.reset();
      services_.log.line("connection invalidated");
    });
  });
  helperToolConnection_->resume();
}

void AppDelegate::connectAndExecuteCommandBlock(const std::function<void(HelperToolConnection&)>& command) {
  assertMainThread(services_.runLoop);
  connectToHelperTool();
  command(*helperToolConnection_);
}

}  // namespace quorlin
