#include "platform/linux/AbsentPower.h"

#include <utility>

namespace quorlin {
namespace {

class FailingConnection final : public HelperToolConnection {
 public:
  explicit FailingConnection(RunLoop& runLoop) : runLoop_(runLoop) {}

  void setInvalidationHandler(std::function<void()> handler) override {
    state_->invalidated = std::move(handler);
  }
  void resume() override {}
  void getVersion(StringReply /*reply*/, ErrorHandler failed) override { fail(std::move(failed)); }
  void getCoreMetrics(const std::string& /*key*/, const std::vector<std::string>& /*params*/,
                      StringReply /*reply*/, ErrorHandler failed) override {
    fail(std::move(failed));
  }
  void limitCharge(const std::string& /*key*/, bool /*mode*/, StringReply /*reply*/,
                   ErrorHandler failed) override {
    fail(std::move(failed));
  }

 private:
  struct State {
    std::function<void()> invalidated;
  };

  void fail(ErrorHandler failed) {
    runLoop_.performOnMainThread([state = std::weak_ptr<State>(state_), failed = std::move(failed)] {
      failed();
      const std::shared_ptr<State> alive = state.lock();
      if (!alive) return;
      if (const auto invalidated = std::exchange(alive->invalidated, nullptr)) invalidated();
    });
  }

  RunLoop& runLoop_;
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace

std::unique_ptr<HelperToolConnection> UnreachableHelperService::makeConnection() {
  return std::make_unique<FailingConnection>(runLoop_);
}

}  // namespace quorlin
