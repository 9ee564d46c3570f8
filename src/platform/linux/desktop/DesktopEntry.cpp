#include "platform/linux/desktop/DesktopEntry.h"

#include <utility>

namespace quorlin {
namespace {

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
      const GText name(g_key_file_get_locale_string(entry, G_KEY_FILE_DESKTOP_GROUP,
                                                    G_KEY_FILE_DESKTOP_KEY_NAME, nullptr, nullptr));
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

}  // namespace

std::optional<std::string> applicationName(std::string_view applicationId) {
  // An id is the name of a single file.
  if (applicationId.find('/') != std::string_view::npos) return std::nullopt;
  const std::string entry = "applications/" + std::string(applicationId) + ".desktop";
  const KeyFile keyFile(g_key_file_new());
  if (g_key_file_load_from_data_dirs(keyFile.get(), entry.c_str(), nullptr, G_KEY_FILE_NONE, nullptr) == 0) {
    return std::nullopt;
  }
  const GText name(g_key_file_get_locale_string(keyFile.get(), G_KEY_FILE_DESKTOP_GROUP,
                                                G_KEY_FILE_DESKTOP_KEY_NAME, nullptr, nullptr));
  return name ? std::optional<std::string>(name.get()) : std::nullopt;
}

std::string entryText(GKeyFile* entry, const char* key) {
  const GText value(g_key_file_get_string(entry, G_KEY_FILE_DESKTOP_GROUP, key, nullptr));
  return value ? value.get() : "";
}

bool entryFlag(GKeyFile* entry, const char* key) {
  return g_key_file_get_boolean(entry, G_KEY_FILE_DESKTOP_GROUP, key, nullptr) == TRUE;
}

std::vector<std::string> commandOf(GKeyFile* entry, const std::filesystem::path& file) {
  const std::string line = entryText(entry, G_KEY_FILE_DESKTOP_KEY_EXEC);
  int count = 0;
  char** parsed = nullptr;
  if (g_shell_parse_argv(line.c_str(), &count, &parsed, nullptr) == FALSE) return {};
  const Owned<char*, g_strfreev> owner(parsed);
  std::vector<std::string> words;
  for (int i = 0; i < count; ++i) {
    if (auto word = withoutFieldCodes(parsed[i], entry, file)) words.push_back(std::move(*word));
  }
  return words;
}

std::string execOf(const std::string& program) {
  std::string value = "\"";
  for (const char byte : program) {
    if (std::string_view("\"`$\\").find(byte) != std::string_view::npos) value += '\\';
    value += byte;
    if (byte == '%') value += '%';
  }
  return value + '"';
}

}  // namespace quorlin
