#include "platform/linux/helper/HelperService.h"

#include "platform/linux/bus/Bus.h"
#include "platform/linux/helper/HelperProtocol.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/values/Sentence.h"
#include "platform/values/Tick.h"

#include <chrono>
#include <cstdint>
#include <list>
#include <optional>
#include <utility>

namespace quorlin {
namespace {

constexpr const char* kAttempt = "Cannot call the core helper";

/// Less than a tick: a release that is late is made by ending the connection.
constexpr std::chrono::microseconds kPatienceWithRelease = std::chrono::seconds(2);
static_assert(kPatienceWithRelease < kTick);

/// The helper bounds its own time.
constexpr std::chrono::microseconds kEndless = std::chrono::microseconds::max();

/// Nothing if the answer is text, which reply() is then called with. Else why.
std::optional<std::string> refusalIn(sd_bus_message* answer, const HelperToolConnection::StringReply& reply) {
  const char* text = nullptr;
  if (sd_bus_message_is_method_error(answer, nullptr) == 0 && sd_bus_message_read(answer, "s", &text) > 0) {
    reply(text);
    return std::nullopt;
  }
  const sd_bus_error* error = sd_bus_message_get_error(answer);
  return error == nullptr || error->message == nullptr ? "the answer is not text" : error->message;
}

}  // namespace

/// A call of uninstallHelper and its connection.
class Removal {
 public:
  /// Throws BusError.
  Removal(const std::string& serviceName, const std::string& key, RefusalLog& refusals,
          HelperToolConnection::StringReply reply, HelperToolConnection::ErrorHandler failed)
      : refusals_(refusals), reply_(std::move(reply)), failed_(std::move(failed)) {
    const BusObject helper{serviceName.c_str(), helperprotocol::kPath, helperprotocol::kInterface};
    const BusMessage message = methodCall(bus_.get(), helper, helperprotocol::kUninstallHelper);
    checked(sd_bus_message_append(message.get(), "s", key.c_str()), kAttempt);
    // polkit wants a password for it and may ask the user now.
    checked(sd_bus_message_set_allow_interactive_authorization(message.get(), 1), kAttempt);
    sd_bus_slot* slot = nullptr;
    constexpr auto patience = helperprotocol::kPatienceWithPerson + std::chrono::seconds(10);
    checked(sd_bus_call_async(bus_.get(), &slot, message.get(), answered, this,
                              std::chrono::microseconds(patience).count()),
            kAttempt);
    slot_.reset(slot);
  }

  bool isOpen() const { return isOpen_; }

  void await() {
    while (isOpen_) {
      const int processed = sd_bus_process(bus_.get(), nullptr);
      if (processed < 0 || (processed == 0 && sd_bus_wait(bus_.get(), UINT64_MAX) < 0)) return;
    }
  }

 private:
  static int answered(sd_bus_message* answer, void* userdata, sd_bus_error* /*error*/) {
    auto* const removal = static_cast<Removal*>(userdata);
    removal->isOpen_ = false;
    if (const auto refusal = refusalIn(answer, removal->reply_)) {
      removal->refusals_.line(filledIn("core helper: {}: {}", {helperprotocol::kUninstallHelper, *refusal}));
      removal->failed_();
    }
    return 0;
  }

  RefusalLog& refusals_;
  HelperToolConnection::StringReply reply_;
  HelperToolConnection::ErrorHandler failed_;
  bool isOpen_ = true;
  Bus bus_ = Bus::openSystem();
  BusSource source_{bus_};
  BusSlot slot_;
};

namespace {

class BusConnection final : public HelperToolConnection {
 public:
  BusConnection(RunLoop& runLoop, RefusalLog& refusals, std::vector<std::shared_ptr<Removal>>& removals,
                std::string_view serviceName)
      : runLoop_(runLoop), refusals_(refusals), removals_(removals), serviceName_(serviceName) {}

  ~BusConnection() override {
    invalidated_ = nullptr;
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
    const auto call = open(helperprotocol::kUninstallHelper, std::move(reply), std::move(failed));
    // The call is open for as long as the connection lives, the removal until its own end.
    const auto ifOpen = [call, alive = std::weak_ptr(alive_)](const auto& act) {
      if (!alive.expired()) act(call->connection.finish(call));
    };
    try {
      std::erase_if(removals_, [](const auto& removal) { return !removal->isOpen(); });
      removals_.push_back(std::make_shared<Removal>(
          serviceName_, key, refusals_,
          [ifOpen](const std::string& text) { ifOpen([&](const Call& open) { open.reply(text); }); },
          [ifOpen] { ifOpen([](const Call& open) { open.failed(); }); }));
    } catch (const BusError&) {
      failLater(call);
    }
  }

  void limitCharge(const std::string& key, bool mode, StringReply reply, ErrorHandler failed) override {
    const auto append = [&](sd_bus_message* message) {
      checked(sd_bus_message_append(message, "sb", key.c_str(), static_cast<int>(mode)), kAttempt);
    };
    const ErrorHandler refused = [this, mode, failed = std::move(failed)] {
      failed();
      // The agent takes a release for done, so the end of the connection, which holds the charge, makes it
      // so.
      if (mode) invalidate();
    };
    send(helperprotocol::kLimitCharge, append, std::move(reply), refused,
         mode ? kPatienceWithRelease : kEndless);
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

  std::list<Call>::iterator open(const char* member, StringReply reply, ErrorHandler failed) {
    const auto call =
        calls_.insert(calls_.end(), Call{*this, member, std::move(reply), std::move(failed), nullptr, {}});
    call->self = call;
    return call;
  }

  template <typename Append>
  void send(const char* member, const Append& append, StringReply reply, ErrorHandler failed,
            std::chrono::microseconds patience = kEndless) {
    const auto call = open(member, std::move(reply), std::move(failed));
    try {
      if (!bus_) throw BusError("there is no system bus");
      const BusObject helper{serviceName_.c_str(), helperprotocol::kPath, helperprotocol::kInterface};
      const BusMessage message = methodCall(bus_->get(), helper, member);
      append(message.get());
      sd_bus_slot* slot = nullptr;
      const std::uint64_t microseconds =
          patience == kEndless ? UINT64_MAX : static_cast<std::uint64_t>(patience.count());
      checked(sd_bus_call_async(bus_->get(), &slot, message.get(), answered, &*call, microseconds), kAttempt);
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
    const std::optional<std::string> refusal = refusalIn(answer, call.reply);
    if (!refusal) {
      connection.endIfHelperLeft();
      return 0;
    }
    connection.refusals_.line(filledIn("core helper: {}: {}", {call.member, *refusal}));
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
  std::vector<std::shared_ptr<Removal>>& removals_;
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

BusHelperService::BusHelperService(RunLoop& runLoop, Log& log) : runLoop_(runLoop), refusals_(log) {}

BusHelperService::~BusHelperService() = default;

std::unique_ptr<HelperToolConnection> BusHelperService::makeConnection(std::string_view serviceName) {
  return std::make_unique<BusConnection>(runLoop_, refusals_, removals_, serviceName);
}

void BusHelperService::awaitRemovals() {
  for (const auto& removal : removals_) removal->await();
}

}  // namespace quorlin
