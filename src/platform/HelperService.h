/// The root helper as the agent reaches it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// One connection to the helper. Of each message's two handlers exactly one runs, once, after the call has
/// returned; a message that is open when the connection is destroyed fails. They run on the connection's own
/// queue, from which the platform lets UserDefaults be set, notifications be posted and lines be logged.
class HelperToolConnection {
 public:
  using StringReply = std::function<void(std::string)>;
  using ErrorHandler = std::function<void()>;

  virtual ~HelperToolConnection() = default;

  /// Called at most once, when the connection can no longer be used.
  virtual void setInvalidationHandler(std::function<void()> handler) = 0;

  /// Messages may be sent from now on.
  virtual void resume() = 0;

  /// Not sent by the agent; both sides agree on it.
  virtual void connectWithEndpoint(StringReply reply, ErrorHandler failed) = 0;
  virtual void getVersion(StringReply reply, ErrorHandler failed) = 0;
  virtual void getCoreMetrics(const std::string& key, const std::vector<std::string>& params,
                              StringReply reply, ErrorHandler failed) = 0;
  virtual void uninstallHelper(const std::string& key, StringReply reply, ErrorHandler failed) = 0;
  virtual void limitCharge(const std::string& key, bool mode, StringReply reply, ErrorHandler failed) = 0;
};

class HelperService {
 public:
  virtual ~HelperService() = default;

  /// A new connection to the root service of that name, not yet resumed; never null, since a missing helper
  /// shows in the messages.
  virtual std::unique_ptr<HelperToolConnection> makeConnection(std::string_view serviceName) = 0;
};

}  // namespace quorlin
