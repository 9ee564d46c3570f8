#include "platform/linux/desktop/WorkflowEngine.h"

#include "platform/linux/desktop/KeyFile.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/posix/TextFile.h"

#include <optional>

#include <sys/types.h>

namespace quorlin {
namespace {

constexpr const char* kGroup = "Desktop Entry";

Trouble cannotRun(const std::filesystem::path& file, std::string why) {
  return {.what = filledIn("the workflow '{}' cannot be run", {file.native()}), .why = std::move(why)};
}

std::string stringOf(GKeyFile* entry, const char* key) {
  const GText value(g_key_file_get_string(entry, kGroup, key, nullptr));
  return value ? value.get() : "";
}

bool isTrue(GKeyFile* entry, const char* key) {
  return g_key_file_get_boolean(entry, kGroup, key, nullptr) == TRUE;
}

/// The argument with its field codes replaced; nothing if it only stands for files or URLs.
std::optional<std::string> withoutFieldCodes(std::string_view argument, GKeyFile* entry,
                                             const std::filesystem::path& file) {
  std::string text;
  bool held = argument.find('%') == std::string_view::npos;
  for (std::size_t i = 0; i < argument.size(); ++i) {
    if (argument[i] != '%' || i + 1 == argument.size()) {
      text += argument[i];
    } else if (const char code = argument[++i]; code == '%') {
      text += '%';
    } else if (code == 'c') {
      const GText name(g_key_file_get_locale_string(entry, kGroup, "Name", nullptr, nullptr));
      text += name ? name.get() : "";
    } else if (code == 'k') {
      text += file.string();
    } else {
      continue;  // files, URLs, the icon and obsolete codes
    }
    held = true;
  }
  return held ? std::optional(text) : std::nullopt;
}

Result<WorkflowCommand> commandOfEntry(const std::filesystem::path& file) {
  const Result<KeyFile> keyFile = loadKeyFile(file);
  if (!keyFile) return cannotRun(file, keyFile.error().why);
  GKeyFile* entry = keyFile->get();
  if (stringOf(entry, "Type") != "Application")
    return cannotRun(file, "its desktop entry is not an application's");
  if (isTrue(entry, "Hidden")) return cannotRun(file, "its desktop entry is marked as deleted");
  if (isTrue(entry, "Terminal")) return cannotRun(file, "it needs a terminal");

  int count = 0;
  char** words = nullptr;
  if (g_shell_parse_argv(stringOf(entry, "Exec").c_str(), &count, &words, nullptr) == FALSE) {
    return cannotRun(file, "its desktop entry has no valid command line");
  }
  const Owned<char*, g_strfreev> owner(words);
  WorkflowCommand command{.program = words[0], .arguments = {}, .folder = stringOf(entry, "Path")};
  for (int i = 1; i < count; ++i) {
    if (auto argument = withoutFieldCodes(words[i], entry, file)) {
      command.arguments.push_back(std::move(*argument));
    }
  }
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
