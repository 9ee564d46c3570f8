/// The agent's side of the root helper: installing it, the one connection to it, its operations.
#pragma once

#include "platform/HelperService.h"
#include "platform/JobBlessing.h"
#include "platform/Log.h"
#include "platform/RunLoop.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorlin {

/// Main thread only: a call from another thread ends the process. Each operation hands the helper's own
/// answer, unread, to its completion, which may run on the connection's queue and receives nothing when the
/// helper could not be reached. No completion runs once the client is being destroyed.
class HelperClient {
 public:
  using Completion = std::function<void(std::optional<std::string>)>;

  /// The services outlive it.
  HelperClient(HelperService& helperService, JobBlessing& jobBlessing, RunLoop& runLoop, Log& log)
      : helperService_(helperService), jobBlessing_(jobBlessing), runLoop_(runLoop), log_(log) {}

  /// Lets install() ask for rights. Called at launch, before the first operation.
  void createAuthorization();

  /// Puts the helper into place; returns before the user has authenticated or refused. The completion runs on
  /// the main thread.
  void install(std::function<void(bool installed)> completion);

  void getVersion(const Completion& completion);
  void getCoreMetrics(const std::string& key, const Completion& completion);
  /// Mode false holds the charge, true lets the battery charge again.
  void limitCharge(const std::string& key, bool mode, const Completion& completion);
  void uninstall(const std::string& key);

 private:
  HelperToolConnection::StringReply replyTo(const Completion& completion) const;
  HelperToolConnection::ErrorHandler failureTo(const Completion& completion) const;
  void connectToHelperTool();
  void connectAndExecuteCommandBlock(const std::function<void(HelperToolConnection&)>& command);

  HelperService& helperService_;
  JobBlessing& jobBlessing_;
  RunLoop& runLoop_;
  Log& log_;
  std::unique_ptr<Authorization> authRef_;
  std::optional<Data> authorization_;
  std::unique_ptr<HelperToolConnection> helperToolConnection_;
  // Last member, destroyed first: ending the connection fails the open calls.
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace quorlin
