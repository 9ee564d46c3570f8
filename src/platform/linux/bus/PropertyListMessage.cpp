#include "platform/linux/bus/PropertyListMessage.h"

#include "platform/linux/bus/Bus.h"

#include <cstring>
#include <limits>

namespace quorlin {
namespace {

constexpr int kMaximumDepth = 32;

std::int64_t secondsOf(Date date) {
  return std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
}

void open(sd_bus_message* message, char type, const char* contents) {
  checked(sd_bus_message_open_container(message, type, contents), "Cannot write a notification");
}

void close(sd_bus_message* message) {
  checked(sd_bus_message_close_container(message), "Cannot write a notification");
}

void basic(sd_bus_message* message, char type, const void* value) {
  checked(sd_bus_message_append_basic(message, type, value), "Cannot write a notification");
}

void appendVariant(sd_bus_message* message, const PropertyList& value);

/// Appends one value as a variant of the matching type.
struct VariantWriter {
  sd_bus_message* message;

  void operator()(std::int64_t number) const { appendBasic('x', "x", &number); }
  void operator()(double number) const { appendBasic('d', "d", &number); }
  void operator()(bool flag) const {
    const int value = flag ? 1 : 0;
    appendBasic('b', "b", &value);
  }
  void operator()(const std::string& text) const { appendBasic('s', "s", text.c_str()); }
  void operator()(const PropertyList::SharedData& data) const {
    open(message, 'v', "ay");
    checked(sd_bus_message_append_array(message, 'y', data->data(), data->size()),
            "Cannot write a notification");
    close(message);
  }
  void operator()(Date date) const {
    const std::int64_t seconds = secondsOf(date);
    open(message, 'v', "(x)");
    open(message, 'r', "x");
    basic(message, 'x', &seconds);
    close(message);
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
  void appendBasic(char type, const char* signature, const void* value) const {
    open(message, 'v', signature);
    basic(message, type, value);
    close(message);
  }
};

void appendVariant(sd_bus_message* message, const PropertyList& value) {
  std::visit(VariantWriter{message}, value.value());
}

void enter(sd_bus_message* message, char type, const char* contents) {
  if (checked(sd_bus_message_enter_container(message, type, contents), "Cannot read a notification") == 0) {
    throw BusError("Cannot read a notification: a value is missing");
  }
}

void leave(sd_bus_message* message) {
  checked(sd_bus_message_exit_container(message), "Cannot read a notification");
}

template <typename T>
T readBasic(sd_bus_message* message, char type) {
  T value{};
  checked(sd_bus_message_read_basic(message, type, &value), "Cannot read a notification");
  return value;
}

Dictionary readDictionary(sd_bus_message* message, int depth);

PropertyList readArray(sd_bus_message* message, int depth);

PropertyList readVariant(sd_bus_message* message, int depth) {
  if (depth > kMaximumDepth) throw BusError("Cannot read a notification: it nests too deeply");
  const char* signature = nullptr;
  checked(sd_bus_message_peek_type(message, nullptr, &signature), "Cannot read a notification");
  if (signature == nullptr) throw BusError("Cannot read a notification: a value is missing");
  const std::string type = signature;
  enter(message, 'v', type.c_str());
  PropertyList value = [&]() -> PropertyList {
    if (type == "a{sv}") return readDictionary(message, depth + 1);
    if (type == "av") return readArray(message, depth + 1);
    if (type == "ay") {
      const void* bytes = nullptr;
      std::size_t size = 0;
      checked(sd_bus_message_read_array(message, 'y', &bytes, &size), "Cannot read a notification");
      const auto* first = static_cast<const std::uint8_t*>(bytes);
      return size == 0 ? Data{} : Data(first, first + size);
    }
    if (type == "(x)") {
      enter(message, 'r', "x");
      const auto seconds = readBasic<std::int64_t>(message, 'x');
      leave(message);
      constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / 1'000'000;
      if (seconds > limit || seconds < -limit)
        throw BusError("Cannot read a notification: a date is out of range");
      return Date(std::chrono::seconds(seconds));
    }
    switch (type.size() == 1 ? type.front() : '\0') {
      case 'x':
        return readBasic<std::int64_t>(message, 'x');
      case 't': {
        const auto number = readBasic<std::uint64_t>(message, 't');
        constexpr auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        return static_cast<std::int64_t>(std::min(number, limit));
      }
      case 'i':
        return readBasic<std::int32_t>(message, 'i');
      case 'u':
        return readBasic<std::uint32_t>(message, 'u');
      case 'n':
        return readBasic<std::int16_t>(message, 'n');
      case 'q':
        return readBasic<std::uint16_t>(message, 'q');
      case 'y':
        return readBasic<std::uint8_t>(message, 'y');
      case 'd':
        return readBasic<double>(message, 'd');
      case 'b':
        return readBasic<int>(message, 'b') != 0;
      case 's':
        return readBasic<const char*>(message, 's');
      default:
        throw BusError("Cannot read a notification: a value of type " + type + " has no counterpart");
    }
  }();
  leave(message);
  return value;
}

PropertyList readArray(sd_bus_message* message, int depth) {
  Array array;
  enter(message, 'a', "v");
  while (checked(sd_bus_message_at_end(message, 0), "Cannot read a notification") == 0) {
    array.push_back(readVariant(message, depth));
  }
  leave(message);
  return array;
}

Dictionary readDictionary(sd_bus_message* message, int depth) {
  Dictionary dictionary;
  enter(message, 'a', "{sv}");
  while (checked(sd_bus_message_at_end(message, 0), "Cannot read a notification") == 0) {
    enter(message, 'e', "sv");
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
    basic(message, 's', key.c_str());
    appendVariant(message, value);
    close(message);
  }
  close(message);
}

Dictionary readDictionary(sd_bus_message* message) { return readDictionary(message, 0); }

}  // namespace quorlin
