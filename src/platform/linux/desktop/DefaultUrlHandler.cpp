#include "platform/linux/desktop/DefaultUrlHandler.h"

#include "platform/linux/desktop/KeyFile.h"

#include <string>

namespace quorlin {
namespace {

constexpr const char* kGroup = "Default Applications";

/// Whether the list has changed.
bool putFirst(GKeyFile* list, const std::string& type, const std::string& entry) {
  const GText found(g_key_file_get_value(list, kGroup, type.c_str(), nullptr));
  std::string others = found ? found.get() : "";
  if (others == entry || others.starts_with(entry + ";")) return false;
  const std::string value = others.empty() ? entry : entry + ";" + others;
  g_key_file_set_value(list, kGroup, type.c_str(), value.c_str());
  return true;
}

}  // namespace

std::filesystem::path mimeApplicationsFile() {
  return std::filesystem::path(g_get_user_config_dir()) / "mimeapps.list";
}

std::optional<Trouble> setDefaultUrlHandler(const std::filesystem::path& mimeApplications,
                                            std::string_view scheme, std::string_view applicationId) {
  // Desktops look a scheme up in lower case, xdg-open as it is written.
  const GText lower(g_ascii_strdown(scheme.data(), static_cast<gssize>(scheme.size())));
  const std::string entry = std::string(applicationId) + ".desktop";
  return changeKeyFile(mimeApplications, [&](GKeyFile* list) {
    const std::string type = "x-scheme-handler/";
    const bool asWritten = putFirst(list, type + std::string(scheme), entry);
    const bool inLowerCase = putFirst(list, type + lower.get(), entry);
    return asWritten || inLowerCase ? Changed::Contents : Changed::Nothing;
  });
}

}  // namespace quorlin
