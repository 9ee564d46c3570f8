#include "platform/values/PropertyList.h"

#include <algorithm>

namespace quorlin {

bool operator==(const PropertyList& left, const PropertyList& right) {
  if (left.value().index() != right.value().index()) return false;
  if (left.data() != nullptr) return *left.data() == *right.data();
  if (left.array() != nullptr) return *left.array() == *right.array();
  if (left.dictionary() != nullptr) return *left.dictionary() == *right.dictionary();
  return left.value() == right.value();
}

const PropertyList* find(const Dictionary& dictionary, std::string_view key) {
  const auto entry = std::ranges::find(dictionary, key, &Dictionary::value_type::first);
  return entry == dictionary.end() ? nullptr : &entry->second;
}

}  // namespace quorlin
