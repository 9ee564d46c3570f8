#include "programs/quorlinctl/terminal/Terminal.h"

#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace quorlin {
namespace {

// xterm's private modes: alternate screen with the cursor saved, visible cursor, automatic wrap.
constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view kLeave = "\x1b[?7h\x1b[?25h\x1b[?1049l";

/// Reads until the descriptor stop becomes readable or the input ends.
void readKeys(int stop, const std::function<void(char)>& post) {
  std::array<pollfd, 2> watched = {pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{stop, POLLIN, 0}};
  while (true) {
    const int ready = ::poll(watched.data(), watched.size(), -1);
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0 || watched[1].revents != 0) return;
    char key = 0;
    const ssize_t size = ::read(STDIN_FILENO, &key, 1);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return;
    post(key);
  }
}

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

Screen::Screen(RunLoop& loop, KeyHandler handler) {
  termios settings{};
  if (ownsTerminal() && ::tcgetattr(STDIN_FILENO, &settings) == 0) {
    original_ = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    // Suspended, the process could not give the screen back.
    settings.c_cc[VSUSP] = _POSIX_VDISABLE;
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
    stopReading_ = FileDescriptor(::eventfd(0, EFD_CLOEXEC));
    if (stopReading_) {
      auto shared = std::make_shared<KeyHandler>(std::move(handler));
      reader_ = std::jthread([&loop, stop = stopReading_.get(), shared] {
        readKeys(stop, [&](char key) { loop.performOnMainThread([shared, key] { (*shared)(key); }); });
      });
    }
  }
  writeAll(STDOUT_FILENO, kEnter);
}

Screen::~Screen() {
  if (stopReading_) {
    ::eventfd_write(stopReading_.get(), 1);
    if (reader_.joinable()) reader_.join();
  }
  writeAll(STDOUT_FILENO, kLeave);
  if (original_ && ownsTerminal()) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &*original_);
}

}  // namespace quorlin
