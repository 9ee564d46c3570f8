/// Property lists in XML, read with GLib's markup parser. libplist 2.2 would need time in the square of the
/// number of entities and elements, and end at a few thousand levels for want of stack.
#include "platform/PropertyListXml.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Owned.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

#include <glib.h>

namespace quorlin {
namespace {

constexpr std::size_t kMaximumSize = std::size_t{8} << 20U;
constexpr std::size_t kMaximumDepth = 64;

/// Stops the parser.
void fail(GError** error) {
  g_set_error_literal(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "not a property list");
}

std::string_view withoutPlus(std::string_view text) {
  return text.starts_with('+') && !text.starts_with("+-") ? text.substr(1) : text;
}

std::optional<PropertyList> realOf(std::string_view text) {
  text = withoutPlus(text);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// A decimal number that 64 bits with a sign do not hold becomes a real.
std::optional<PropertyList> integerOf(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    const auto number = wholeNumber<std::uint64_t, 16>(text.substr(2));
    return number ? std::optional<PropertyList>(static_cast<std::int64_t>(*number)) : std::nullopt;
  }
  if (const auto number = wholeNumber<std::int64_t>(withoutPlus(text))) return *number;
  return text.find_first_not_of("+-0123456789") == std::string_view::npos ? realOf(text) : std::nullopt;
}

std::optional<PropertyList> dateOf(const std::string& text) {
  const Owned<GDateTime, g_date_time_unref> date(g_date_time_new_from_iso8601(text.c_str(), nullptr));
  if (!date) return std::nullopt;
  return PropertyList(Date(std::chrono::seconds(g_date_time_to_unix(date.get()))));
}

std::optional<PropertyList> dataOf(const std::string& text) {
  const bool isBase64 = std::ranges::all_of(text, [](unsigned char character) {
    return g_ascii_isalnum(character) || g_ascii_isspace(character) || character == '+' || character == '/' ||
           character == '=';
  });
  if (!isBase64) return std::nullopt;
  gsize size = 0;
  const Owned<guchar, g_free> bytes(g_base64_decode(text.c_str(), &size));
  return Data(bytes.get(), bytes.get() + size);
}

/// The value of an element that holds no others.
std::optional<PropertyList> leafOf(std::string_view element, const std::string& text) {
  if (element == "string") return text;
  if (element == "data") return dataOf(text);
  const std::string inner(trimmed(text));
  if (element == "integer") return integerOf(inner);
  if (element == "date") return dateOf(inner);
  if (element == "true" || element == "false") {
    return inner.empty() ? std::optional<PropertyList>(element == "true") : std::nullopt;
  }
  return element == "real" ? realOf(inner) : std::nullopt;
}

/// Builds the value while the parser goes through the document. Each step returns whether it fits.
class Builder {
 public:
  bool start(std::string_view element) {
    if (!leaf_.empty()) return false;
    if (!inPlist_) return !root_ && (inPlist_ = element == "plist");
    if (element == "key") {
      if (open_.empty() || !open_.back().isDictionary || open_.back().key) return false;
    } else if (!takesValue()) {
      return false;
    } else if (element == "array" || element == "dict") {
      open_.emplace_back().isDictionary = element == "dict";
      return open_.size() <= kMaximumDepth;
    }
    leaf_ = element;
    text_.clear();
    return true;
  }

  bool text(std::string_view text) {
    if (leaf_.empty()) return trimmed(text).empty();
    text_ += text;
    return true;
  }

  bool end() {
    const std::string leaf = std::exchange(leaf_, {});
    if (leaf == "key") {
      open_.back().key = text_;
      return true;
    }
    if (!leaf.empty()) return add(leafOf(leaf, text_));
    if (open_.empty()) {
      inPlist_ = false;
      return root_.has_value();
    }
    Collection collection = std::move(open_.back());
    open_.pop_back();
    if (collection.key) return false;
    return add(collection.isDictionary ? PropertyList(std::move(collection.dictionary))
                                       : PropertyList(std::move(collection.array)));
  }

  std::optional<PropertyList> take() && { return std::move(root_); }

 private:
  struct Collection {
    bool isDictionary = false;
    std::optional<std::string> key;
    Array array;
    Dictionary dictionary;
  };

  bool takesValue() const {
    if (open_.empty()) return !root_;
    return !open_.back().isDictionary || open_.back().key;
  }

  bool add(std::optional<PropertyList> value) {
    if (!value) return false;
    if (open_.empty()) {
      root_ = std::move(value);
    } else if (open_.back().isDictionary) {
      open_.back().dictionary.emplace_back(*std::exchange(open_.back().key, std::nullopt), *std::move(value));
    } else {
      open_.back().array.push_back(*std::move(value));
    }
    return true;
  }

  bool inPlist_ = false;
  std::string leaf_;
  std::string text_;
  std::vector<Collection> open_;
  std::optional<PropertyList> root_;
};

}  // namespace

std::optional<PropertyList> propertyListFromXml(const Data& document) {
  if (document.empty() || document.size() > kMaximumSize) return std::nullopt;
  constexpr GMarkupParser parser = {
      .start_element =
          [](GMarkupParseContext*, const gchar* element, const gchar**, const gchar**, gpointer builder,
             GError** error) {
            if (!static_cast<Builder*>(builder)->start(element)) fail(error);
          },
      .end_element =
          [](GMarkupParseContext*, const gchar*, gpointer builder, GError** error) {
            if (!static_cast<Builder*>(builder)->end()) fail(error);
          },
      .text =
          [](GMarkupParseContext*, const gchar* text, gsize size, gpointer builder, GError** error) {
            if (!static_cast<Builder*>(builder)->text({text, size})) fail(error);
          },
      .passthrough = nullptr,
      .error = nullptr};
  Builder builder;
  const Owned<GMarkupParseContext, g_markup_parse_context_free> context(
      g_markup_parse_context_new(&parser, G_MARKUP_TREAT_CDATA_AS_TEXT, &builder, nullptr));
  std::string_view text(reinterpret_cast<const char*>(document.data()), document.size());
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // which only marks it as UTF-8
  const bool isWhole = g_markup_parse_context_parse(context.get(), text.data(),
                                                    static_cast<gssize>(text.size()), nullptr) != 0 &&
                       g_markup_parse_context_end_parse(context.get(), nullptr) != 0;
  return isWhole ? std::move(builder).take() : std::nullopt;
}

}  // namespace quorlin
