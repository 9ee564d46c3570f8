#include "platform/linux/desktop/KeyFile.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <array>
#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// A file of people's settings is far smaller, and reading a larger one would take long.
constexpr std::size_t kMostBytes = 1'000'000;

/// Reads no more than that, also of a file that grows meanwhile.
Result<std::string> contentsOf(const std::filesystem::path& path) {
  // A pipe or a device would keep the reader waiting.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return systemTrouble("{} cannot be read", path, errno);
  if (!S_ISREG(status.st_mode)) return notRegular(path);
  std::string contents;
  std::array<char, 65536> buffer;
  while (contents.size() <= kMostBytes) {
    const ssize_t count = read(file.get(), buffer.data(), buffer.size());
    if (count == 0) return contents;
    if (count < 0 && errno != EINTR) return systemTrouble("{} cannot be read", path, errno);
    if (count > 0) contents.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return Trouble{.what = "{} cannot be read", .where = path, .why = "it is larger than 1 MB"};
}

/// Frees the GLib error.
Trouble troubleOf(GError* failure, const char* what, const std::filesystem::path& file, int error = 0) {
  std::string why = failure == nullptr ? "" : failure->message;
  g_clear_error(&failure);
  return {.what = what, .where = file, .why = std::move(why), .error = error};
}

}  // namespace

Result<KeyFile> loadKeyFile(const std::filesystem::path& file) {
  KeyFile keyFile(g_key_file_new());
  const Result<std::string> bytes = contentsOf(file);
  if (!bytes && (bytes.error().error == ENOENT || bytes.error().error == ENOTDIR)) return keyFile;
  if (!bytes) return bytes.error();
  std::string_view contents = *bytes;
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (contents.starts_with(byteOrderMark)) contents.remove_prefix(byteOrderMark.size());
  // A file system that lost power may leave zeros, which the parser would take for the end.
  if (contents.find('\0') != std::string_view::npos) {
    return Trouble{
        .what = "{} is malformed", .where = file, .why = "it contains zero bytes", .error = kMalformed};
  }
  GError* failure = nullptr;
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
