/// The one way in which something that can fail says that it did.
#pragma once

#include "platform/values/Sentence.h"

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace quorlin {

/// A failure, described for people and for the code that handles it.
struct Trouble {
  /// A sentence without its point. {} stands for the place: "{} cannot be read".
  std::string what;
  /// The file, service or program; empty in a sentence without {}.
  std::string where = {};
  /// The reason; empty if it is unknown.
  std::string why = {};
  /// The reason's number in errno.h; 0 if it has none.
  int error = 0;

  std::string text() const {
    const std::string text = where.empty() ? what : filledIn(what, {where});
    return why.empty() ? text : filledIn("{}: {}", {text, why});
  }
};

/// A value, or the trouble in its place, with the names of std::expected, which C++20 lacks. What can fail
/// and has no value to give returns an optional Trouble.
template <typename Value, typename Error = Trouble>
class [[nodiscard]] Result {
 public:
  Result(Value value) : held_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : held_(std::in_place_index<1>, std::move(error)) {}

  explicit operator bool() const { return held_.index() == 0; }

  /// These four need a value.
  const Value& operator*() const& { return *std::get_if<0>(&held_); }
  Value& operator*() & { return *std::get_if<0>(&held_); }
  Value&& operator*() && { return std::move(*std::get_if<0>(&held_)); }
  const Value* operator->() const { return std::get_if<0>(&held_); }
  Value* operator->() { return std::get_if<0>(&held_); }

  Value value_or(Value other) const& { return *this ? **this : std::move(other); }
  Value value_or(Value other) && { return *this ? *std::move(*this) : std::move(other); }

  /// Needs a trouble.
  const Error& error() const { return *std::get_if<1>(&held_); }

 private:
  std::variant<Value, Error> held_;
};

}  // namespace quorlin
