/// Sentences for people.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace quorlin {

/// The sentence with its values in place of the {}, in their order. It stands whole in the source, so that it
/// can be translated.
inline std::string filledIn(std::string_view sentence, std::initializer_list<std::string_view> values) {
  constexpr std::string_view placeholder = "{}";
  std::string text;
  for (const std::string_view value : values) {
    const std::size_t length = sentence.find(placeholder);
    if (length == std::string_view::npos) break;
    text.append(sentence.substr(0, length)).append(value);
    sentence.remove_prefix(length + placeholder.size());
  }
  return text.append(sentence);
}

}  // namespace quorlin
