#include "platform/linux/DefaultUrlHandler.h"

#include "platform/linux/KeyFile.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace quorlin {
namespace {

constexpr const char* kGroup = "Default Applications";

/// True when the list was changed.
bool putFirst(GKeyFile* list, const std::string& type, const std::string& entry) {
  const GText found(g_key_file_get_value(list, kGroup, type.c_str(), nullptr));
  std::string others = found ? found.get() : "";
  if (others == entry || others.starts_with(entry + ";")) return false;
  const std::string value = others.empty() ? entry : entry + ";" + others;
  g_key_file_set_value(list, kGroup, type.c_str(), value.c_str());
  return true;
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](unsigned char letter) { return std::tolower(letter); });
  return lower;
}

}  // namespace

std::filesystem::path mimeApplicationsFile() {
  return std::filesystem::path(g_get_user_config_dir()) / "mimeapps.list";
}

void setDefaultUrlHandler(const std::filesystem::path& mimeApplications, std::string_view scheme,
                          std::string_view applicationId, Log& log) {
  const std::filesystem::path target = behindLinks(mimeApplications);
  const LoadedKeyFile list = loadKeyFile(target);
  std::string trouble = list.trouble;
  if (list.state == LoadedKeyFile::State::Usable) {
    // Desktops look a scheme up in lower case, xdg-open as it is written.
    const std::string type = "x-scheme-handler/";
    const std::string entry = std::string(applicationId) + ".desktop";
    const bool asWritten = putFirst(list.keyFile.get(), type + std::string(scheme), entry);
    const bool lower = putFirst(list.keyFile.get(), type + lowerCase(scheme), entry);
    if (asWritten || lower) trouble = saveKeyFile(list.keyFile.get(), target).value_or("");
  }
  if (!trouble.empty()) {
    log.line("URLs of " + std::string(scheme) + " are not registered in " + target.string() + ": " + trouble);
  }
}

}  // namespace quorlin
