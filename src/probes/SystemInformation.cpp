#include "probes/SystemInformation.h"

#include "core/AppDelegate.h"
#include "platform/PropertyListXml.h"

namespace quorlin {
namespace {

const PropertyList* valueOf(const PropertyList& value, std::string_view key) {
  const Dictionary* dictionary = value.dictionary();
  return dictionary == nullptr ? nullptr : find(*dictionary, key);
}

}  // namespace

std::string processorNameFromProfile(const Data& profile) {
  const std::optional<PropertyList> parsed = propertyListFromXml(profile);
  const Array* dataTypes = parsed ? parsed->array() : nullptr;
  if (dataTypes == nullptr || dataTypes->empty()) return {};
  const PropertyList* items = valueOf(dataTypes->front(), "_items");
  const Array* machines = items == nullptr ? nullptr : items->array();
  if (machines == nullptr || machines->size() != 1) return {};
  const PropertyList* name = valueOf(machines->front(), "cpu_type");
  if (name == nullptr) name = valueOf(machines->front(), "chip_type");
  const std::string* text = name == nullptr ? nullptr : name->string();
  return text == nullptr ? std::string() : *text;
}

void AppDelegate::askSytemInfo() {
  processorName_.clear();
  const std::optional<Data> profile =
      services_.taskLauncher.standardOutputOf("/bin/sh", {"-c", std::string(kHardwareProfileCommand)});
  if (profile) processorName_ = processorNameFromProfile(*profile);
}

}  // namespace quorlin
