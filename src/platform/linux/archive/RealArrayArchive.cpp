#include "platform/linux/archive/RealArrayArchive.h"

#include <bit>
#include <cstddef>
#include <initializer_list>
#include <string_view>

namespace quorlin {
namespace {

/// The objects of the file before the elements, in the order in which they are written.
enum Object : std::size_t {
  kDocument,
  kArchiverKey,
  kObjectsKey,
  kTopKey,
  kVersionKey,
  kArchiver,
  kObjects,
  kTop,
  kVersion,
  kRootKey,
  kRoot,
  kNull,
  kInstance,
  kInstanceObjectsKey,
  kInstanceClassKey,
  kInstanceObjects,
  kInstanceClass,
  kClass,
  kClassNameKey,
  kClassesKey,
  kClassName,
  kClasses,
  kBaseClassName,
  kFirstElement,  // as many references as there are values, then the values
};

/// A binary property list: a header, the objects, their offsets, a trailer. Each object begins with a byte of
/// its kind in the upper half and its size in the lower, or 15 and the size as an integer object. All numbers
/// are big-endian.
class Writer {
 public:
  explicit Writer(std::size_t objects) : referenceSize_(bytesFor(objects)) {
    bytes_.reserve(256 + objects * 16);
    offsets_.reserve(objects);
    append("bplist00");
  }

  void strings(std::initializer_list<std::string_view> texts) {
    for (const std::string_view ascii : texts) {
      begin(0x5, ascii.size());
      append(ascii);
    }
  }
  void integer(std::uint32_t value) {
    begin(0x1, 2);
    number(value, 4);
  }
  void real(double value) {
    begin(0x2, 3);
    number(std::bit_cast<std::uint64_t>(value), 8);
  }
  void uid(std::size_t value) {
    const std::size_t size = bytesFor(value);
    begin(0x8, size - 1);
    number(value, size);
  }
  void dictionary(std::initializer_list<std::size_t> keys, std::initializer_list<std::size_t> values) {
    begin(0xD, keys.size());
    for (const std::size_t key : keys) reference(key);
    for (const std::size_t value : values) reference(value);
  }
  /// As many references follow.
  void array(std::size_t size) { begin(0xA, size); }
  void reference(std::size_t object) { number(object, referenceSize_); }

  Data finish() && {
    const std::size_t table = bytes_.size();
    const std::size_t offsetSize = bytesFor(table);
    for (const std::size_t offset : offsets_) number(offset, offsetSize);
    number(0, 6);
    number(offsetSize, 1);
    number(referenceSize_, 1);
    number(offsets_.size(), 8);
    number(kDocument, 8);
    number(table, 8);
    return std::move(bytes_);
  }

 private:
  static std::size_t bytesFor(std::size_t value) { return value < 0x100 ? 1 : value < 0x10000 ? 2 : 4; }

  void append(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }

  void number(std::uint64_t value, std::size_t size) {
    for (std::size_t i = size; i > 0; --i)
      bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * (i - 1))));
  }

  void begin(std::uint8_t kind, std::size_t size) {
    offsets_.push_back(bytes_.size());
    const auto upper = static_cast<std::uint8_t>(kind << 4U);
    if (size < 15) {
      bytes_.push_back(static_cast<std::uint8_t>(upper | size));
      return;
    }
    bytes_.push_back(upper | 0xFU);
    bytes_.push_back(0x12);  // an integer of four bytes
    number(size, 4);
  }

  std::size_t referenceSize_;
  Data bytes_;
  std::vector<std::size_t> offsets_;
};

}  // namespace

Data archivedArrayOfReals(const std::vector<double>& values) {
  const std::size_t firstValue = kFirstElement + values.size();
  Writer writer(firstValue + values.size());

  writer.dictionary({kArchiverKey, kObjectsKey, kTopKey, kVersionKey}, {kArchiver, kObjects, kTop, kVersion});
  writer.strings({"$archiver", "$objects", "$top", "$version", "NSKeyedArchiver"});

  // References within the archive count in this array: the null object, the instance, its elements, its
  // class.
  constexpr std::size_t instance = 1;
  constexpr std::size_t firstElement = 2;
  writer.array(values.size() + 3);
  writer.reference(kNull);
  writer.reference(kInstance);
  for (std::size_t i = 0; i < values.size(); ++i) writer.reference(firstValue + i);
  writer.reference(kClass);

  writer.dictionary({kRootKey}, {kRoot});
  writer.integer(100000);
  writer.strings({"root"});
  writer.uid(instance);

  writer.strings({"$null"});
  writer.dictionary({kInstanceObjectsKey, kInstanceClassKey}, {kInstanceObjects, kInstanceClass});
  writer.strings({"NS.objects", "$class"});
  writer.array(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) writer.reference(kFirstElement + i);
  writer.uid(firstElement + values.size());

  writer.dictionary({kClassNameKey, kClassesKey}, {kClassName, kClasses});
  writer.strings({"$classname", "$classes", "NSArray"});
  writer.array(2);
  writer.reference(kClassName);
  writer.reference(kBaseClassName);
  writer.strings({"NSObject"});

  for (std::size_t i = 0; i < values.size(); ++i) writer.uid(firstElement + i);
  for (const double value : values) writer.real(value);
  return std::move(writer).finish();
}

}  // namespace quorlin
