#include "platform/linux/desktop/DesktopEntry.h"

#include "platform/linux/desktop/KeyFile.h"

namespace quorlin {

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

}  // namespace quorlin
