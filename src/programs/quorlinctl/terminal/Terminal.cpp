#include "programs/quorlinctl/terminal/Terminal.h"

#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include <glib-unix.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace quorlin {
namespace {

// xterm's private modes: alternate screen with the cursor saved, visible cursor, automatic wrap.
constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view kLeave = "\x1b[?7h\x1b[?25h\x1b[?1049l";

/// A background process must not take the terminal's settings or input from the foreground process.
bool ownsTerminal() { return ::tcgetpgrp(STDIN_FILENO) == ::getpgrp(); }

}  // namespace

std::optional<ViewSize> terminalSize(int descriptor) {
  winsize size{};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
    return std::nullopt;
  return ViewSize{.columns = size.ws_col, .rows = size.ws_row};
}

bool terminalHasScreen() {
  const char* const name = std::getenv("TERM");
  return name != nullptr && *name != '\0' && std::string_view(name) != "dumb";
}

bool userWantsColour() {
  const char* const refusal = std::getenv("NO_COLOR");
  return refusal == nullptr || *refusal == '\0';
}

Appearance reportAppearance() {
  const bool terminal = ::isatty(STDOUT_FILENO) == 1;
  return {.charset = charsetOfLocale(), .colour = terminal && terminalHasScreen() && userWantsColour()};
}

Screen::Screen(KeyHandler handler) : handler_(std::move(handler)) {
  termios settings{};
  if (ownsTerminal() && ::tcgetattr(STDIN_FILENO, &settings) == 0) {
    original_ = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    // Suspended, the process could not give the screen back.
    settings.c_cc[VSUSP] = _POSIX_VDISABLE;
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
    const auto call = [](gint, GIOCondition, gpointer screen) -> gboolean {
      return static_cast<Screen*>(screen)->takeKey();
    };
    keySource_ =
        g_unix_fd_add(STDIN_FILENO, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), call, this);
  }
  writeAll(STDOUT_FILENO, kEnter);
}

Screen::~Screen() {
  if (keySource_ != 0) g_source_remove(keySource_);
  writeAll(STDOUT_FILENO, kLeave);
  if (original_ && ownsTerminal()) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &*original_);
}

bool Screen::takeKey() {
  char key = 0;
  const ssize_t size = ::read(STDIN_FILENO, &key, 1);
  if (size > 0) handler_(key);
  if (size > 0 || (size < 0 && errno == EINTR)) return true;
  keySource_ = 0;
  return false;
}

}  // namespace quorlin
