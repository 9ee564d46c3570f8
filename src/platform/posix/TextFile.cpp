#include "platform/posix/TextFile.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/values/Utf8.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>

namespace quorlin {
namespace {

struct Close {
  void operator()(DIR* directory) const { closedir(directory); }
};

}  // namespace

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view space(" \t\r\n\v\f\0", 7);
  const std::size_t begin = text.find_first_not_of(space);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(space) + 1 - begin);
}

Result<std::string> readText(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) return systemTrouble("{} cannot be read", path, errno);
  std::array<char, 4096> buffer;
  const ssize_t count = read(file.get(), buffer.data(), buffer.size());
  if (count < 0) return systemTrouble("{} cannot be read", path, errno);
  return std::string(trimmed({buffer.data(), static_cast<std::size_t>(count)}));
}

Result<std::vector<std::string>> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, Close> stream(opendir(directory.c_str()));
  if (!stream) return systemTrouble("{} cannot be listed", directory, errno);
  while (const dirent* entry = readdir(stream.get())) {
    const std::string_view name(static_cast<const char*>(entry->d_name));
    if (name != "." && name != "..") names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

Result<std::string> realPath(const std::string& path) {
  struct Free {
    void operator()(char* text) const { std::free(text); }
  };
  const std::unique_ptr<char, Free> resolved(realpath(path.c_str(), nullptr));
  if (!resolved) return systemTrouble("{} cannot be resolved", path, errno);
  return std::string(resolved.get());
}

std::string displayText(std::string_view raw) {
  std::string text = withoutMalformedUtf8(raw);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool control = byte < 0x20 || byte == 0x7F;
    // U+0080 to U+009F, two bytes each.
    const bool secondControl =
        byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (control || secondControl) text.replace(i, secondControl ? 2 : 1, " ");
  }
  return std::string(trimmed(text));
}

std::string errorText(int error) { return std::generic_category().message(error); }

Trouble systemTrouble(std::string what, std::string where, int error) {
  return {.what = std::move(what), .where = std::move(where), .why = errorText(error), .error = error};
}

}  // namespace quorlin
