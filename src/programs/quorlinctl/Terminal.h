/// The terminal on standard output as a screen of its own, and the keys pressed meanwhile.
#pragma once

#include "platform/RunLoop.h"
#include "platform/posix/FileDescriptor.h"
#include "quorlinctl/SampleView.h"

#include <functional>
#include <optional>
#include <thread>

#include <termios.h>

namespace quorlin {

/// The size of the terminal behind a descriptor, or nothing where it is none or does not say.
std::optional<ViewSize> terminalSize(int descriptor);

/// Whether the terminal can be drawn on in place: TERM names one that is not dumb.
bool terminalHasScreen();

/// Whether the user wants colours (no-color.org: a NO_COLOR that is not empty says no).
bool userWantsColour();

/// How text looks that is written to standard output from top to bottom: plain unless that is a terminal.
Appearance reportAppearance();

/// The alternate screen, without cursor, from construction to destruction. Keys are not echoed; if standard
/// input is the terminal, the handler is called for each byte typed, on the main thread.
class Screen {
 public:
  using KeyHandler = std::function<void(char)>;

  Screen(RunLoop& loop, KeyHandler handler);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

 private:
  std::optional<termios> original_;
  FileDescriptor stopReading_;
  std::jthread reader_;
};

}  // namespace quorlin
