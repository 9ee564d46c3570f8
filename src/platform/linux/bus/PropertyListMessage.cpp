#include "platform/linux/bus/PropertyListMessage.h"

#include "platform/linux/bus/Bus.h"

#include <algorithm>
#include <limits>

namespace quorlin {
namespace {

constexpr int kMaximumDepth = 32;

std::int64_t secondsOf(Date date) {
  return std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
}

constexpr const char* kWriting = "Cannot write a notification";
constexpr const char* kReading = "Cannot read a notification";

void open(sd_bus_message* message, char type, const char* contents) {
  checked(sd_bus_message_open_container(message, type, contents), kWriting);
}

void close(sd_bus_message* message) { checked(sd_bus_message_close_container(message), kWriting); }

void appendVariant(sd_bus_message* message, const PropertyList& value);

/// Appends one value as a variant of the matching type.
struct VariantWriter {
  sd_bus_message* message;

  void operator()(std::int64_t number) const { append('x', "x", &number); }
  void operator()(double number) const { append('d', "d", &number); }
  void operator()(bool flag) const {
    const int value = flag ? 1 : 0;
    append('b', "b", &value);
  }
  void operator()(const std::string& text) const { append('s', "s", text.c_str()); }
  void operator()(Date date) const {
    checked(sd_bus_message_append(message, "v", "(x)", secondsOf(date)), kWriting);
  }
  void operator()(const PropertyList::SharedData& data) const {
    open(message, 'v', "ay");
    checked(sd_bus_message_append_array(message, 'y', data->data(), data->size()), kWriting);
    close(message);
  }
  void operator()(const PropertyList::SharedArray& array) const {
    open(message, 'v', "av");
    open(message, 'a', "v");
    for (const PropertyList& element : *array) appendVariant(message, element);
    close(message);
    close(message);
  }
  void operator()(const PropertyList::SharedDictionary& dictionary) const {
    open(message, 'v', "a{sv}");
    appendDictionary(message, *dictionary);
    close(message);
  }

 private:
  /// sd_bus_message_append() would take a tenth longer over a whole sample.
  void append(char type, const char* signature, const void* value) const {
    open(message, 'v', signature);
    checked(sd_bus_message_append_basic(message, type, value), kWriting);
    close(message);
  }
};

void appendVariant(sd_bus_message* message, const PropertyList& value) {
  std::visit(VariantWriter{message}, value.value());
}

void enter(sd_bus_message* message, char type, const char* contents) {
  if (checked(sd_bus_message_enter_container(message, type, contents), kReading) == 0) {
    throw BusError("Cannot read a notification: a value is missing");
  }
}

void leave(sd_bus_message* message) { checked(sd_bus_message_exit_container(message), kReading); }

template <typename T>
T readBasic(sd_bus_message* message, char type) {
  T value{};
  checked(sd_bus_message_read_basic(message, type, &value), kReading);
  return value;
}

PropertyList readBasicOf(const std::string& type, sd_bus_message* message) {
  if (type == "x") return readBasic<std::int64_t>(message, 'x');
  if (type == "t") {
    constexpr std::uint64_t limit = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min(readBasic<std::uint64_t>(message, 't'), limit));
  }
  if (type == "i") return readBasic<std::int32_t>(message, 'i');
  if (type == "u") return readBasic<std::uint32_t>(message, 'u');
  if (type == "n") return readBasic<std::int16_t>(message, 'n');
  if (type == "q") return readBasic<std::uint16_t>(message, 'q');
  if (type == "y") return readBasic<std::uint8_t>(message, 'y');
  if (type == "d") return readBasic<double>(message, 'd');
  if (type == "b") return readBasic<int>(message, 'b') != 0;
  if (type == "s") return readBasic<const char*>(message, 's');
  throw BusError(filledIn("Cannot read a notification: the type {} of a value has no counterpart", {type}));
}

Dictionary readDictionary(sd_bus_message* message, int depth);

PropertyList readVariant(sd_bus_message* message, int depth) {
  if (depth > kMaximumDepth) throw BusError("Cannot read a notification: it nests too deeply");
  const char* signature = nullptr;
  checked(sd_bus_message_peek_type(message, nullptr, &signature), kReading);
  if (signature == nullptr) throw BusError("Cannot read a notification: a value is missing");
  const std::string type = signature;
  enter(message, 'v', type.c_str());
  PropertyList value = [&]() -> PropertyList {
    if (type == "a{sv}") return readDictionary(message, depth + 1);
    if (type == "av") {
      Array array;
      enter(message, 'a', "v");
      while (checked(sd_bus_message_at_end(message, 0), kReading) == 0) {
        array.push_back(readVariant(message, depth + 1));
      }
      leave(message);
      return array;
    }
    if (type == "ay") {
      const void* bytes = nullptr;
      std::size_t size = 0;
      checked(sd_bus_message_read_array(message, 'y', &bytes, &size), kReading);
      const auto* first = static_cast<const std::uint8_t*>(bytes);
      return size == 0 ? Data{} : Data(first, first + size);
    }
    if (type == "(x)") {
      std::int64_t seconds = 0;
      checked(sd_bus_message_read(message, "(x)", &seconds), kReading);
      constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / 1'000'000;
      if (seconds > limit || seconds < -limit)
        throw BusError("Cannot read a notification: a date is out of range");
      return Date(std::chrono::seconds(seconds));
    }
    return readBasicOf(type, message);
  }();
  leave(message);
  return value;
}

Dictionary readDictionary(sd_bus_message* message, int depth) {
  Dictionary dictionary;
  enter(message, 'a', "{sv}");
  while (checked(sd_bus_message_enter_container(message, 'e', "sv"), kReading) > 0) {
    std::string key = readBasic<const char*>(message, 's');
    dictionary.emplace_back(std::move(key), readVariant(message, depth));
    leave(message);
  }
  leave(message);
  return dictionary;
}

}  // namespace

void appendDictionary(sd_bus_message* message, const Dictionary& dictionary) {
  open(message, 'a', "{sv}");
  for (const auto& [key, value] : dictionary) {
    open(message, 'e', "sv");
    checked(sd_bus_message_append_basic(message, 's', key.c_str()), kWriting);
    appendVariant(message, value);
    close(message);
  }
  close(message);
}

Dictionary readDictionary(sd_bus_message* message) { return readDictionary(message, 0); }

}  // namespace quorlin
