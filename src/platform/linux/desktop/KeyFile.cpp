#include "platform/linux/desktop/KeyFile.h"

#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace quorlin {
namespace {

/// Frees the GLib error.
Trouble troubleOf(GError* failure, const char* what, const std::filesystem::path& file, int error = 0) {
  std::string why = failure == nullptr ? "" : failure->message;
  g_clear_error(&failure);
  return {.what = what, .where = file, .why = std::move(why), .error = error};
}

}  // namespace

Result<KeyFile> loadKeyFile(const std::filesystem::path& file) {
  KeyFile keyFile(g_key_file_new());
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (status.type() == std::filesystem::file_type::not_found) return keyFile;
  // A pipe or a device would keep the reader waiting.
  if (!std::filesystem::is_regular_file(status)) {
    return Trouble{.what = "{} cannot be read",
                   .where = file,
                   .why = error ? error.message() : "it is not a regular file"};
  }
  GError* failure = nullptr;
  gchar* bytes = nullptr;
  gsize size = 0;
  if (g_file_get_contents(file.c_str(), &bytes, &size, &failure) == FALSE) {
    return troubleOf(failure, "{} cannot be read", file);
  }
  const GText owner(bytes);
  std::string_view contents(bytes, size);
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (contents.starts_with(byteOrderMark)) contents.remove_prefix(byteOrderMark.size());
  // A file system that lost power may leave zeros, which the parser would take for the end.
  if (contents.find('\0') != std::string_view::npos) {
    return Trouble{
        .what = "{} is malformed", .where = file, .why = "it contains zero bytes", .error = kMalformed};
  }
  constexpr auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  if (g_key_file_load_from_data(keyFile.get(), contents.data(), contents.size(), flags, &failure) == FALSE) {
    return troubleOf(failure, "{} is malformed", file, kMalformed);
  }
  return keyFile;
}

std::filesystem::path behindLinks(std::filesystem::path file) {
  std::error_code error;
  for (int links = 0; links < 32 && std::filesystem::is_symlink(file, error); ++links) {
    const std::filesystem::path target = std::filesystem::read_symlink(file, error);
    if (error) break;
    file = file.parent_path() / target;
  }
  return file;
}

std::optional<Trouble> saveKeyFile(GKeyFile* keyFile, const std::filesystem::path& file) {
  std::error_code error;
  std::filesystem::create_directories(file.parent_path(), error);
  gsize size = 0;
  const GText contents(g_key_file_to_data(keyFile, &size, nullptr));
  GError* failure = nullptr;
  // Writes a file beside it, then renames that one over it.
  if (g_file_set_contents(file.c_str(), contents.get(), static_cast<gssize>(size), &failure) == FALSE) {
    return troubleOf(failure, "{} cannot be written", file);
  }
  return std::nullopt;
}

}  // namespace quorlin
