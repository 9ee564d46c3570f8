#include "programs/agent/SettingsInterface.h"

#include "platform/linux/bus/SettingsProtocol.h"

#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace quorlin {

using namespace settingsprotocol;

/// One call of SetCoreAutostart. Each outcome is a signal at once; the answer, which holds all of them,
/// follows when the delegate has let go of the completion.
class SettingsInterface::CoreSwitching {
 public:
  CoreSwitching(const Environment& here, sd_bus_message* call)
      : bus_(here.bus), takeTrouble_(here.takeTrouble), call_(sd_bus_message_ref(call)) {}
  CoreSwitching(const CoreSwitching&) = delete;
  CoreSwitching& operator=(const CoreSwitching&) = delete;

  ~CoreSwitching() {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_return(call_.get(), &made) < 0) return;
    const BusMessage answer(made);
    sd_bus_message_open_container(made, 'a', "(bs)");
    for (const auto& [success, reason] : outcomes_)
      sd_bus_message_append(made, "(bs)", success, reason.c_str());
    sd_bus_message_close_container(made);
    sd_bus_send(bus_.get(), made, nullptr);
  }

  void add(bool success) {
    outcomes_.emplace_back(success ? 1 : 0, success ? "" : takeTrouble_());
    sd_bus_emit_signal(bus_.get(), kPath, kInterface, kCoreAutostartOutcome, "sbs",
                       sd_bus_message_get_sender(call_.get()), outcomes_.back().first,
                       outcomes_.back().second.c_str());
  }

 private:
  // Copies: the delegate may let go of the completion after the interface has gone.
  const Bus& bus_;
  std::function<std::string()> takeTrouble_;
  BusMessage call_;
  std::vector<std::pair<int, std::string>> outcomes_;
};

/// What the bus calls.
struct SettingsInterface::Table {
  static bool flagIn(sd_bus_message* call) {
    int flag = 0;
    sd_bus_message_read_basic(call, 'b', &flag);
    return flag != 0;
  }

  static int setAutostart(sd_bus_message* call, void* userdata, sd_bus_error* /*error*/) {
    auto& self = *static_cast<SettingsInterface*>(userdata);
    self.countIn(call);
    const bool success = self.here_.delegate.setAutostart(flagIn(call));
    return sd_bus_reply_method_return(call, "bs", success ? 1 : 0,
                                      success ? "" : self.here_.takeTrouble().c_str());
  }

  static int setPluginEnabled(sd_bus_message* call, void* userdata, sd_bus_error* /*error*/) {
    auto& self = *static_cast<SettingsInterface*>(userdata);
    self.countIn(call);
    self.here_.delegate.setPluginEnabled(flagIn(call));
    return sd_bus_reply_method_return(call, nullptr);
  }

  static int setCoreAutostart(sd_bus_message* call, void* userdata, sd_bus_error* error) {
    auto& self = *static_cast<SettingsInterface*>(userdata);
    self.countIn(call);
    const bool enable = flagIn(call);
    if (enable && !self.coreSwitching_.expired()) {
      return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "the core helper is being switched on already");
    }
    const auto switching = std::make_shared<CoreSwitching>(self.here_, call);
    if (enable) self.coreSwitching_ = switching;
    self.here_.delegate.setCoreAutostart(enable, [switching](bool success) { switching->add(success); });
    return 1;
  }

  template <auto Values::*value>
  static int get(sd_bus*, const char*, const char*, const char*, sd_bus_message* answer, void* userdata,
                 sd_bus_error*) {
    const auto current = static_cast<const SettingsInterface*>(userdata)->currentValues().*value;
    const char* const type = std::is_same_v<decltype(current), const bool> ? "b" : "i";
    return sd_bus_message_append(answer, type, static_cast<int>(current));
  }

  static int getStartsAtLogin(sd_bus*, const char*, const char*, const char*, sd_bus_message* answer,
                              void* userdata, sd_bus_error*) {
    return sd_bus_message_append(
        answer, "b", static_cast<const SettingsInterface*>(userdata)->here_.startsAtLogin() ? 1 : 0);
  }

  static const sd_bus_vtable* rows() {
    constexpr auto open = SD_BUS_VTABLE_UNPRIVILEGED;
    constexpr auto announced = SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE;
    static const std::array rows = {
        sd_bus_vtable SD_BUS_VTABLE_START(0),
        sd_bus_vtable SD_BUS_METHOD_WITH_NAMES(kSetAutostart, "b", SD_BUS_PARAM(enable), "bs",
                                               SD_BUS_PARAM(success) SD_BUS_PARAM(reason), setAutostart,
                                               open),
        sd_bus_vtable SD_BUS_METHOD_WITH_NAMES(kSetPluginEnabled, "b", SD_BUS_PARAM(enabled), nullptr, "",
                                               setPluginEnabled, open),
        sd_bus_vtable SD_BUS_METHOD_WITH_NAMES(kSetCoreAutostart, "b", SD_BUS_PARAM(enable), "a(bs)",
                                               SD_BUS_PARAM(outcomes), setCoreAutostart, open),
        sd_bus_vtable SD_BUS_SIGNAL_WITH_NAMES(
            kCoreAutostartOutcome, "sbs", SD_BUS_PARAM(caller) SD_BUS_PARAM(success) SD_BUS_PARAM(reason), 0),
        sd_bus_vtable SD_BUS_PROPERTY(kPluginEnabled, "b", get<&Values::pluginEnabled>, 0, announced),
        sd_bus_vtable SD_BUS_PROPERTY(kCoreEnabled, "b", get<&Values::coreEnabled>, 0, announced),
        sd_bus_vtable SD_BUS_PROPERTY(kPowerLimit, "i", get<&Values::powerLimit>, 0, announced),
        sd_bus_vtable SD_BUS_PROPERTY(kPowerLimitEnabled, "b", get<&Values::powerLimitEnabled>, 0, announced),
        sd_bus_vtable SD_BUS_PROPERTY(kStartsAtLogin, "b", getStartsAtLogin, 0, 0),
        sd_bus_vtable SD_BUS_VTABLE_END};
    return rows.data();
  }
};

SettingsInterface::SettingsInterface(Environment environment)
    : here_(std::move(environment)), announced_(currentValues()) {
  constexpr const char* complaint = "Cannot offer the settings on the session bus";
  const sd_bus_track_handler_t lastLeft = [](sd_bus_track*, void* self) {
    static_cast<SettingsInterface*>(self)->here_.delegate.setSwitchesInUse(false);
    // 0 would have it called again.
    return 1;
  };
  sd_bus_track* clients = nullptr;
  checked(sd_bus_track_new(here_.bus.get(), &clients, lastLeft, this), complaint);
  clients_.reset(clients);
  here_.delegate.setChangeHandler([this, alive = std::weak_ptr(alive_)] {
    here_.runLoop.performOnMainThread([this, alive] {
      if (!alive.expired()) announceChanges();
    });
  });
  sd_bus_slot* slot = nullptr;
  checked(sd_bus_add_object_vtable(here_.bus.get(), &slot, kPath, kInterface, Table::rows(), this),
          complaint);
  object_.reset(slot);
}

SettingsInterface::~SettingsInterface() {
  here_.delegate.setChangeHandler([] {});
}

void SettingsInterface::countIn(sd_bus_message* message) {
  if (sd_bus_track_add_sender(clients_.get(), message) >= 0) here_.delegate.setSwitchesInUse(true);
}

SettingsInterface::Values SettingsInterface::currentValues() const {
  const AppDelegate& delegate = here_.delegate;
  return {.pluginEnabled = delegate.pluginEnabled(),
          .coreEnabled = delegate.coreEnabled(),
          .powerLimit = static_cast<std::int32_t>(delegate.powerLimit()),
          .powerLimitEnabled = delegate.powerLimitEnabled()};
}

void SettingsInterface::announceChanges() {
  const Values before = std::exchange(announced_, currentValues());
  std::vector<char*> changed;
  const auto compare = [&changed](const char* name, const auto& old, const auto& current) {
    if (old != current) changed.push_back(const_cast<char*>(name));
  };
  compare(kPluginEnabled, before.pluginEnabled, announced_.pluginEnabled);
  compare(kCoreEnabled, before.coreEnabled, announced_.coreEnabled);
  compare(kPowerLimit, before.powerLimit, announced_.powerLimit);
  compare(kPowerLimitEnabled, before.powerLimitEnabled, announced_.powerLimitEnabled);
  if (changed.empty()) return;
  changed.push_back(nullptr);
  sd_bus_emit_properties_changed_strv(here_.bus.get(), kPath, kInterface, changed.data());
}

}  // namespace quorlin
