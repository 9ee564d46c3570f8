/// A system for the behaviour's tests: everything the agent asks for is set by the test, everything it does
/// is written down.
#pragma once

#include "core/AppDelegate.h"
#include "fakes/FakeHelper.h"
#include "fakes/FakeLog.h"
#include "fakes/FakeNotificationCenter.h"
#include "fakes/FakePowerSources.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/FakeSensorsEngine.h"
#include "fakes/FakeUserDefaults.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorlin {

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

/// The system may refuse to switch a login item.
class FakeLoginItems final : public LoginItems {
 public:
  bool refuses = false;
  std::vector<std::string> calls;
  bool setEnabled(std::string_view identifier, bool enabled) override {
    calls.push_back(std::string(identifier) + (enabled ? " on" : " off"));
    return !refuses;
  }
};

class FakeClock final : public Clock {
 public:
  Date time{std::chrono::seconds(1'700'000'000)};
  Date now() const override { return time; }
};

class FakeUpdater final : public Updater {
 public:
  explicit FakeUpdater(std::vector<std::string>& checks) : checks_(checks) {}
  void checkForUpdatesInBackground() override { checks_.emplace_back("background"); }
  void checkForUpdates() override { checks_.emplace_back("interactive"); }

 private:
  std::vector<std::string>& checks_;
};

struct FakeWindowState {
  int made = 0;
  bool wasForeground = false;  // when it was made
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
  FakeLoginItems loginItems;
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
            .loginItems = loginItems,
            .clock = clock,
            .log = log,
            .sensorsEngine = engine.factory(),
            .makeUpdater =
                [this] {
                  ++updatersMade;
                  return std::make_unique<FakeUpdater>(updateChecks);
                },
            .makeConfigurationWindow = [this]() -> std::unique_ptr<ConfigurationWindow> {
              window.wasForeground = application.foreground;
              if (!hasWindow) return nullptr;
              return std::make_unique<FakeWindow>(window);
            }};
  }
};

}  // namespace quorlin
