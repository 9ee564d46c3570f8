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
  for (const char* const key : {"cpu_type", "chip_type"}) {
    const PropertyList* const name = valueOf(machines->front(), key);
    if (name != nullptr && name->string() != nullptr) return *name->string();
  }
  return {};
}

void AppDelegate::askSytemInfo() {
  processorName_.clear();
  const std::optional<Data> profile =
      services_.taskLauncher.standardOutputOf("/bin/sh", {"-c", std::string(kHardwareProfileCommand)});
  if (profile) processorName_ = processorNameFromProfile(*profile);
}

}  // namespace quorlin
