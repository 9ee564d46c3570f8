/// A system for the behaviour's tests: everything the agent asks for is set by the test, everything it does
/// is written down.
#pragma once

#include "core/AppDelegate.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorlin {

struct Posted {
  std::string name;
  std::optional<std::string> object;
  Dictionary userInfo;
  Delivery delivery;
};

class FakeApplication final : public Application {
 public:
  std::vector<std::string> given = {"quorlin-sensors"};
  int terminateRequests = 0;
  bool foreground = false;
  UrlHandler urlHandler;

  const std::vector<std::string>& arguments() const override { return given; }
  std::string bundleIdentifier() const override { return "brellwick.QuorlinSensors"; }
  void terminate() override { ++terminateRequests; }
  void setUrlHandler(UrlHandler handler) override { urlHandler = std::move(handler); }
  void transformToForeground() override { foreground = true; }
  void activateIgnoringOtherApplications() override {}
};

class FakeRunLoop final : public RunLoop {
 public:
  std::chrono::milliseconds interval{0};
  std::function<void()> fireTimer;
  bool onMainThread = true;

  std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds every,
                                       std::function<void()> action) override {
    interval = every;
    fireTimer = std::move(action);
    return std::make_unique<Timer>();
  }
  void performOnMainThread(std::function<void()> action) override { queue_.push_back(std::move(action)); }
  bool isMainThread() const override { return onMainThread; }

  void runQueue() {
    while (!queue_.empty()) {
      const auto action = std::move(queue_.front());
      queue_.pop_front();
      action();
    }
  }

 private:
  std::deque<std::function<void()>> queue_;
};

class FakeUserDefaults final : public UserDefaults {
 public:
  std::map<std::string, std::int64_t, std::less<>> integers;
  std::map<std::string, bool, std::less<>> booleans;
  std::map<std::string, Date, std::less<>> dates;

  std::int64_t integer(std::string_view key) const override {
    const auto found = integers.find(key);
    return found == integers.end() ? 0 : found->second;
  }
  bool boolean(std::string_view key) const override {
    const auto found = booleans.find(key);
    return found != booleans.end() && found->second;
  }
  std::optional<Date> date(std::string_view key) const override {
    const auto found = dates.find(key);
    return found == dates.end() ? std::nullopt : std::optional(found->second);
  }
  void setInteger(std::string_view key, std::int64_t value) override { integers[std::string(key)] = value; }
  void setBoolean(std::string_view key, bool value) override { booleans[std::string(key)] = value; }
  void setDate(std::string_view key, Date value) override { dates[std::string(key)] = value; }
  void remove(std::string_view key) override { integers.erase(std::string(key)); }
  void synchronize() override {}
};

class FakeNotificationCenter final : public NotificationCenter {
 public:
  std::vector<Posted> posted;
  std::map<std::string, Handler, std::less<>> observers;

  void post(std::string_view name, std::optional<std::string_view> object, const Dictionary& userInfo,
            Delivery delivery) override {
    posted.push_back(
        {std::string(name), object ? std::optional<std::string>(*object) : std::nullopt, userInfo, delivery});
  }
  std::unique_ptr<Observation> addObserver(std::string_view name, Handler handler) override {
    observers[std::string(name)] = std::move(handler);
    return std::make_unique<Observation>();
  }

  void receive(const std::string& name) const { observers.at(name)({name, std::nullopt, {}}); }

  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const Posted& notification : posted) names.push_back(notification.name);
    return names;
  }
};

class FakeWorkspace final : public Workspace {
 public:
  std::vector<RunningApplication> running;
  std::vector<RunningApplication> runningApplications() const override { return running; }
};

class FakeProcessManager final : public ProcessManager {
 public:
  std::vector<std::optional<std::string>> processes;
  void enumerateProcesses(const Visitor& visit) override {
    for (const auto& process : processes) visit(process);
  }
};

class FakeSystem final : public System {
 public:
  bool powerWork = true;
  SystemVersion systemVersion{.major = 13, .minor = 0};
  std::optional<std::string> name = "workbench";

  bool processorHasPowerWork() const override { return powerWork; }
  SystemVersion version() const override { return systemVersion; }
  std::optional<std::string> localizedHostName() const override { return name; }
};

class FakeTaskLauncher final : public TaskLauncher {
 public:
  std::optional<Data> output;
  std::vector<std::string> command;
  std::optional<Data> standardOutputOf(const std::string& launchPath,
                                       const std::vector<std::string>& arguments) override {
    command = {launchPath};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return output;
  }
};

class FakePowerSources final : public PowerSources {
 public:
  std::optional<PowerSourceList> sources;
  double estimate = kTimeRemainingUnknown;

  std::optional<PowerSourceList> copyPowerSources() override { return sources; }
  double timeRemainingEstimate() override { return estimate; }

  void setBattery(std::int32_t percent, bool onExternalPower, bool charging) {
    sources = PowerSourceList{PowerSourceDescription{100, percent, charging}};
    estimate = onExternalPower ? kTimeRemainingUnlimited : kTimeRemainingUnknown;
  }
};

/// Messages wait until the test answers them.
class FakeHelperService final : public HelperService {
 public:
  struct Message {
    std::string text;  // the method and its arguments
    HelperToolConnection::StringReply reply;
    HelperToolConnection::ErrorHandler failed;
  };

  int connections = 0;
  std::vector<Message> messages;
  std::function<void()> invalidate;

  std::unique_ptr<HelperToolConnection> makeConnection() override {
    ++connections;
    return std::make_unique<Connection>(*this);
  }

  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const Message& message : messages) texts.push_back(message.text);
    return texts;
  }

  /// Answers everything that waits; without a reply, as a helper that cannot be reached.
  void answerAll(const std::optional<std::string>& reply) {
    for (const Message& message : std::exchange(messages, {})) {
      reply ? message.reply(*reply) : message.failed();
    }
  }

 private:
  class Connection final : public HelperToolConnection {
   public:
    explicit Connection(FakeHelperService& service) : service_(service) {}
    void setInvalidationHandler(std::function<void()> handler) override {
      service_.invalidate = std::move(handler);
    }
    void resume() override {}
    void getVersion(StringReply reply, ErrorHandler failed) override {
      service_.messages.push_back({"version", std::move(reply), std::move(failed)});
    }
    void getCoreMetrics(const std::string& key, const std::vector<std::string>& params, StringReply reply,
                        ErrorHandler failed) override {
      std::string text = "metrics " + key;
      for (const std::string& parameter : params) text += " " + parameter;
      service_.messages.push_back({std::move(text), std::move(reply), std::move(failed)});
    }
    void limitCharge(const std::string& key, bool mode, StringReply reply, ErrorHandler failed) override {
      service_.messages.push_back(
          {"charge " + key + (mode ? " release" : " hold"), std::move(reply), std::move(failed)});
    }

   private:
    FakeHelperService& service_;
  };
};

class FakeClock final : public Clock {
 public:
  Date time{std::chrono::seconds(1'700'000'000)};
  Date now() const override { return time; }
};

class FakeLog final : public Log {
 public:
  std::vector<std::string> lines;
  void line(std::string_view text) override { lines.emplace_back(text); }
};

class FakeUpdater final : public Updater {
 public:
  explicit FakeUpdater(std::vector<std::string>& checks) : checks_(checks) {}
  void checkForUpdatesInBackground() override { checks_.emplace_back("background"); }
  void checkForUpdates() override { checks_.emplace_back("interactive"); }

 private:
  std::vector<std::string>& checks_;
};

/// An engine whose values are their own names; what it is asked is written down in order.
struct FakeEngine {
  std::vector<std::string> calls;
  std::string missing;  // the accessor that has no value
  Array activities = {Array{1.0}, Array{2.0}};

  SensorsEngineFactory factory() {
    return {[this] { return std::make_unique<Engine>(*this); },
            [this] { return std::make_unique<Holder>(*this); }};
  }

 private:
  struct Engine final : QuorlinSensorsEngine {
    explicit Engine(FakeEngine& given) : fake(given) {}
    std::unique_ptr<SensorsReading> getSensorsInfo(StatisticsData& /*fresh*/) override {
      fake.calls.emplace_back("getSensorsInfo");
      return std::make_unique<SensorsReading>();
    }
    FakeEngine& fake;
  };

  struct Holder final : StatisticsData {
    explicit Holder(FakeEngine& given) : fake(given) {}
    std::optional<PropertyList> answer(const char* name) const {
      fake.calls.emplace_back(name);
      return fake.missing == name ? std::nullopt : std::optional<PropertyList>(name);
    }
    void populateStatisticsDataFrom(const SensorsReading& /*reading*/) override {
      fake.calls.emplace_back("populate");
    }
    std::optional<PropertyList> sensors_temperature() const override { return answer("temperature"); }
    std::optional<PropertyList> sensors_temperatureData() const override { return answer("temperatureData"); }
    std::optional<PropertyList> sensors_temperatureMini() const override { return answer("temperatureMini"); }
    std::optional<PropertyList> sensors_temperatureMiniData() const override {
      return answer("temperatureMiniData");
    }
    std::optional<PropertyList> sensors_fans() const override { return answer("fans"); }
    std::optional<PropertyList> sensors_fansData() const override { return answer("fansData"); }
    Array diskIO_activities() const override {
      fake.calls.emplace_back("activities");
      return fake.activities;
    }
    std::optional<PropertyList> diskIO_read() const override { return answer("read"); }
    std::optional<PropertyList> diskIO_write() const override { return answer("write"); }
    FakeEngine& fake;
  };
};

struct FakeWindowState {
  int made = 0;
  bool coreSwitchUnchecked = false;
};

class FakeWindow final : public ConfigurationWindow {
 public:
  explicit FakeWindow(FakeWindowState& state) : state_(state) { ++state_.made; }
  void makeKeyAndOrderFront() override {}
  void uncheckCoreSwitch() override { state_.coreSwitchUnchecked = true; }

 private:
  FakeWindowState& state_;
};

struct FakeMachine {
  FakeApplication application;
  FakeRunLoop runLoop;
  FakeUserDefaults defaults;
  FakeNotificationCenter center;
  FakeWorkspace workspace;
  FakeProcessManager processes;
  FakeSystem system;
  FakeTaskLauncher tasks;
  FakePowerSources power;
  FakeHelperService helper;
  FakeClock clock;
  FakeLog log;
  FakeEngine engine;
  FakeWindowState window;
  bool hasWindow = true;
  std::vector<std::string> updateChecks;
  int updatersMade = 0;
  AppDelegate delegate{services()};

  /// As a user who has both features on and has looked for updates just now.
  FakeMachine() {
    application.given.emplace_back("-silent");
    defaults.integers = {{"autostart", 1}, {"coreAutostart", 1}};
    defaults.dates = {{"lastUpdateCheck", clock.time}};
  }

  /// Launches with a helper that is there, and forgets what launching did.
  void launchAndForget() {
    delegate.applicationDidFinishLaunching();
    helper.answerAll("1.0");
    runLoop.runQueue();
    forget();
  }

  void forget() {
    center.posted.clear();
    engine.calls.clear();
    log.lines.clear();
    helper.messages.clear();
  }

 private:
  Services services() {
    return {.application = application,
            .runLoop = runLoop,
            .userDefaults = defaults,
            .notificationCenter = center,
            .workspace = workspace,
            .processManager = processes,
            .system = system,
            .taskLauncher = tasks,
            .powerSources = power,
            .helperService = helper,
            .clock = clock,
            .log = log,
            .sensorsEngine = engine.factory(),
            .makeUpdater =
                [this] {
                  ++updatersMade;
                  return std::make_unique<FakeUpdater>(updateChecks);
                },
            .makeConfigurationWindow = [this]() -> std::unique_ptr<ConfigurationWindow> {
              if (!hasWindow) return nullptr;
              return std::make_unique<FakeWindow>(window);
            }};
  }
};

}  // namespace quorlin
