#include "platform/linux/desktop/LoginItems.h"

#include "platform/linux/desktop/AutostartEntry.h"

namespace quorlin {

bool XdgLoginItems::setEnabled(std::string_view identifier, bool enabled) {
  const auto switched = [&]() -> std::optional<Trouble> {
    if (identifier != identifier_)
      return Trouble{.what = "{} is not a login item", .where = std::string(identifier)};
    const Result<std::filesystem::path> program = bundledProgram(program_, bundle_);
    // Without the program the entry can still be switched off.
    if (!program && enabled) return program.error();
    const AutostartProgram item{.name = "Quorlin Sensors",
                                .comment = "Starts the agent that publishes the computer's sensors",
                                .program = bundle_ / program_};
    return setAutostart(autostartEntry(identifier_), item, enabled, log_);
  };
  const std::optional<Trouble> trouble = switched();
  const std::scoped_lock lock(mutex_);
  trouble_ = trouble ? trouble->text() : "";
  if (trouble) log_.line(filledIn("The agent's start at login is not switched: {}", {trouble_}));
  return !trouble;
}

std::string XdgLoginItems::takeTrouble() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(trouble_, {});
}

}  // namespace quorlin
