#include "platform/linux/desktop/Application.h"

#include "platform/values/Sentence.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace quorlin {
namespace {

constexpr const char* kInterface = "org.freedesktop.Application";
constexpr const char* kHandingOver = "Cannot hand over to the running instance";

/// How long another instance may take to answer, and how often one may leave instead.
constexpr std::chrono::microseconds kPatience = std::chrono::seconds(5);
constexpr int kAttempts = 5;

/// The tokens with which a desktop lets a program come to the foreground (Startup Notification, XDG
/// Activation).
void appendPlatformData(sd_bus_message* message) {
  const auto token = [](const char* variable) {
    const char* text = std::getenv(variable);
    return text == nullptr ? "" : text;
  };
  checked(sd_bus_message_append(message, "a{sv}", 2, "desktop-startup-id", "s", token("DESKTOP_STARTUP_ID"),
                                "activation-token", "s", token("XDG_ACTIVATION_TOKEN")),
          kHandingOver);
}

std::vector<std::string> readStrings(sd_bus_message* message) {
  std::vector<std::string> strings;
  checked(sd_bus_message_enter_container(message, 'a', "s"), "Cannot read URLs");
  const char* text = nullptr;
  while (checked(sd_bus_message_read_basic(message, 's', &text), "Cannot read URLs") > 0)
    strings.emplace_back(text);
  checked(sd_bus_message_exit_container(message), "Cannot read URLs");
  return strings;
}

}  // namespace

/// The methods of org.freedesktop.Application. Each answers before it acts, since an action may take long.
struct BusApplication::Methods {
  static int activate(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    sd_bus_reply_method_return(message, nullptr);
    static_cast<BusApplication*>(self)->activated();
    return 1;
  }

  static int open(sd_bus_message* message, void* self, sd_bus_error* error) {
    try {
      const std::vector<std::string> urls = readStrings(message);
      sd_bus_reply_method_return(message, nullptr);
      static_cast<BusApplication*>(self)->opened(urls);
      return 1;
    } catch (const BusError& failure) {
      return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, failure.what());
    }
  }

  static int activateAction(sd_bus_message* /*message*/, void* /*self*/, sd_bus_error* error) {
    return sd_bus_error_set(error, SD_BUS_ERROR_NOT_SUPPORTED, "this program has no actions");
  }

  static const sd_bus_vtable* table() {
    static const std::array<sd_bus_vtable, 5> table = {
        {SD_BUS_VTABLE_START(0),
         SD_BUS_METHOD("Activate", "a{sv}", nullptr, activate, SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_METHOD("Open", "asa{sv}", nullptr, open, SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_METHOD("ActivateAction", "sava{sv}", nullptr, activateAction, SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_VTABLE_END}};
    return table.data();
  }
};

BusApplication::BusApplication(const Bus& bus, BusSource& busSource, LinuxRunLoop& runLoop, Log& log,
                               std::string id, std::vector<std::string> arguments)
    : bus_(bus),
      busSource_(busSource),
      runLoop_(runLoop),
      log_(log),
      id_(std::move(id)),
      path_("/" + id_),
      arguments_(std::move(arguments)) {
  std::ranges::replace(path_, '.', '/');
}

BusApplication::~BusApplication() = default;

bool BusApplication::becomeOnlyInstance() {
  // The object comes first: messages for the name may arrive as soon as it is owned.
  sd_bus_slot* slot = nullptr;
  checked(sd_bus_add_object_vtable(bus_.get(), &slot, path_.c_str(), kInterface, Methods::table(), this),
          "Cannot offer the application on the session bus");
  object_.reset(slot);
  // The other instance may leave before it answers; then the name is free.
  for (int attempts = 0; attempts < kAttempts; ++attempts) {
    const int requested = sd_bus_request_name(bus_.get(), id_.c_str(), 0);
    if (requested != -EEXIST) {
      checked(requested, "Cannot take the application's name on the session bus");
      return true;
    }
    if (handOver()) break;
  }
  object_.reset();
  return false;
}

bool BusApplication::handOver() const {
  const std::vector<std::string> toOpen = urls();
  const bool silent = std::ranges::count(arguments_, kSilentArgument) > 0;
  // A second silent start asks for nothing, but whether the other instance answers.
  const bool isQuestion = silent && toOpen.empty();
  const BusMessage handOver = methodCall(
      bus_.get(), {id_.c_str(), path_.c_str(), isQuestion ? "org.freedesktop.DBus.Peer" : kInterface},
      isQuestion ? "Ping" : (toOpen.empty() ? "Activate" : "Open"));
  if (!toOpen.empty()) appendStrings(handOver.get(), toOpen, kHandingOver);
  if (!isQuestion) appendPlatformData(handOver.get());
  sd_bus_message_set_auto_start(handOver.get(), 0);
  const auto before = std::chrono::steady_clock::now();
  const auto answer = call(bus_.get(), handOver, kPatience);
  if (answer) return true;
  // The bus reports at once that it has left; only the time reveals an instance that hangs.
  const bool hasLeft = std::chrono::steady_clock::now() - before < kPatience &&
                       answer.error().isOneOf({SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_SERVICE_UNKNOWN,
                                               SD_BUS_ERROR_NAME_HAS_NO_OWNER});
  if (!hasLeft) throw BusError(filledIn("The running agent does not answer: {}", {answer.error().message}));
  return false;
}

std::vector<std::string> BusApplication::urls() const {
  std::vector<std::string> urls = arguments_;
  std::erase_if(urls, [](const auto& argument) { return argument.find("://") == std::string::npos; });
  return urls;
}

void BusApplication::run(ApplicationDelegate& delegate) {
  delegate_ = &delegate;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    signals_.push_back(LinuxRunLoop::watchSignal(signal, [this] { askToTerminate(); }));
  }
  const auto busWentAway = [this] {
    log_.line("Lost the connection to the session bus");
    askToTerminate();
  };
  busSource_.setDisconnectedHandler(busWentAway);
  try {
    delegate.applicationWillFinishLaunching();
    delegate.applicationDidFinishLaunching();
    opened(urls());
    // The call for which the bus has started this program waits, also when launching has asked to end.
    while (sd_bus_process(bus_.get(), nullptr) > 0) {
    }
  } catch (const BusError&) {
    if (sd_bus_is_open(bus_.get()) > 0) throw;
    busSource_.setDisconnectedHandler(nullptr);
    busWentAway();
  }
  runLoop_.run();
  busSource_.setDisconnectedHandler(nullptr);
  signals_.clear();
  delegate_ = nullptr;
  // What is left to do may take a while; a new instance need not wait for it.
  sd_bus_release_name(bus_.get(), id_.c_str());
}

void BusApplication::terminate() {
  if (runLoop_.isMainThread()) {
    askToTerminate();
  } else {
    runLoop_.performOnMainThread([this] { askToTerminate(); });
  }
}

void BusApplication::askToTerminate() {
  if (delegate_ != nullptr && delegate_->applicationShouldTerminate() == TerminateReply::Now) runLoop_.stop();
}

void BusApplication::activated() {
  if (delegate_ == nullptr) return;
  // A person's request, whether or not the desktop sends data with it.
  delegate_->applicationShouldHandleReopen({.id = "rapp", .description = "aevt\\rapp{ prdt }"}, false);
}

void BusApplication::opened(const std::vector<std::string>& urls) {
  if (!urlHandler_) return;
  for (const std::string& url : urls) urlHandler_(url);
}

}  // namespace quorlin
