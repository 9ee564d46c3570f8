#include "programs/quorlinctl/view/SampleOutput.h"

#include "core/Notifications.h"
#include "platform/linux/loop/RunLoop.h"
#include "platform/linux/system/System.h"
#include "platform/values/Tick.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"
#include "programs/quorlinctl/view/Json.h"

#include <csignal>
#include <ctime>
#include <utility>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// Power metrics come every second tick; one of them may be missing.
constexpr auto kPowerAge = 5 * kTick;

}  // namespace

std::optional<Trouble> JsonOutput::show(const Notification& notification) {
  using namespace notification;
  const bool withBattery = notification.name == kCoreData || notification.name == kSensorsDataM ||
                           notification.name == kSensorsDataW;
  const auto batteries = withBattery ? std::optional(readBatteries(powerSources_)) : std::nullopt;
  return writeAll(STDOUT_FILENO, jsonLineOf(notification, batteries) + "\n");
}

ViewState::ViewState(Role role, PowerSources& powerSources, HoldTeller tellHold)
    : fullSample_(notificationsOf(role).fullSample),
      powerSources_(powerSources),
      tellHold_(std::move(tellHold)) {
  view_.machine = LinuxSystem().localizedHostName().value_or("");
  view_.batteries = readBatteries(powerSources_);
}

bool ViewState::take(const Notification& notification, Clock::time_point now) {
  const bool isSample = notification.name == fullSample_;
  if (!isSample && notification.name != notification::kCoreData) return false;
  if (isSample) {
    view_.sample = sampleOf(notification.userInfo);
    forgetOldPower(now);
  } else {
    view_.powerMetrics = powerMetricsOf(notification.userInfo);
    view_.batteryLimit = batteryLimitOf(notification.userInfo);
    const bool isLimited = view_.batteryLimit.value_or(kHighestBatteryLimit) <= kHighestHeldLimit;
    view_.hold = isLimited && !view_.batteries.empty() ? tellHold_() : "";
    powerTime_ = now;
    if (view_.sample) return false;
  }
  view_.batteries = readBatteries(powerSources_);
  view_.time = fmt::format("{:%H:%M:%S}", fmt::localtime(std::time(nullptr)));
  return true;
}

void ViewState::explainSilence(const std::string& reason, Clock::time_point now) {
  view_.silence = reason;
  view_.sample.reset();
  view_.batteries = readBatteries(powerSources_);
  forgetOldPower(now);
}

void ViewState::forgetOldPower(Clock::time_point now) {
  if (now - powerTime_ < kPowerAge) return;
  view_.powerMetrics.reset();
  view_.batteryLimit.reset();
  view_.hold.clear();
}

std::optional<Trouble> ReportOutput::show(const Notification& notification) {
  if (!state_.take(notification)) return std::nullopt;
  const int columns = terminalSize(STDOUT_FILENO).value_or(ViewSize()).columns;
  const std::vector<std::string> lines = renderView(state_.view(), {.columns = columns}, reportAppearance());
  return writeAll(STDOUT_FILENO,
                  fmt::format("{}{}\n", std::exchange(first_, false) ? "" : "\n", fmt::join(lines, "\n")));
}

LiveOutput::LiveOutput(Role role, PowerSources& powerSources, HoldTeller tellHold, std::function<void()> quit)
    : state_(role, powerSources, std::move(tellHold)),
      screen_([quit = std::move(quit)](char key) {
        if (key == 'q' || key == 'Q') quit();
      }),
      resized_(LinuxRunLoop::watchSignal(SIGWINCH, [this] { draw(); })) {
  draw();
}

std::optional<Trouble> LiveOutput::show(const Notification& notification) {
  return state_.take(notification) ? draw() : std::nullopt;
}

void LiveOutput::explainSilence(const std::string& reason) {
  state_.explainSilence(reason);
  draw();
}

std::optional<Trouble> LiveOutput::draw() const {
  constexpr std::string_view home = "\x1b[H";
  constexpr std::string_view eraseToEndOfLine = "\x1b[K";
  constexpr std::string_view eraseBelow = "\x1b[J";
  const ViewSize size = terminalSize(STDOUT_FILENO).value_or(ViewSize{.columns = 80, .rows = 24});
  const Appearance appearance{.charset = charsetOfLocale(), .colour = userWantsColour()};
  const std::vector<std::string> lines = renderView(state_.view(), size, appearance);
  // Everything in one write, and each line erased just before its text, so that nothing flickers. After a
  // text that fills the line, the cursor stands on its last character.
  std::string frame(home);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) frame += "\r\n";
    frame.append(i + 1 == lines.size() ? eraseBelow : eraseToEndOfLine).append(lines[i]);
  }
  return writeAll(STDOUT_FILENO, frame);
}

}  // namespace quorlin
