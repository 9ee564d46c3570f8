#include "programs/core-helper/service/ChargeHolder.h"

#include "platform/posix/ErrorStream.h"
#include "platform/values/Sentence.h"

#include <utility>

namespace quorlin {

ChargeHolder::ChargeHolder(sd_event* event, sd_bus* bus, const Setup& setup)
    : event_(event), bus_(bus), setup_(setup), charge_(setup.sysfsRoot, setup.heldChargeFile()) {}

void ChargeHolder::releaseLeftover() {
  if (charge_.hasHeld()) releaseBecause("the charge is released because the helper that held it ended: {}");
}

std::optional<std::string> ChargeHolder::hold(const Caller& caller) {
  const auto now = std::chrono::steady_clock::now();
  if (lastRelease_ && now - *lastRelease_ < setup_.pauseBeforeHold) return std::nullopt;
  const ChargeOutcome outcome = charge_.hold();
  if (outcome.holding || (!holder_ && charge_.hasHeld())) {
    holder_ = caller;
    heardFrom(caller.name);
  }
  if (!settling_) settling_ = timer(event_, setup_.settling, settled, this);
  logOnce(filledIn("{} of user {} asked to hold the charge: {}",
                   {caller.name, std::to_string(caller.user), outcome.text}));
  return outcome.text;
}

std::string ChargeHolder::release(const Caller& caller) {
  const ChargeOutcome outcome = charge_.release();
  forgetHolder();
  logOnce(filledIn("{} of user {} asked to release the charge: {}",
                   {caller.name, std::to_string(caller.user), outcome.text}));
  return outcome.text;
}

void ChargeHolder::heardFrom(const std::string& caller) {
  if (!holder_ || holder_->name != caller) return;
  question_.reset();
  silence_ = timer(event_, setup_.patienceWithHolder, seemsSilent, this);
}

bool ChargeHolder::left(const std::string& caller) {
  if (!holder_ || holder_->name != caller) return false;
  releaseBecause("the charge is released because the caller left the bus: {}");
  return true;
}

void ChargeHolder::stop() {
  if (holder_) releaseBecause("the charge is released because the helper is stopping: {}");
}

void ChargeHolder::wokeUp() {
  if (!holder_) return;
  charge_.renew();
  renewsWhenSettled_ = true;
  settling_ = timer(event_, setup_.settling, settled, this);
}

void ChargeHolder::lookForReturned() {
  if (!holder_ && charge_.hasReturned()) releaseBecause("a battery has returned: {}");
}

int ChargeHolder::seemsSilent(sd_event_source* /*source*/, std::uint64_t /*time*/, void* userdata) {
  auto* const holder = static_cast<ChargeHolder*>(userdata);
  holder->silence_.reset();
  // In a flood of others' calls, the holder's own may wait in the bus for minutes. The answer to a question
  // of ours comes after all that the bus has taken before.
  sd_bus_slot* slot = nullptr;
  const int asked =
      sd_bus_call_method_async(holder->bus_, &slot, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "GetId", busAnswered, holder, "");
  holder->question_.reset(slot);
  if (asked < 0) isSilent(nullptr, 0, holder);
  return 0;
}

int ChargeHolder::busAnswered(sd_bus_message* answer, void* userdata, sd_bus_error* /*error*/) {
  auto* const holder = static_cast<ChargeHolder*>(userdata);
  holder->question_.reset();
  if (sd_bus_message_is_method_error(answer, nullptr) > 0) {
    // Not even the bus came through in time.
    seemsSilent(nullptr, 0, holder);
  } else {
    // By then, what waits in the gate has had its turn.
    holder->silence_ = timer(holder->event_, holder->setup_.patienceWithTurn, isSilent, holder);
  }
  return 0;
}

int ChargeHolder::isSilent(sd_event_source* /*source*/, std::uint64_t /*time*/, void* userdata) {
  static_cast<ChargeHolder*>(userdata)->releaseBecause(
      "the charge is released because the caller that holds it has fallen silent: {}");
  return 0;
}

int ChargeHolder::settled(sd_event_source* /*source*/, std::uint64_t /*time*/, void* userdata) {
  auto* const holder = static_cast<ChargeHolder*>(userdata);
  holder->settling_.reset();
  if (std::exchange(holder->renewsWhenSettled_, false)) {
    holder->charge_.renew();
  } else {
    holder->charge_.settle();
  }
  return 0;
}

void ChargeHolder::releaseBecause(const char* sentence) {
  forgetHolder();
  writeErrorLine(filledIn(sentence, {charge_.release().text}));
  lastLogged_.clear();
}

void ChargeHolder::forgetHolder() {
  holder_.reset();
  silence_.reset();
  question_.reset();
  settling_.reset();
  renewsWhenSettled_ = false;
  lastRelease_ = std::chrono::steady_clock::now();
}

void ChargeHolder::logOnce(const std::string& line) {
  if (line != std::exchange(lastLogged_, line)) writeErrorLine(line);
}

}  // namespace quorlin
