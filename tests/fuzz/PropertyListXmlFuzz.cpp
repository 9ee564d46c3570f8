/// Any bytes as a property list in XML: a value within its bounds, or nothing.
#include "Require.h"
#include "platform/PropertyListXml.h"
#include "platform/values/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace {

using namespace quorlin;

void requireWellFormed(const PropertyList& value, int depth) {
  require(depth <= 65);
  if (const std::string* text = value.string()) require(isUtf8(*text));
  if (const Array* array = value.array()) {
    for (const PropertyList& element : *array) requireWellFormed(element, depth + 1);
  }
  if (const Dictionary* dictionary = value.dictionary()) {
    for (const auto& [key, element] : *dictionary) {
      require(isUtf8(key));
      requireWellFormed(element, depth + 1);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Data document(data, data + size);
  const std::optional<PropertyList> value = propertyListFromXml(document);
  if (value) requireWellFormed(*value, 0);
  // The same inside a list, so that most inputs get past its beginning.
  std::string text = "<plist><array>";
  text.append(data, data + size).append("</array></plist>");
  const std::optional<PropertyList> wrapped = propertyListFromXml(Data(text.begin(), text.end()));
  if (wrapped) requireWellFormed(*wrapped, 0);
  return 0;
}
