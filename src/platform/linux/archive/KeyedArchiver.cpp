/// Keyed archives with libplist. The graph is the one that other implementations read: "$objects" holds each
/// object once, references are UIDs into it, "$top" names the root.
#include "platform/KeyedArchiver.h"

#include "platform/linux/archive/RealArrayArchive.h"
#include "platform/values/Owned.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <plist/plist.h>

namespace quorlin {
namespace {

using Plist = Owned<void, plist_free>;

/// Seconds between 1970 and 2001, from which archived dates count.
constexpr double kReferenceDateOffset = 978307200.0;

class Archiver {
 public:
  Archiver() : objects_(plist_new_array()) { addObject(plist_new_string("$null")); }

  Data archive(const PropertyList& value) && {
    const std::uint64_t root = add(value);
    const Plist archive(plist_new_dict());
    plist_dict_set_item(archive.get(), "$version", plist_new_uint(100000));
    plist_dict_set_item(archive.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
    plist_t top = plist_new_dict();
    plist_dict_set_item(top, "root", plist_new_uid(root));
    plist_dict_set_item(archive.get(), "$top", top);
    plist_dict_set_item(archive.get(), "$objects", objects_.release());

    char* bytes = nullptr;
    std::uint32_t size = 0;
    plist_to_bin(archive.get(), &bytes, &size);
    Data data(bytes, bytes + size);
    plist_to_bin_free(bytes);
    return data;
  }

 private:
  std::uint64_t addObject(plist_t object) {
    plist_array_append_item(objects_.get(), object);
    return count_++;
  }

  std::uint64_t add(const PropertyList& value) {
    return std::visit([this](const auto& held) { return add(held); }, value.value());
  }
  /// libplist 2.2 writes a negative integer as a positive one of 128 bits, so that becomes a real.
  std::uint64_t add(std::int64_t number) {
    return addObject(number < 0 ? plist_new_real(static_cast<double>(number))
                                : plist_new_uint(static_cast<std::uint64_t>(number)));
  }
  std::uint64_t add(double number) { return addObject(plist_new_real(number)); }
  std::uint64_t add(bool flag) { return addObject(plist_new_bool(flag ? 1 : 0)); }
  std::uint64_t add(const std::string& text) { return addObject(plist_new_string(text.c_str())); }
  std::uint64_t add(const PropertyList::SharedData& data) {
    return addObject(plist_new_data(reinterpret_cast<const char*>(data->data()), data->size()));
  }
  std::uint64_t add(Date date) {
    plist_t object = plist_new_dict();
    const std::uint64_t index = addObject(object);
    const double seconds = std::chrono::duration<double>(date.time_since_epoch()).count();
    plist_dict_set_item(object, "NS.time", plist_new_real(seconds - kReferenceDateOffset));
    setClass(object, "NSDate", dateClass_);
    return index;
  }
  std::uint64_t add(const PropertyList::SharedArray& array) {
    plist_t object = plist_new_dict();
    const std::uint64_t index = addObject(object);
    plist_t elements = plist_new_array();
    plist_dict_set_item(object, "NS.objects", elements);
    for (const PropertyList& element : *array) plist_array_append_item(elements, plist_new_uid(add(element)));
    setClass(object, "NSArray", arrayClass_);
    return index;
  }
  std::uint64_t add(const PropertyList::SharedDictionary& dictionary) {
    plist_t object = plist_new_dict();
    const std::uint64_t index = addObject(object);
    plist_t keys = plist_new_array();
    plist_t values = plist_new_array();
    plist_dict_set_item(object, "NS.keys", keys);
    plist_dict_set_item(object, "NS.objects", values);
    for (const auto& [key, value] : *dictionary) {
      plist_array_append_item(keys, plist_new_uid(add(key)));
      plist_array_append_item(values, plist_new_uid(add(value)));
    }
    setClass(object, "NSDictionary", dictionaryClass_);
    return index;
  }

  /// Each class is described once, when its first object has been written.
  void setClass(plist_t object, const char* name, std::uint64_t& known) {
    if (known == 0) {
      plist_t description = plist_new_dict();
      plist_dict_set_item(description, "$classname", plist_new_string(name));
      plist_t hierarchy = plist_new_array();
      plist_array_append_item(hierarchy, plist_new_string(name));
      plist_array_append_item(hierarchy, plist_new_string("NSObject"));
      plist_dict_set_item(description, "$classes", hierarchy);
      known = addObject(description);
    }
    plist_dict_set_item(object, "$class", plist_new_uid(known));
  }

  Plist objects_;
  std::uint64_t count_ = 0;
  std::uint64_t arrayClass_ = 0;
  std::uint64_t dictionaryClass_ = 0;
  std::uint64_t dateClass_ = 0;
};

/// What one of libplist's functions says of a node.
template <typename Value>
Value valueOf(plist_t node, void (*get)(plist_t, Value*)) {
  Value value{};
  get(node, &value);
  return value;
}

/// Follows references. An archive from outside may refer in circles or to one object a million times, so
/// depth and size are bounded.
class Unarchiver {
 public:
  explicit Unarchiver(plist_t objects) : objects_(objects) {}

  std::optional<PropertyList> object(plist_t reference, int depth = 0) {
    if (depth > kMaximumDepth || ++visited_ > kMaximumObjects) return std::nullopt;
    if (plist_get_node_type(reference) != PLIST_UID) return std::nullopt;
    const std::uint64_t index = valueOf(reference, plist_get_uid_val);
    if (index == 0 || index >= plist_array_get_size(objects_)) return std::nullopt;
    plist_t node = plist_array_get_item(objects_, static_cast<std::uint32_t>(index));
    switch (plist_get_node_type(node)) {
      case PLIST_BOOLEAN:
        return PropertyList(valueOf(node, plist_get_bool_val) != 0);
      case PLIST_UINT:
        return PropertyList(static_cast<std::int64_t>(valueOf(node, plist_get_uint_val)));
      case PLIST_REAL:
        return PropertyList(valueOf(node, plist_get_real_val));
      case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return PropertyList(std::string(text, length));
      }
      case PLIST_DATA: {
        std::uint64_t length = 0;
        const char* bytes = plist_get_data_ptr(node, &length);
        return PropertyList(Data(bytes, bytes + length));
      }
      case PLIST_DICT:
        return instance(node, depth);
      default:
        return std::nullopt;
    }
  }

 private:
  static constexpr int kMaximumDepth = 32;
  static constexpr int kMaximumObjects = 1'000'000;

  std::optional<PropertyList> instance(plist_t node, int depth) {
    if (plist_t time = plist_dict_get_item(node, "NS.time")) return date(time);
    plist_t values = plist_dict_get_item(node, "NS.objects");
    if (plist_get_node_type(values) != PLIST_ARRAY) return std::nullopt;
    plist_t keys = plist_dict_get_item(node, "NS.keys");
    if (keys == nullptr) return array(values, depth);
    if (plist_get_node_type(keys) != PLIST_ARRAY) return std::nullopt;
    return dictionary(keys, values, depth);
  }

  static std::optional<PropertyList> date(plist_t time) {
    if (plist_get_node_type(time) != PLIST_REAL) return std::nullopt;
    const double microseconds = (valueOf(time, plist_get_real_val) + kReferenceDateOffset) * 1e6;
    // The negation refuses not-a-number too.
    if (!(std::abs(microseconds) < 9e18)) return std::nullopt;
    return PropertyList(Date(std::chrono::microseconds(static_cast<std::int64_t>(microseconds))));
  }

  std::optional<PropertyList> array(plist_t values, int depth) {
    Array array;
    for (std::uint32_t i = 0; i < plist_array_get_size(values); ++i) {
      std::optional<PropertyList> element = object(plist_array_get_item(values, i), depth + 1);
      if (!element) return std::nullopt;
      array.push_back(*std::move(element));
    }
    return PropertyList(std::move(array));
  }

  std::optional<PropertyList> dictionary(plist_t keys, plist_t values, int depth) {
    if (plist_array_get_size(keys) != plist_array_get_size(values)) return std::nullopt;
    Dictionary dictionary;
    for (std::uint32_t i = 0; i < plist_array_get_size(keys); ++i) {
      const std::optional<PropertyList> key = object(plist_array_get_item(keys, i), depth + 1);
      std::optional<PropertyList> value = object(plist_array_get_item(values, i), depth + 1);
      if (!key || key->string() == nullptr || !value) return std::nullopt;
      dictionary.emplace_back(*key->string(), *std::move(value));
    }
    return PropertyList(std::move(dictionary));
  }

  plist_t objects_;
  int visited_ = 0;
};

/// The values of an array of reals alone.
std::optional<std::vector<double>> arrayOfReals(const PropertyList& root) {
  const Array* array = root.array();
  if (array == nullptr) return std::nullopt;
  std::vector<double> values;
  values.reserve(array->size());
  for (const PropertyList& element : *array) {
    if (element.real() == nullptr) return std::nullopt;
    values.push_back(*element.real());
  }
  return values;
}

}  // namespace

Data archivedDataWithRootObject(const PropertyList& root) {
  const std::optional<std::vector<double>> reals = arrayOfReals(root);
  return reals ? archivedArrayOfReals(*reals) : Archiver().archive(root);
}

std::optional<PropertyList> unarchiveRootObject(const Data& archive) {
  if (archive.size() > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  const auto* bytes = reinterpret_cast<const char*>(archive.data());
  const auto size = static_cast<std::uint32_t>(archive.size());
  if (plist_is_binary(bytes, size) == 0) return std::nullopt;
  plist_t parsed = nullptr;
  plist_from_bin(bytes, size, &parsed);
  const Plist document(parsed);
  // In what is no dictionary, or not there, libplist finds nothing.
  plist_t objects = plist_dict_get_item(parsed, "$objects");
  if (plist_get_node_type(objects) != PLIST_ARRAY) return std::nullopt;
  return Unarchiver(objects).object(plist_dict_get_item(plist_dict_get_item(parsed, "$top"), "root"));
}

}  // namespace quorlin
