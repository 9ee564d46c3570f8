#include "programs/quorlinctl/commands/Arguments.h"

#include "platform/values/Owned.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include <fmt/format.h>
#include <glib.h>

namespace quorlin {
namespace {

constexpr double kShortestTimeoutSeconds = 0.001;
constexpr double kLongestTimeoutSeconds = 86400;

std::optional<std::chrono::milliseconds> durationOf(std::string_view text) {
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || stop != end) return std::nullopt;
  // Written so that NaN fails too.
  if (!(seconds >= kShortestTimeoutSeconds && seconds <= kLongestTimeoutSeconds)) return std::nullopt;
  return std::chrono::milliseconds(static_cast<std::chrono::milliseconds::rep>(seconds * 1000));
}

/// What GLib's parser fills in.
class Values {
 public:
  explicit Values(std::span<const Option> options) : options_(options), slots_(options.size()) {
    entries_.push_back({"help", 'h', 0, G_OPTION_ARG_NONE, &help_, nullptr, nullptr});
    // GLib converts every kind of text but file names.
    entries_.push_back({G_OPTION_REMAINING, 0, 0, G_OPTION_ARG_FILENAME_ARRAY, &operands_, nullptr, nullptr});
    for (std::size_t i = 0; i < options.size(); ++i) {
      const bool isFlag = options[i].kind == Option::Kind::Flag;
      entries_.push_back({options[i].name, 0, 0, isFlag ? G_OPTION_ARG_NONE : G_OPTION_ARG_FILENAME,
                          isFlag ? static_cast<gpointer>(&slots_[i].flag) : &slots_[i].text, nullptr,
                          nullptr});
    }
    entries_.push_back({});
  }
  ~Values() {
    g_strfreev(operands_);
    for (const Slot& slot : slots_) g_free(slot.text);
  }
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;

  const GOptionEntry* entries() const { return entries_.data(); }

  Result<ParsedArguments, UsageError> parsed() const {
    ParsedArguments parsed;
    parsed.help = help_ == TRUE;
    for (std::size_t i = 0; i < options_.size(); ++i) {
      const Option& option = options_[i];
      if (slots_[i].flag == TRUE) parsed.flags.insert(option.name);
      if (slots_[i].text == nullptr) continue;
      const auto duration = durationOf(slots_[i].text);
      if (!duration) {
        return UsageError{fmt::format("--{} takes {} to {} seconds, not '{}'", option.name,
                                      kShortestTimeoutSeconds, kLongestTimeoutSeconds, slots_[i].text)};
      }
      parsed.durations[option.name] = *duration;
    }
    for (gchar** operand = operands_; operand != nullptr && *operand != nullptr; ++operand) {
      parsed.operands.emplace_back(*operand);
    }
    return parsed;
  }

 private:
  struct Slot {
    gboolean flag = FALSE;
    gchar* text = nullptr;
  };

  std::span<const Option> options_;
  gboolean help_ = FALSE;
  gchar** operands_ = nullptr;
  std::vector<Slot> slots_;
  std::vector<GOptionEntry> entries_;
};

/// Whether GLib's parser would take an argument for more than it is: it ignores the value of a flag, and
/// knows the operands by an option with an empty name.
bool isMisleading(std::string_view argument, std::span<const Option> options) {
  const std::size_t equals = argument.find('=');
  if (!argument.starts_with("--") || equals == std::string_view::npos) return false;
  const std::string_view name = argument.substr(2, equals - 2);
  return std::ranges::none_of(options, [name](const Option& option) {
    return option.kind == Option::Kind::Seconds && option.name == name;
  });
}

UsageError unexpected(std::string_view argument) {
  return {fmt::format("Unexpected argument '{}'", argument)};
}

}  // namespace

Result<ParsedArguments, UsageError> parseArguments(Arguments arguments, std::span<const Option> options,
                                                   Operands operands) {
  Values values(options);
  const Owned<GOptionContext, g_option_context_free> context(g_option_context_new(nullptr));
  g_option_context_set_help_enabled(context.get(), FALSE);
  g_option_context_set_strict_posix(context.get(), operands.kind == Operands::Kind::Command);
  g_option_context_add_main_entries(context.get(), values.entries(), nullptr);

  for (const std::string_view argument : arguments) {
    const bool isCommand = operands.kind == Operands::Kind::Command && !argument.starts_with('-');
    if (argument == "--" || isCommand) break;
    if (isMisleading(argument, options)) return UsageError{fmt::format("Unknown option {}", argument)};
  }
  std::vector<std::string> copies = {"quorlinctl"};
  copies.insert(copies.end(), arguments.begin(), arguments.end());
  std::vector<char*> words;
  words.reserve(copies.size() + 1);
  for (std::string& copy : copies) words.push_back(copy.data());
  words.push_back(nullptr);
  auto count = static_cast<int>(copies.size());
  char** first = words.data();
  GError* error = nullptr;
  if (g_option_context_parse(context.get(), &count, &first, &error) == FALSE) {
    const Owned<GError, g_error_free> freed(error);
    return UsageError{error->message};
  }

  Result<ParsedArguments, UsageError> parsed = values.parsed();
  if (!parsed || parsed->help) return parsed;
  const std::vector<std::string>& given = parsed->operands;
  if (operands.kind == Operands::Kind::None && !given.empty()) return unexpected(given[0]);
  if (operands.kind != Operands::Kind::Command && given.size() > 1) return unexpected(given[1]);
  if (operands.kind == Operands::Kind::One && given.empty()) {
    return UsageError{fmt::format("Missing argument {}", operands.placeholder)};
  }
  return parsed;
}

}  // namespace quorlin
