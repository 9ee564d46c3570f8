/// A system for the behaviour's tests: everything the agent asks for is set by the test, everything it does
/// is written down.
#pragma once

#include "core/AppDelegate.h"
#include "fakes/FakeHelper.h"

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
  std::function<void()> onSetBoolean = [] {};
  void setBoolean(std::string_view key, bool value) override {
    booleans[std::string(key)] = value;
    onSetBoolean();
  }
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

  std::map<std::int32_t, bool> obeys;  // by process id
  std::vector<std::string> requests;
  std::optional<bool> terminateApplication(std::int32_t processId) override {
    return request("terminate", processId);
  }
  std::optional<bool> forceTerminateApplication(std::int32_t processId) override {
    return request("force", processId);
  }

  std::string urlHandler;  // scheme and application
  void setDefaultHandlerForUrlScheme(std::string_view scheme, std::string_view bundleIdentifier) override {
    urlHandler = std::string(scheme) + " " + std::string(bundleIdentifier);
  }

 private:
  std::optional<bool> request(const std::string& what, std::int32_t processId) {
    requests.push_back(what + " " + std::to_string(processId));
    const auto found = obeys.find(processId);
    return found == obeys.end() ? std::nullopt : std::optional(found->second);
  }
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

  std::vector<std::vector<std::string>> launched;
  bool launch(const std::string& launchPath, const std::vector<std::string>& arguments) override {
    launched.push_back({launchPath});
    launched.back().insert(launched.back().end(), arguments.begin(), arguments.end());
    return false;
  }
};

/// What is queued waits until the test runs it.
class FakeDispatchQueue final : public DispatchQueue {
 public:
  std::vector<std::function<void()>> queue;
  void async(std::function<void()> action) override { queue.push_back(std::move(action)); }
};

class FakeWorkflowEngine final : public WorkflowEngine {
 public:
  std::vector<std::string> run;
  void runWorkflow(const std::string& path) override { run.push_back(path); }
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
  FakeDispatchQueue dispatchQueue;
  FakeWorkflowEngine workflows;
  FakePowerSources power;
  FakeHelperService helper;
  FakeJobBlessing blessing;
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
            .dispatchQueue = dispatchQueue,
            .workflowEngine = workflows,
            .powerSources = power,
            .helperService = helper,
            .jobBlessing = blessing,
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
