#include "platform/linux/desktop/WorkflowEngine.h"

#include "platform/linux/desktop/DesktopEntry.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/posix/TextFile.h"

#include <iterator>
#include <utility>

#include <sys/types.h>

namespace quorlin {
namespace {

Trouble cannotRun(const std::filesystem::path& file, std::string why) {
  return {.what = filledIn("the workflow '{}' cannot be run", {file.native()}), .why = std::move(why)};
}

Result<WorkflowCommand> commandOfEntry(const std::filesystem::path& file) {
  const Result<KeyFile> keyFile = loadKeyFile(file);
  if (!keyFile) return cannotRun(file, keyFile.error().why);
  GKeyFile* entry = keyFile->get();
  if (entryText(entry, "Type") != "Application")
    return cannotRun(file, "its desktop entry is not an application's");
  if (entryFlag(entry, "Hidden")) return cannotRun(file, "its desktop entry is marked as deleted");
  if (entryFlag(entry, "Terminal")) return cannotRun(file, "it needs a terminal");

  std::vector<std::string> words = commandOf(entry, file);
  if (words.empty()) return cannotRun(file, "its desktop entry has no valid command line");
  WorkflowCommand command{
      .program = std::move(words.front()), .arguments = {}, .folder = entryText(entry, "Path")};
  command.arguments.assign(std::make_move_iterator(words.begin() + 1), std::make_move_iterator(words.end()));
  return command;
}

}  // namespace

Result<WorkflowCommand> workflowCommand(const std::filesystem::path& file) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(file, error);
  if (!std::filesystem::is_regular_file(absolute, error)) {
    return cannotRun(file, error ? error.message() : "it is not a regular file");
  }
  if (absolute.extension() == ".desktop") return commandOfEntry(absolute);
  return WorkflowCommand{.program = absolute.string(), .arguments = {}, .folder = {}};
}

void LinuxWorkflowEngine::runWorkflow(const std::string& path) {
  const Result<WorkflowCommand> command = workflowCommand(path);
  if (!command) return log_.line(command.error().text());
  const Result<pid_t> child =
      spawn(command->program, command->arguments, {.folder = command->folder, .detached = true});
  if (!child) return log_.line(cannotRun(path, child.error().why).text());
  waitForEnd(*child);
}

}  // namespace quorlin
