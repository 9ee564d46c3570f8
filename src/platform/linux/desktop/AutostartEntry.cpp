#include "platform/linux/desktop/AutostartEntry.h"

#include "platform/linux/desktop/DesktopEntry.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace quorlin {
namespace {

constexpr const char* kGroup = G_KEY_FILE_DESKTOP_GROUP;
constexpr const char* kHidden = G_KEY_FILE_DESKTOP_KEY_HIDDEN;
constexpr const char* kOnlyShowIn = G_KEY_FILE_DESKTOP_KEY_ONLY_SHOW_IN;
constexpr const char* kNotShowIn = G_KEY_FILE_DESKTOP_KEY_NOT_SHOW_IN;
constexpr const char* kTryExec = G_KEY_FILE_DESKTOP_KEY_TRY_EXEC;
/// Set by GNOME's tools in place of Hidden.
constexpr const char* kGnomeEnabled = "X-GNOME-Autostart-enabled";
/// systemd-xdg-autostart-generator(8): entries with one of these are not started.
constexpr const char* kGnomePhase = "X-GNOME-Autostart-Phase";
constexpr const char* kSystemdSkip = "X-systemd-skip";

/// The desktop's names, the most special first; none where it has none.
std::vector<std::string> currentDesktops() {
  const char* const variable = std::getenv("XDG_CURRENT_DESKTOP");
  std::vector<std::string> names;
  for (std::string_view rest = variable == nullptr ? "" : variable; !rest.empty();) {
    if (const std::string_view name = takeUntil(':', rest); !name.empty()) names.emplace_back(name);
  }
  return names;
}

std::vector<std::string> listIn(GKeyFile* entry, const char* key) {
  gsize count = 0;
  const Owned<gchar*, g_strfreev> names(g_key_file_get_string_list(entry, kGroup, key, &count, nullptr));
  return {names.get(), names.get() + count};
}

void setList(GKeyFile* entry, const char* key, const std::vector<std::string>& names) {
  std::vector<const char*> texts;
  texts.reserve(names.size());
  for (const std::string& name : names) texts.push_back(name.c_str());
  g_key_file_set_string_list(entry, kGroup, key, texts.data(), texts.size());
}

bool has(GKeyFile* entry, const char* key) { return g_key_file_has_key(entry, kGroup, key, nullptr) == TRUE; }

bool shareOne(const std::vector<std::string>& left, const std::vector<std::string>& right) {
  return std::ranges::any_of(left, [&](const auto& name) { return std::ranges::count(right, name) > 0; });
}

bool isProgram(const std::string& name) { return GText(g_find_program_in_path(name.c_str())) != nullptr; }

/// The program that an entry starts; empty if it names none.
std::string programOf(GKeyFile* entry, const std::filesystem::path& file) {
  const std::vector<std::string> command = commandOf(entry, file);
  return command.empty() ? "" : command.front();
}

/// Whether the entry says false, which is not the same as saying nothing.
bool isSwitchedOffInGnome(GKeyFile* entry) {
  return has(entry, kGnomeEnabled) && !entryFlag(entry, kGnomeEnabled);
}

void switchOn(GKeyFile* entry, const std::filesystem::path& file, const AutostartProgram& program) {
  const auto set = [entry](const char* key, const std::string& value) {
    g_key_file_set_string(entry, kGroup, key, value.c_str());
  };
  set(G_KEY_FILE_DESKTOP_KEY_TYPE, G_KEY_FILE_DESKTOP_TYPE_APPLICATION);
  if (!has(entry, G_KEY_FILE_DESKTOP_KEY_NAME)) {
    set(G_KEY_FILE_DESKTOP_KEY_NAME, program.name);
    set(G_KEY_FILE_DESKTOP_KEY_COMMENT, program.comment);
  }
  // A command of the user's own stays; ours may come from an installation in another place.
  const std::string started = programOf(entry, file);
  const bool isOurs = std::filesystem::path(started).filename() == program.program.filename();
  if (isOurs || !isProgram(started)) set(G_KEY_FILE_DESKTOP_KEY_EXEC, execOf(program.program));
  if (isOurs || !has(entry, kTryExec) || !isProgram(entryText(entry, kTryExec)))
    set(kTryExec, program.program);

  for (const char* key : {kHidden, kGnomePhase, kSystemdSkip})
    g_key_file_remove_key(entry, kGroup, key, nullptr);
  if (isSwitchedOffInGnome(entry)) g_key_file_set_boolean(entry, kGroup, kGnomeEnabled, TRUE);
  const std::vector<std::string> here = currentDesktops();
  if (std::vector<std::string> only = listIn(entry, kOnlyShowIn);
      has(entry, kOnlyShowIn) && !shareOne(only, here)) {
    if (here.empty()) {
      g_key_file_remove_key(entry, kGroup, kOnlyShowIn, nullptr);
    } else {
      only.push_back(here.front());
      setList(entry, kOnlyShowIn, only);
    }
  }
  if (std::vector<std::string> others = listIn(entry, kNotShowIn); shareOne(others, here)) {
    std::erase_if(others, [&here](const std::string& name) { return std::ranges::count(here, name) > 0; });
    setList(entry, kNotShowIn, others);
  }
}

std::string textOf(GKeyFile* entry) { return GText(g_key_file_to_data(entry, nullptr, nullptr)).get(); }

}  // namespace

std::filesystem::path autostartEntry(std::string_view identifier) {
  return std::filesystem::path(g_get_user_config_dir()) / "autostart" /
         (std::string(identifier) + ".desktop");
}

std::optional<Trouble> whyNotStarted(const std::filesystem::path& entry) {
  const auto trouble = [&entry](const char* what, std::string why = {}) {
    return Trouble{.what = what, .where = entry, .why = std::move(why)};
  };
  std::error_code error;
  if (!std::filesystem::exists(entry, error)) return trouble("there is no {}");
  const Result<KeyFile> keyFile = loadKeyFile(entry);
  if (!keyFile) return keyFile.error();
  GKeyFile* const file = keyFile->get();
  if (entryText(file, G_KEY_FILE_DESKTOP_KEY_TYPE) != G_KEY_FILE_DESKTOP_TYPE_APPLICATION)
    return trouble("{} is not an application's entry");
  for (const char* key : {kHidden, kSystemdSkip}) {
    if (entryFlag(file, key)) return trouble("{} is switched off", std::string(key) + "=true");
  }
  if (isSwitchedOffInGnome(file)) return trouble("{} is switched off", std::string(kGnomeEnabled) + "=false");
  const std::vector<std::string> here = currentDesktops();
  if ((has(file, kOnlyShowIn) && !shareOne(listIn(file, kOnlyShowIn), here)) ||
      shareOne(listIn(file, kNotShowIn), here)) {
    return trouble("{} is not for this desktop", "OnlyShowIn or NotShowIn say so");
  }
  const std::string started = programOf(file, entry);
  for (const std::string& program : {started, has(file, kTryExec) ? entryText(file, kTryExec) : started}) {
    if (program.empty()) return trouble("{} has no valid command");
    if (!isProgram(program)) return trouble("{} starts nothing", filledIn("{} is not a program", {program}));
  }
  return std::nullopt;
}

std::optional<Trouble> setAutostart(const std::filesystem::path& entry, const AutostartProgram& program,
                                    bool enabled, Log& log) {
  std::error_code error;
  if (!enabled && !std::filesystem::exists(entry, error) && !error) return std::nullopt;
  const bool isLink = std::filesystem::is_symlink(entry, error);
  const auto change = [&](GKeyFile* file) {
    const std::string before = textOf(file);
    if (enabled) {
      switchOn(file, entry, program);
      return textOf(file) == before ? Changed::Nothing : Changed::Contents;
    }
    const KeyFile plain(g_key_file_new());
    switchOn(plain.get(), entry, program);
    if (!isLink && (before.empty() || before == textOf(plain.get()))) return Changed::NeedsNoFile;
    g_key_file_set_boolean(file, kGroup, kHidden, TRUE);
    return Changed::Contents;
  };
  return changeKeyFile(entry, change, &log);
}

}  // namespace quorlin
