/// Property-list values: what notifications carry and keyed archives hold.
#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quorlin {

class PropertyList;

using Data = std::vector<std::uint8_t>;
using Date = std::chrono::sys_time<std::chrono::microseconds>;
using Array = std::vector<PropertyList>;

/// Entries in the order in which they were added. Its builder adds each key once.
using Dictionary = std::vector<std::pair<std::string, PropertyList>>;

/// One immutable value. Arrays, dictionaries and data are shared between copies, so that the same
/// collection can go into several notifications at the price of a reference count.
class PropertyList {
 public:
  using SharedArray = std::shared_ptr<const Array>;
  using SharedDictionary = std::shared_ptr<const Dictionary>;
  using SharedData = std::shared_ptr<const Data>;
  using Value =
      std::variant<std::int64_t, double, bool, std::string, SharedData, Date, SharedArray, SharedDictionary>;

  template <std::integral T>
  requires(!std::same_as<T, bool>) PropertyList(T number) : value_(static_cast<std::int64_t>(number)) {}
  template <std::same_as<bool> T>
  PropertyList(T flag) : value_(flag) {}
  PropertyList(double number) : value_(number) {}
  PropertyList(std::string text) : value_(std::move(text)) {}
  PropertyList(std::string_view text) : value_(std::string(text)) {}
  PropertyList(const char* text) : value_(std::string(text)) {}
  PropertyList(Date date) : value_(date) {}
  PropertyList(Data data) : value_(std::make_shared<const Data>(std::move(data))) {}
  PropertyList(Array array) : value_(std::make_shared<const Array>(std::move(array))) {}
  PropertyList(Dictionary dictionary) : value_(std::make_shared<const Dictionary>(std::move(dictionary))) {}
  PropertyList(SharedData data) : value_(std::move(data)) {}
  PropertyList(SharedArray array) : value_(std::move(array)) {}
  PropertyList(SharedDictionary dictionary) : value_(std::move(dictionary)) {}

  const Value& value() const { return value_; }

  /// Null when the value is of another kind.
  const std::int64_t* integer() const { return std::get_if<std::int64_t>(&value_); }
  const double* real() const { return std::get_if<double>(&value_); }
  const bool* boolean() const { return std::get_if<bool>(&value_); }
  const std::string* string() const { return std::get_if<std::string>(&value_); }
  const Data* data() const { return pointee<SharedData>(); }
  const Array* array() const { return pointee<SharedArray>(); }
  const Dictionary* dictionary() const { return pointee<SharedDictionary>(); }

 private:
  template <typename Shared>
  auto pointee() const -> decltype(std::declval<Shared>().get()) {
    const auto* shared = std::get_if<Shared>(&value_);
    return shared == nullptr ? nullptr : shared->get();
  }

  Value value_;
};

/// Deep comparison; collections are equal when their elements are, in the same order.
bool operator==(const PropertyList& left, const PropertyList& right);

/// The value under a key, or null.
const PropertyList* find(const Dictionary& dictionary, std::string_view key);

}  // namespace quorlin
