/// Workflows as files: an executable one, or the desktop entry of an application.
#pragma once

#include "platform/Log.h"
#include "platform/WorkflowEngine.h"
#include "platform/values/Result.h"

#include <filesystem>
#include <string>
#include <vector>

namespace quorlin {

/// The program of a workflow.
struct WorkflowCommand {
  std::string program;
  std::vector<std::string> arguments;
  /// Where it starts; empty for the agent's own folder.
  std::string folder;

  friend bool operator==(const WorkflowCommand&, const WorkflowCommand&) = default;
};

/// The command of a workflow file. A desktop entry's command is read as freedesktop.org describes its Exec
/// key, without files or URLs.
Result<WorkflowCommand> workflowCommand(const std::filesystem::path& file);

class LinuxWorkflowEngine final : public WorkflowEngine {
 public:
  /// The log outlives the engine.
  explicit LinuxWorkflowEngine(Log& log) : log_(log) {}

  /// The child gets no input, and its own session.
  void runWorkflow(const std::string& path) override;

 private:
  Log& log_;
};

}  // namespace quorlin
