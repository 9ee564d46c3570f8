/// The running program as the user's session sees it: launch, reopen, commands by URL, termination.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// The argument of a start in the background.
inline constexpr std::string_view kSilentArgument = "-silent";

enum class TerminateReply { Now, Later };

/// The event that asked for an action: a four-character event id, and a description that names its
/// parameters.
struct ApplicationEvent {
  std::string id;
  std::string description;
};

/// Called on the main thread.
class ApplicationDelegate {
 public:
  virtual ~ApplicationDelegate() = default;

  virtual void applicationWillFinishLaunching() = 0;
  virtual void applicationDidFinishLaunching() = 0;

  /// After Later the application runs on until terminate() is called again.
  virtual TerminateReply applicationShouldTerminate() = 0;

  /// The user started the program again while it runs. True asks the application for its own default
  /// response.
  virtual bool applicationShouldHandleReopen(const ApplicationEvent& event, bool hasVisibleWindows) = 0;
};

class Application {
 public:
  using UrlHandler = std::function<void(const std::string& url)>;

  virtual ~Application() = default;

  /// The process's arguments, the program's own name first.
  virtual const std::vector<std::string>& arguments() const = 0;

  virtual std::string bundleIdentifier() const = 0;

  /// Asks the delegate whether to stop, and stops the run loop if it answers Now. Returns in any case.
  /// Any thread.
  virtual void terminate() = 0;

  /// Main thread only; one handler, the last one set.
  virtual void setUrlHandler(UrlHandler handler) = 0;

  /// Gives the program a place in the user's task list, or takes it away.
  virtual void transformToForeground() = 0;
  virtual void activateIgnoringOtherApplications() = 0;
};

}  // namespace quorlin
