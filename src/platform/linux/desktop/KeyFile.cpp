#include "platform/linux/desktop/KeyFile.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
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

/// Where a link leads, also to a file that does not exist yet.
std::filesystem::path behindLinks(std::filesystem::path file) {
  std::error_code error;
  for (int links = 0; links < 32 && std::filesystem::is_symlink(file, error); ++links) {
    const std::filesystem::path target = std::filesystem::read_symlink(file, error);
    if (error) break;
    file = file.parent_path() / target;
  }
  return file;
}

/// Keeps other programs from changing files in a folder, until the descriptor is closed. Without a descriptor
/// there is no such folder, or its file system has no locks.
Result<FileDescriptor> lockFolder(const std::filesystem::path& folder) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::seconds patience(2);
  constexpr std::chrono::milliseconds pause(5);
  FileDescriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const Clock::time_point deadline = Clock::now() + patience;
  while (lock && flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return FileDescriptor();
    if (Clock::now() > deadline)
      return Trouble{.what = "{} cannot be changed", .where = folder, .why = "another program has locked it"};
    std::this_thread::sleep_for(pause);
  }
  return lock;
}

/// Copies a malformed file to a free name beside it, and returns that.
Result<std::filesystem::path> keepAside(const std::filesystem::path& file) {
  std::error_code error;
  std::filesystem::path aside = file.string() + ".unreadable";
  for (int i = 2; std::filesystem::exists(aside, error); ++i) {
    aside = file.string() + ".unreadable-" + std::to_string(i);
  }
  if (!error) std::filesystem::copy_file(file, aside, error);
  if (error)
    return systemTrouble(
        filledIn("{} is malformed and cannot be copied to {}", {file.native(), aside.native()}), {},
        error.value());
  return aside;
}

/// With a log, an empty file in place of a malformed one, which is kept.
Result<KeyFile> loadForChange(const std::filesystem::path& file, Log* log) {
  Result<KeyFile> keyFile = loadKeyFile(file);
  if (keyFile || keyFile.error().error != kMalformed || log == nullptr) return keyFile;
  const Result<std::filesystem::path> aside = keepAside(file);
  if (!aside) return aside.error();
  log->line(filledIn("{} is malformed; a copy is kept in {}", {file.native(), aside->native()}));
  return KeyFile(g_key_file_new());
}

std::optional<Trouble> replaceFile(const std::filesystem::path& file, GKeyFile* keyFile) {
  gsize size = 0;
  const GText contents(g_key_file_to_data(keyFile, &size, nullptr));
  GError* failure = nullptr;
  // Writes a file beside it, then renames that one over it.
  if (g_file_set_contents(file.c_str(), contents.get(), static_cast<gssize>(size), &failure) == FALSE) {
    return troubleOf(failure, "{} cannot be written", file);
  }
  return std::nullopt;
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

std::optional<Trouble> changeKeyFile(const std::filesystem::path& file,
                                     const std::function<Changed(GKeyFile*)>& change, Log* log) {
  const std::filesystem::path target = behindLinks(file);
  std::error_code error;
  std::filesystem::create_directories(target.parent_path(), error);
  if (error) return systemTrouble("the folder {} cannot be made", target.parent_path(), error.value());
  const Result<FileDescriptor> lock = lockFolder(target.parent_path());
  if (!lock) return lock.error();
  const Result<KeyFile> keyFile = loadForChange(target, log);
  if (!keyFile) return keyFile.error();
  switch (change(keyFile->get())) {
    case Changed::Nothing:
      return std::nullopt;
    case Changed::Contents:
      return replaceFile(target, keyFile->get());
    case Changed::NeedsNoFile:
      break;
  }
  if (unlink(target.c_str()) == 0 || errno == ENOENT) return std::nullopt;
  return systemTrouble("{} cannot be removed", target, errno);
}

}  // namespace quorlin
