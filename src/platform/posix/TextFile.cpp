#include "platform/posix/TextFile.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/values/Owned.h"
#include "platform/values/Utf8.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>

namespace quorlin {

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view space(" \t\r\n\v\f\0", 7);
  const std::size_t begin = text.find_first_not_of(space);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(space) + 1 - begin);
}

Result<std::string> readText(const std::string& path) {
  // A pipe or a terminal would keep the reader waiting.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file) return systemTrouble("{} cannot be read", path, errno);
  std::array<char, 4096> buffer;
  // Unlike read(2), pread(2) refuses a pipe, so no further call has to tell it from a file.
  const ssize_t count = pread(file.get(), buffer.data(), buffer.size(), 0);
  if (count < 0 && errno == ESPIPE) return notRegular(path);
  if (count < 0) return systemTrouble("{} cannot be read", path, errno);
  return std::string(trimmed({buffer.data(), static_cast<std::size_t>(count)}));
}

Result<std::vector<std::string>> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  const Owned<DIR, closedir> stream(opendir(directory.c_str()));
  if (!stream) return systemTrouble("{} cannot be listed", directory, errno);
  while (const dirent* entry = readdir(stream.get())) {
    const std::string_view name(static_cast<const char*>(entry->d_name));
    if (name != "." && name != "..") names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

Result<std::string> realPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::canonical(path, error);
  if (error) return systemTrouble("{} cannot be resolved", path, error.value());
  return resolved.string();
}

std::string displayText(std::string_view raw) { return std::string(trimmed(withoutTerminalControls(raw))); }

std::string excerpt(std::string_view raw, std::size_t most) {
  std::string text = displayText(raw);
  std::string_view rest = text;
  for (std::size_t i = 0; i < most && !rest.empty(); ++i) takeCodePoint(rest);
  if (!rest.empty()) text.replace(text.size() - rest.size(), rest.size(), "…");
  return text;
}

Trouble notRegular(std::string path) {
  return {.what = "{} cannot be read", .where = std::move(path), .why = "it is not a regular file"};
}

std::string errorText(int error) { return std::generic_category().message(error); }

Trouble systemTrouble(std::string what, std::string where, int error) {
  return {.what = std::move(what), .where = std::move(where), .why = errorText(error), .error = error};
}

}  // namespace quorlin
