/// The terminal on standard output as a separate screen, and its keys.
#pragma once

#include "programs/quorlinctl/terminal/StyledLine.h"

#include <functional>
#include <optional>

#include <termios.h>

namespace quorlin {

/// The size of the terminal behind a descriptor; nothing if it is not a terminal or its size is unknown.
std::optional<ViewSize> terminalSize(int descriptor);

/// Whether the terminal can be drawn on in place: TERM is set and not "dumb".
bool terminalHasScreen();

/// Whether the user wants colours (no-color.org: a NO_COLOR that is not empty says no).
bool userWantsColour();

/// How text looks that scrolls by on standard output: plain unless that is a terminal.
Appearance reportAppearance();

/// The alternate screen, without a cursor, from construction to destruction. Keys are not echoed. If standard
/// input is the terminal, the handler is called for each byte typed. Main thread only.
class Screen {
 public:
  using KeyHandler = std::function<void(char)>;

  explicit Screen(KeyHandler handler);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

 private:
  /// Returns false at the end of the input.
  bool takeKey();

  KeyHandler handler_;
  std::optional<termios> original_;
  /// GLib's number of the source; 0 without one.
  unsigned keySource_ = 0;
};

}  // namespace quorlin
