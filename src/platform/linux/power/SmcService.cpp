/// Files and their order after drivers/hwmon/applesmc.c: an index written to key_at_index chooses a key for
/// every process; key_at_index_name, _type, _data_length and _data then describe that key. Keys are in the
/// order of their characters' codes, by which the driver itself searches them.
#include "platform/linux/power/SmcService.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>
#include <thread>

#include <endian.h>
#include <fcntl.h>
#include <sys/file.h>

namespace quorlin {
namespace {

/// The controller's own code for a key that it lacks.
constexpr std::uint8_t kNoSuchKey = 0x84;

/// Keeps this project's processes from moving the index under one another. flock(2) lets every user lock what
/// he can read, such as the index, so the wait for it is bounded; every reading is checked anyway.
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

/// Type, size and bytes are set for the wanted key only.
struct Key {
  std::uint32_t name = 0;
  std::array<char, 4> type{};
  std::uint32_t size = 0;
  std::string bytes;
};

/// With the number of errno.h that the caller of exchange() gets.
template <typename Value>
using Reading = Result<Value, std::errc>;

std::errc lastError() { return static_cast<std::errc>(errno); }

class SysfsSmcConnection final : public SmcConnection {
 public:
  SysfsSmcConnection(FileDescriptor folder, FileDescriptor index)
      : folder_(std::move(folder)), index_(std::move(index)) {}

  std::uint32_t exchange(std::uint32_t method, const SmcRecord& input, SmcRecord& output) override {
    const bool withBytes = input.command == kSmcReadBytes;
    if (method != kSmcMethod || (!withBytes && input.command != kSmcReadKeyInfo)) return ENOTSUP;
    const IndexLock lock(index_.get());
    const Reading<std::optional<Key>> found = findKey(input.key, withBytes);
    if (!found) return static_cast<std::uint32_t>(found.error());
    const std::optional<Key>& key = *found;
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

  std::uint32_t close() override {
    index_.reset();
    folder_.reset();
    return 0;
  }

 private:
  Reading<std::string> contents(const char* file) const {
    const FileDescriptor descriptor(openat(folder_.get(), file, O_RDONLY | O_CLOEXEC));
    if (!descriptor) return lastError();
    // More than any of them holds.
    std::array<char, 64> buffer;
    const ssize_t count = read(descriptor.get(), buffer.data(), buffer.size());
    if (count < 0) return lastError();
    return std::string(buffer.data(), static_cast<std::size_t>(count));
  }

  /// Without its end: a type may itself end with a space.
  Reading<std::string> line(const char* file) const {
    Reading<std::string> text = contents(file);
    if (!text) return text;
    if (!text->ends_with('\n')) return std::errc::bad_message;
    text->pop_back();
    return text;
  }

  Reading<std::uint32_t> number(const char* file) const {
    const Reading<std::string> text = line(file);
    if (!text) return text.error();
    const auto number = wholeNumber<std::uint32_t>(*text);
    return number ? Reading<std::uint32_t>(*number) : std::errc::bad_message;
  }

  /// Trailing zeros mark the end of the driver's text.
  Reading<std::array<char, 4>> fourCharacters(const char* file, std::size_t least) const {
    const Reading<std::string> text = line(file);
    if (!text) return text.error();
    std::array<char, 4> characters{};
    if (text->size() < least || text->size() > characters.size()) return std::errc::bad_message;
    std::ranges::copy(*text, characters.begin());
    return characters;
  }

  Reading<Key> chosenKey(std::uint32_t wanted, bool withBytes) const {
    const auto name = fourCharacters("key_at_index_name", 4);
    if (!name) return name.error();
    Key key;
    key.name = be32toh(std::bit_cast<std::uint32_t>(*name));
    if (key.name != wanted) return key;
    const auto type = fourCharacters("key_at_index_type", 1);
    if (!type) return type.error();
    const auto size = number("key_at_index_data_length");
    if (!size) return size.error();
    if (*size > SmcBytes().size()) return std::errc::bad_message;
    key.type = *type;
    key.size = *size;
    if (!withBytes) return key;
    Reading<std::string> bytes = contents("key_at_index_data");
    if (!bytes) return bytes.error();
    if (bytes->size() != key.size) return std::errc::bad_message;
    key.bytes = *std::move(bytes);
    return key;
  }

  Reading<Key> keyAt(std::uint32_t index, std::uint32_t wanted, bool withBytes) const {
    constexpr int attempts = 8;
    const std::string text = std::to_string(index);
    for (int attempt = 0; attempt < attempts; ++attempt) {
      if (pwrite(index_.get(), text.data(), text.size(), 0) < 0) return lastError();
      Reading<Key> key = chosenKey(wanted, withBytes);
      const Reading<std::uint32_t> chosen = number("key_at_index");
      if (!chosen) return chosen.error();
      // Else another process has chosen another key in between, and some of this may be that one's.
      if (*chosen == index) return key;
    }
    return std::errc::device_or_resource_busy;
  }

  /// Nothing if the controller has no such key.
  Reading<std::optional<Key>> findKey(std::uint32_t wanted, bool withBytes) const {
    const Reading<std::uint32_t> count = number("key_count");
    if (!count) return count.error();
    std::uint32_t low = 0;
    for (std::uint32_t high = *count; low < high;) {
      const std::uint32_t middle = low + (high - low) / 2;
      Reading<Key> key = keyAt(middle, wanted, withBytes);
      if (!key) return key.error();
      if (key->name == wanted) return std::optional(*std::move(key));
      if (key->name < wanted) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return std::optional<Key>();
  }

  FileDescriptor folder_;
  FileDescriptor index_;
};

}  // namespace

SmcSearch SysfsSmcService::find(std::string_view serviceClass) {
  if (serviceClass != kSmcServiceClass) return {};
  const Result<std::vector<std::string>> names = namesIn(folder_.string());
  if (!names) {
    const int error = names.error().error;
    return {error == ENOENT ? 0U : static_cast<std::uint32_t>(error), {}};
  }
  const auto found =
      std::ranges::find_if(*names, [](const auto& name) { return name.starts_with("applesmc."); });
  return {0, found == names->end() ? "" : *found};
}

SmcOpening SysfsSmcService::open(const std::string& service) {
  FileDescriptor folder(::open((folder_ / service).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  FileDescriptor index;
  if (folder) index = FileDescriptor(openat(folder.get(), "key_at_index", O_WRONLY | O_CLOEXEC));
  if (!index) return {static_cast<std::uint32_t>(errno), nullptr};
  return {0, std::make_unique<SysfsSmcConnection>(std::move(folder), std::move(index))};
}

}  // namespace quorlin
