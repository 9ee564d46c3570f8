/// One battery's charging, held and restored.
#pragma once

#include "platform/linux/power/SystemBatteries.h"
#include "programs/core-helper/charge/HeldCharge.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

class BatteryCharge {
 public:
  /// The battery's folder in sysfs, and the former values of all batteries.
  BatteryCharge(std::filesystem::path folder, HeldCharge& held);

  const std::string& name() const { return name_; }

  /// Stops charging. Saves each former value before changing it, and undoes changes that did not help. A
  /// battery whose charge is below that percentage may still charge up to it. Returns how it is held.
  Result<std::string> hold(int least);

  /// Whether hold() has asked the firmware for anything, and not only looked.
  bool wasAsked() const { return wasAsked_; }

  /// Whether hold() was not permitted to write.
  bool wasDenied() const { return wasDenied_; }

  /// Writes what a hold has set, also where the driver shows it still, but no value that another program has
  /// set since: firmware may forget what its driver goes on showing.
  void renew();

  /// Takes what the driver shows by now for what a hold has set: some firmware rounds a value only later.
  void settle();

  /// What another program has set in the place of what a hold has set.
  std::optional<Trouble> othersValue() const;

  /// Whether what a hold has set is as it was before the hold.
  bool hasFallenBack() const;

  /// Restores each former value that no other program has changed since, and forgets it in memory.
  std::optional<Trouble> putBack();

  /// Lets the battery charge fully where nothing is known of its former values.
  std::optional<Trouble> letCharge();

 private:
  Result<std::string> holdByWhatIsOffered(int least);
  Result<std::string> holdByBehaviour();
  Result<std::string> holdByThreshold(int least, const ChargeOffer& offer);
  void setEnd(int percentage);
  /// Sets the attribute to the wanted value.
  void change(std::string_view attribute, std::string_view wanted);
  bool writeDown(std::string_view attribute);
  /// A value that the driver refuses is not trouble yet: like one that the firmware ignores, it shows when
  /// the attribute is read back.
  std::optional<Trouble> write(std::string_view attribute, std::string_view wanted) const;

  /// Null unless another program has set the attribute since the hold.
  const FormerValue* setByOthers(std::string_view attribute) const;
  Trouble ofOthers(std::string_view attribute) const;
  std::optional<Trouble> leaveToOthers(std::string_view attribute);
  std::optional<Trouble> putBack(std::string_view attribute);

  std::optional<std::string> value(std::string_view attribute) const {
    return chargeValue(folder_, attribute);
  }
  std::optional<int> percent(std::string_view attribute) const { return supplyNumber(folder_, attribute); }
  Trouble keeps(std::string_view attribute, std::string_view wanted) const;
  Trouble refused(std::string_view attribute, std::string_view wanted) const {
    return trouble_.value_or(keeps(attribute, wanted));
  }

  std::filesystem::path folder_;
  std::string name_;
  HeldCharge& held_;
  bool wasAsked_ = false;
  bool wasDenied_ = false;
  /// The first trouble, and whether further attempts are useless.
  std::optional<Trouble> trouble_;
  bool isOver_ = false;
};

}  // namespace quorlin
