#include "platform/linux/helper/HelperService.h"

#include "platform/linux/bus/Bus.h"
#include "platform/linux/helper/HelperProtocol.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/values/Sentence.h"

#include <cstdint>
#include <list>
#include <optional>
#include <utility>

namespace quorlin {
namespace {

constexpr const char* kAttempt = "Cannot call the core helper";

class BusConnection final : public HelperToolConnection {
 public:
  BusConnection(RunLoop& runLoop, RefusalLog& refusals, std::string_view serviceName)
      : runLoop_(runLoop), refusals_(refusals), serviceName_(serviceName) {}

  ~BusConnection() override {
    for (const Call& call : std::exchange(calls_, {})) call.failed();
  }

  void setInvalidationHandler(std::function<void()> handler) override { invalidated_ = std::move(handler); }

  void resume() override {
    try {
      bus_.emplace(Bus::openSystem());
      source_.emplace(*bus_, [this] { invalidate(); });
      helperLeaves_ = bus_->matchSoon(
          "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
          "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2='',arg0='" +
              serviceName_ + "'",
          [this](sd_bus_message*) {
            // It may give up its name before it has answered all calls; the bus answers the others.
            hasHelperLeft_ = true;
            endIfHelperLeft();
          });
    } catch (const BusError& error) {
      refusals_.line(error.what());
      source_.reset();
      bus_.reset();
    }
  }

  void connectWithEndpoint(StringReply reply, ErrorHandler failed) override {
    send(helperprotocol::kConnectWithEndpoint, nothing, std::move(reply), std::move(failed));
  }

  void getVersion(StringReply reply, ErrorHandler failed) override {
    send(helperprotocol::kGetVersion, nothing, std::move(reply), std::move(failed));
  }

  void getCoreMetrics(const std::string& key, const std::vector<std::string>& params, StringReply reply,
                      ErrorHandler failed) override {
    const auto append = [&](sd_bus_message* message) {
      checked(sd_bus_message_append(message, "s", key.c_str()), kAttempt);
      appendStrings(message, params, kAttempt);
    };
    send(helperprotocol::kGetCoreMetrics, append, std::move(reply), std::move(failed));
  }

  void uninstallHelper(const std::string& key, StringReply reply, ErrorHandler failed) override {
    const auto append = [&](sd_bus_message* message) {
      checked(sd_bus_message_append(message, "s", key.c_str()), kAttempt);
      // polkit wants a password for it and may ask the user now.
      checked(sd_bus_message_set_allow_interactive_authorization(message, 1), kAttempt);
    };
    send(helperprotocol::kUninstallHelper, append, std::move(reply), std::move(failed));
  }

  void limitCharge(const std::string& key, bool mode, StringReply reply, ErrorHandler failed) override {
    const auto append = [&](sd_bus_message* message) {
      checked(sd_bus_message_append(message, "sb", key.c_str(), static_cast<int>(mode)), kAttempt);
    };
    send(helperprotocol::kLimitCharge, append, std::move(reply), std::move(failed));
  }

 private:
  /// A message without its answer. Lives in calls_ until then.
  struct Call {
    BusConnection& connection;
    const char* member;
    StringReply reply;
    ErrorHandler failed;
    BusSlot slot;
    std::list<Call>::iterator self;
  };

  static void nothing(sd_bus_message* /*message*/) {}

  template <typename Append>
  void send(const char* member, const Append& append, StringReply reply, ErrorHandler failed) {
    const auto call =
        calls_.insert(calls_.end(), Call{*this, member, std::move(reply), std::move(failed), nullptr, {}});
    call->self = call;
    try {
      if (!bus_) throw BusError("there is no system bus");
      const BusObject helper{serviceName_.c_str(), helperprotocol::kPath, helperprotocol::kInterface};
      const BusMessage message = methodCall(bus_->get(), helper, member);
      append(message.get());
      sd_bus_slot* slot = nullptr;
      // The helper bounds its own time; a user may take any time for a password.
      checked(sd_bus_call_async(bus_->get(), &slot, message.get(), answered, &*call, UINT64_MAX), kAttempt);
      call->slot.reset(slot);
    } catch (const BusError&) {
      failLater(call);
    }
  }

  /// From the run loop, as every other answer; without effect if the connection has been destroyed by then.
  void failLater(std::list<Call>::iterator call) {
    runLoop_.performOnMainThread([call, alive = std::weak_ptr<int>(alive_)] {
      if (alive.expired()) return;
      BusConnection& connection = call->connection;
      connection.finish(call).failed();
      connection.invalidate();
    });
  }

  static int answered(sd_bus_message* answer, void* userdata, sd_bus_error* /*error*/) {
    auto* const pending = static_cast<Call*>(userdata);
    BusConnection& connection = pending->connection;
    const Call call = connection.finish(pending->self);
    const char* text = nullptr;
    if (sd_bus_message_is_method_error(answer, nullptr) == 0 && sd_bus_message_read(answer, "s", &text) > 0) {
      call.reply(text);
      connection.endIfHelperLeft();
      return 0;
    }
    const sd_bus_error* error = sd_bus_message_get_error(answer);
    const char* reason =
        error == nullptr || error->message == nullptr ? "the answer is not text" : error->message;
    connection.refusals_.line(filledIn("core helper: {}: {}", {call.member, reason}));
    // Else the bus has answered in its place, or libsystemd for a bus that has gone away.
    const char* sender = sd_bus_message_get_sender(answer);
    const bool isFromHelper = sender != nullptr && *sender == ':';
    call.failed();
    if (!isFromHelper) connection.invalidate();
    connection.endIfHelperLeft();
    return 0;
  }

  void endIfHelperLeft() {
    if (hasHelperLeft_ && calls_.empty()) invalidate();
  }

  Call finish(std::list<Call>::iterator call) {
    Call finished = std::move(*call);
    calls_.erase(call);
    return finished;
  }

  void invalidate() {
    if (const auto invalidated = std::exchange(invalidated_, nullptr)) invalidated();
  }

  RunLoop& runLoop_;
  RefusalLog& refusals_;
  std::string serviceName_;
  std::optional<Bus> bus_;
  std::optional<BusSource> source_;
  BusSlot helperLeaves_;
  std::function<void()> invalidated_;
  std::list<Call> calls_;
  bool hasHelperLeft_ = false;
  std::shared_ptr<int> alive_ = std::make_shared<int>();
};

}  // namespace

std::unique_ptr<HelperToolConnection> BusHelperService::makeConnection(std::string_view serviceName) {
  return std::make_unique<BusConnection>(runLoop_, refusals_, serviceName);
}

}  // namespace quorlin
