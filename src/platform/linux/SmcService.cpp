/// Files and their order after drivers/hwmon/applesmc.c: who writes an index to key_at_index chooses a key,
/// for every process; key_at_index_name, _type, _data_length and _data then tell of that key. Keys are in the
/// order of their characters' codes, by which the driver itself searches them.
#include "platform/linux/SmcService.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <optional>
#include <thread>

#include <endian.h>
#include <fcntl.h>
#include <sys/file.h>

namespace quorlin {
namespace {

/// Of the controller itself, for a key that it does not have.
constexpr std::uint8_t kNoSuchKey = 0x84;

/// Keeps this project's processes from moving the index under one another. flock(2) lets every user lock what
/// he can read, as the index is, so it is not waited for without end; every reading is checked anyway.
class IndexLock {
 public:
  explicit IndexLock(int index) : index_(index) {
    for (int attempt = 0; attempt < 20; ++attempt) {
      if (flock(index_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  IndexLock(const IndexLock&) = delete;
  IndexLock& operator=(const IndexLock&) = delete;
  ~IndexLock() { flock(index_, LOCK_UN); }

 private:
  int index_;
};

/// Type, size and bytes only of a key that was asked for.
struct Key {
  std::uint32_t name = 0;
  std::array<char, 4> type{};
  std::uint32_t size = 0;
  std::string bytes;
};

std::nullopt_t garbled() {
  errno = EBADMSG;
  return std::nullopt;
}

/// What is empty has failed, errno says how.
class SysfsSmcConnection final : public SmcConnection {
 public:
  SysfsSmcConnection(FileDescriptor folder, FileDescriptor index)
      : folder_(std::move(folder)), index_(std::move(index)) {}

  std::uint32_t exchange(std::uint32_t method, const SmcRecord& input, SmcRecord& output) override;

  std::uint32_t close() override {
    index_.reset();
    folder_.reset();
    return 0;
  }

 private:
  std::optional<std::string> contents(const char* file) const;
  /// Without its end: a type may itself end with a space.
  std::optional<std::string> line(const char* file) const;
  std::optional<std::uint32_t> number(const char* file) const;
  /// Zeros at the end are where the driver's text ends.
  std::optional<std::array<char, 4>> fourCharacters(const char* file, std::size_t least) const;

  std::optional<Key> chosenKey(std::uint32_t wanted, bool withBytes) const;
  std::optional<Key> keyAt(std::uint32_t index, std::uint32_t wanted, bool withBytes) const;
  /// errno is 0 when there is no such key.
  std::optional<Key> findKey(std::uint32_t wanted, bool withBytes) const;

  FileDescriptor folder_;
  FileDescriptor index_;
};

std::uint32_t SysfsSmcConnection::exchange(std::uint32_t method, const SmcRecord& input, SmcRecord& output) {
  const bool withBytes = input.command == kSmcReadBytes;
  if (method != kSmcMethod || (!withBytes && input.command != kSmcReadKeyInfo)) return ENOTSUP;
  const IndexLock lock(index_.get());
  const std::optional<Key> key = findKey(input.key, withBytes);
  if (!key && errno != 0) return static_cast<std::uint32_t>(errno);
  if (key && withBytes && key->size != input.keyInfo.dataSize) return EINVAL;
  output = {};
  if (!key) {
    output.result = kNoSuchKey;
  } else if (withBytes) {
    std::ranges::copy(key->bytes, output.bytes.begin());
  } else {
    output.keyInfo.dataSize = key->size;
    output.keyInfo.dataType = key->type;
  }
  return 0;
}

std::optional<std::string> SysfsSmcConnection::contents(const char* file) const {
  const FileDescriptor descriptor(openat(folder_.get(), file, O_RDONLY | O_CLOEXEC));
  if (!descriptor) return std::nullopt;
  // More than any of them holds.
  std::array<char, 64> buffer;
  const ssize_t count = read(descriptor.get(), buffer.data(), buffer.size());
  if (count < 0) return std::nullopt;
  return std::string(buffer.data(), static_cast<std::size_t>(count));
}

std::optional<std::string> SysfsSmcConnection::line(const char* file) const {
  std::optional<std::string> text = contents(file);
  if (!text) return std::nullopt;
  if (!text->ends_with('\n')) return garbled();
  text->pop_back();
  return text;
}

std::optional<std::uint32_t> SysfsSmcConnection::number(const char* file) const {
  const std::optional<std::string> text = line(file);
  if (!text) return std::nullopt;
  std::uint32_t number = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, number);
  if (error != std::errc() || stop != end) return garbled();
  return number;
}

std::optional<std::array<char, 4>> SysfsSmcConnection::fourCharacters(const char* file,
                                                                      std::size_t least) const {
  const std::optional<std::string> text = line(file);
  if (!text) return std::nullopt;
  std::array<char, 4> characters{};
  if (text->size() < least || text->size() > characters.size()) return garbled();
  std::ranges::copy(*text, characters.begin());
  return characters;
}

std::optional<Key> SysfsSmcConnection::chosenKey(std::uint32_t wanted, bool withBytes) const {
  const auto name = fourCharacters("key_at_index_name", 4);
  if (!name) return std::nullopt;
  Key key;
  key.name = be32toh(std::bit_cast<std::uint32_t>(*name));
  if (key.name != wanted) return key;
  const auto type = fourCharacters("key_at_index_type", 1);
  const auto size = type ? number("key_at_index_data_length") : std::nullopt;
  if (!size) return std::nullopt;
  if (*size > SmcBytes().size()) return garbled();
  key.type = *type;
  key.size = *size;
  if (!withBytes) return key;
  std::optional<std::string> bytes = contents("key_at_index_data");
  if (!bytes) return std::nullopt;
  if (bytes->size() != key.size) return garbled();
  key.bytes = std::move(*bytes);
  return key;
}

std::optional<Key> SysfsSmcConnection::keyAt(std::uint32_t index, std::uint32_t wanted,
                                             bool withBytes) const {
  constexpr int attempts = 8;
  const std::string text = std::to_string(index);
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (pwrite(index_.get(), text.data(), text.size(), 0) < 0) return std::nullopt;
    std::optional<Key> key = chosenKey(wanted, withBytes);
    const int error = errno;
    const std::optional<std::uint32_t> chosen = number("key_at_index");
    if (!chosen) return std::nullopt;
    errno = error;
    // Else somebody has chosen another key meanwhile, of which some of this may tell.
    if (chosen == index) return key;
  }
  errno = EBUSY;
  return std::nullopt;
}

std::optional<Key> SysfsSmcConnection::findKey(std::uint32_t wanted, bool withBytes) const {
  const std::optional<std::uint32_t> count = number("key_count");
  if (!count) return std::nullopt;
  std::uint32_t low = 0;
  for (std::uint32_t high = *count; low < high;) {
    const std::uint32_t middle = low + (high - low) / 2;
    std::optional<Key> key = keyAt(middle, wanted, withBytes);
    if (!key || key->name == wanted) return key;
    if (key->name < wanted) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  errno = 0;
  return std::nullopt;
}

}  // namespace

SmcSearch SysfsSmcService::find(std::string_view serviceClass) {
  if (serviceClass != kSmcServiceClass) return {};
  const std::vector<std::string> names = namesIn(folder_.string());
  const int error = errno;
  const auto found =
      std::ranges::find_if(names, [](const auto& name) { return name.starts_with("applesmc."); });
  if (found != names.end()) return {0, *found};
  return {error == ENOENT ? 0U : static_cast<std::uint32_t>(error), {}};
}

SmcOpening SysfsSmcService::open(const std::string& service) {
  FileDescriptor folder(::open((folder_ / service).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  FileDescriptor index;
  if (folder) index = FileDescriptor(openat(folder.get(), "key_at_index", O_WRONLY | O_CLOEXEC));
  if (!index) return {static_cast<std::uint32_t>(errno), nullptr};
  return {0, std::make_unique<SysfsSmcConnection>(std::move(folder), std::move(index))};
}

}  // namespace quorlin
