#include "platform/values/Parsing.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/terminal/TerminalText.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr int kColumns = 80;
constexpr int kIndent = 2;
constexpr const char* kHelpDescription = "Show this help.";

/// A name and its meaning.
using Entry = std::pair<std::string, const char*>;

/// The meanings form a second column.
std::string textOf(const std::vector<Entry>& entries) {
  std::size_t width = 0;
  for (const auto& [name, meaning] : entries) width = std::max(width, name.size());
  const int start = kIndent + static_cast<int>(width) + kIndent;
  std::string text;
  for (const auto& [name, meaning] : entries) {
    std::string_view shown = name;
    for (const std::string_view line : linesOf(meaning, kColumns - start, Charset::Ascii)) {
      text += fmt::format("{0:{1}}{2:{3}}{0:{1}}{4}\n", "", kIndent, std::exchange(shown, ""), width, line);
    }
  }
  return text;
}

std::string paragraphs(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    for (const std::string_view line : linesOf(takeUntil('\n', text), kColumns, Charset::Ascii)) {
      result.append(line).append("\n");
    }
    result += "\n";
  }
  return result;
}

std::string nameOf(const Option& option) {
  return fmt::format("--{}{}", option.name, option.kind == Option::Kind::Seconds ? " SECONDS" : "");
}

std::string usageOf(const Subcommand& subcommand) {
  std::string usage = fmt::format("Usage: quorlinctl {}", subcommand.name);
  for (const Option& option : subcommand.options) usage += fmt::format(" [{}]", nameOf(option));
  const auto [kind, placeholder] = subcommand.operands;
  if (kind == Operands::Kind::One) usage += fmt::format(" {}", placeholder);
  if (kind == Operands::Kind::AtMostOne) usage += fmt::format(" [{}]", placeholder);
  if (kind == Operands::Kind::Command) usage += fmt::format(" [--] {}...", placeholder);
  return usage + "\n\n";
}

}  // namespace

std::string helpOfProgram() {
  std::vector<Entry> entries;
  for (const Subcommand& subcommand : subcommands())
    entries.emplace_back(subcommand.name, subcommand.summary);
  return fmt::format("Usage: quorlinctl SUBCOMMAND [ARGUMENT...]\n\n{}\nOptions:\n{}\n{}\n", textOf(entries),
                     textOf({{"-h, --help", kHelpDescription}, {"--version", "Show the version."}}),
                     "quorlinctl SUBCOMMAND --help describes a subcommand.");
}

std::string helpOf(const Subcommand& subcommand) {
  std::vector<Entry> options;
  for (const Option& option : subcommand.options) options.emplace_back(nameOf(option), option.description);
  options.emplace_back("-h, --help", kHelpDescription);
  std::string description = paragraphs(subcommand.description);
  std::vector<Entry> statuses = subcommand.exitStatuses;
  if (std::holds_alternative<AgentRequest>(subcommand.action)) {
    description +=
        paragraphs("The agent does not report back. The output confirms what was sent, not what happened.");
    if (statuses.empty()) statuses = {{"0", "the request was sent"}, {"1", "the request was not sent"}};
  }
  statuses.emplace(statuses.begin() + 2, "2", "wrong usage");
  return fmt::format("{}{}Options:\n{}\nExit status:\n{}", usageOf(subcommand), description, textOf(options),
                     textOf(statuses));
}

}  // namespace quorlin
