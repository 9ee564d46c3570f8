#include "platform/linux/bus/Bus.h"

#include "platform/posix/ErrorStream.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

namespace quorlin {

int checked(int result, const char* complaint) {
  if (result < 0) throw BusError(filledIn("{}: {}", {complaint, errorText(-result)}));
  return result;
}

void dropAddressedSignals(sd_bus* bus) {
  const sd_bus_message_handler_t drop = [](sd_bus_message* message, void*, sd_bus_error*) {
    const char* const known = sd_bus_message_get_sender(message);
    const std::string_view sender = known == nullptr ? "org.freedesktop.DBus.Local" : known;
    const bool isOfBus = sender == "org.freedesktop.DBus" || sender == "org.freedesktop.DBus.Local";
    return sd_bus_message_is_signal(message, nullptr, nullptr) > 0 &&
                   sd_bus_message_get_destination(message) != nullptr && !isOfBus
               ? 1
               : 0;
  };
  checked(sd_bus_add_filter(bus, nullptr, drop, nullptr), "Cannot watch the bus");
}

bool CallError::isOneOf(std::initializer_list<const char*> names) const {
  return std::ranges::find(names, name) != names.end();
}

BusMessage methodCall(sd_bus* bus, const BusObject& object, const char* member) {
  sd_bus_message* message = nullptr;
  checked(sd_bus_message_new_method_call(bus, &message, object.name, object.path, object.interface, member),
          "Cannot write a call");
  return BusMessage(message);
}

Result<BusMessage, CallError> call(sd_bus* bus, const BusMessage& message,
                                   std::chrono::microseconds patience) {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  const Owned<sd_bus_error, sd_bus_error_free> contents(&error);
  sd_bus_message* answer = nullptr;
  const int result =
      sd_bus_call(bus, message.get(), static_cast<std::uint64_t>(patience.count()), &error, &answer);
  BusMessage reply(answer);
  if (result >= 0) return reply;
  return CallError{.name = error.name == nullptr ? "" : error.name,
                   .message = error.message == nullptr ? errorText(-result) : error.message};
}

void appendStrings(sd_bus_message* message, const std::vector<std::string>& strings, const char* complaint) {
  checked(sd_bus_message_open_container(message, 'a', "s"), complaint);
  for (const std::string& string : strings) {
    checked(sd_bus_message_append_basic(message, 's', string.c_str()), complaint);
  }
  checked(sd_bus_message_close_container(message), complaint);
}

const char* stringIn(const BusMessage& message) {
  const char* text = nullptr;
  return sd_bus_message_read_basic(message.get(), 's', &text) > 0 ? text : nullptr;
}

Bus Bus::openSession() {
  sd_bus* bus = nullptr;
  const int opened = sd_bus_open_user(&bus);
  if (opened == -ENOMEDIUM) {
    throw BusError("No session bus found: DBUS_SESSION_BUS_ADDRESS and XDG_RUNTIME_DIR lead to none");
  }
  checked(opened, "Cannot connect to the session bus");
  sd_bus_set_exit_on_disconnect(bus, 0);
  return Bus(bus);
}

Bus Bus::openSystem() {
  sd_bus* bus = nullptr;
  checked(sd_bus_open_system(&bus), "Cannot connect to the system bus");
  sd_bus_set_exit_on_disconnect(bus, 0);
  Bus opened(bus);
  dropAddressedSignals(bus);
  return opened;
}

template <typename AddMatch>
BusSlot Bus::slotOf(Handler handler, const AddMatch& addMatch) {
  const sd_bus_message_handler_t call = [](sd_bus_message* message, void* userdata, sd_bus_error*) {
    try {
      (*static_cast<Handler*>(userdata))(message);
    } catch (const std::exception& error) {
      writeErrorLine(
          filledIn("{}: a message was dropped: {}", {program_invocation_short_name, error.what()}));
    }
    return 0;
  };
  auto owned = std::make_unique<Handler>(std::move(handler));
  sd_bus_slot* slot = nullptr;
  checked(addMatch(&slot, call, owned.get()), "Cannot add a match");
  // From here on the slot owns its handler.
  sd_bus_slot_set_userdata(slot, owned.release());
  sd_bus_slot_set_destroy_callback(slot, [](void* userdata) { delete static_cast<Handler*>(userdata); });
  return BusSlot(slot);
}

BusSlot Bus::match(const std::string& rule, Handler handler) const {
  return slotOf(std::move(handler), [&](sd_bus_slot** slot, sd_bus_message_handler_t call, void* userdata) {
    return sd_bus_add_match(bus_.get(), slot, rule.c_str(), call, userdata);
  });
}

BusSlot Bus::matchSoon(const std::string& rule, Handler handler) const {
  return slotOf(std::move(handler), [&](sd_bus_slot** slot, sd_bus_message_handler_t call, void* userdata) {
    return sd_bus_add_match_async(bus_.get(), slot, rule.c_str(), call, nullptr, userdata);
  });
}

std::vector<std::string> namesOn(const Bus& bus, NameState state) {
  const bool areOwned = state == NameState::Owned;
  char** found = nullptr;
  checked(sd_bus_list_names(bus.get(), areOwned ? &found : nullptr, areOwned ? nullptr : &found),
          "Cannot list the names on the bus");
  std::vector<std::string> names;
  for (char** name = found; *name != nullptr; ++name) {
    names.emplace_back(*name);
    std::free(*name);
  }
  std::free(found);
  return names;
}

bool isAvailable(const Bus& bus, std::string_view service) {
  const auto is = [&](NameState state) { return std::ranges::count(namesOn(bus, state), service) > 0; };
  return is(NameState::Owned) || is(NameState::Activatable);
}

std::optional<pid_t> processOwning(const Bus& bus, const std::string& name) {
  sd_bus_creds* found = nullptr;
  const int result = sd_bus_get_name_creds(bus.get(), name.c_str(), SD_BUS_CREDS_PID, &found);
  const BusCredentials credentials(found);
  // sd_bus_get_name_creds(3): how the bus's "no such name" arrives.
  if (result == -ENXIO || result == -ESRCH) return std::nullopt;
  checked(result, "Cannot ask who owns a name on the bus");
  pid_t process = 0;
  checked(sd_bus_creds_get_pid(found, &process), "Cannot find the process that owns a name on the bus");
  return process;
}

}  // namespace quorlin
