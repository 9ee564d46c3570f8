/// The root helper's object on the system bus.
#pragma once

#include <chrono>

namespace quorlin::helperprotocol {

inline constexpr const char* kPath = "/com/brellwick/QuorlinCoreHelper";
inline constexpr const char* kInterface = "com.brellwick.HelperToolProtocol";

/// The methods. Each answers with one string.
inline constexpr const char* kConnectWithEndpoint = "ConnectWithEndpoint";
inline constexpr const char* kGetVersion = "GetVersion";
inline constexpr const char* kGetCoreMetrics = "GetCoreMetrics";    // (s key, as params)
inline constexpr const char* kUninstallHelper = "UninstallHelper";  // (s key)
inline constexpr const char* kLimitCharge = "LimitCharge";          // (s key, b mode): false holds

/// How the charge is held, for programs that show it.
inline constexpr const char* kHoldInterface = "com.brellwick.QuorlinCoreHelper.ChargeHold";
/// The unique name and the user of the connection that holds; an empty name and 0 without a hold. For each
/// battery its name, whether it is held, the attribute by which it is or would be, and a sentence on the last
/// request about it.
inline constexpr const char* kGetChargeHold = "GetChargeHold";
inline constexpr const char* kChargeHoldTypes = "sua(sbss)";

/// How long the helper lets polkit ask a person for a password.
inline constexpr std::chrono::minutes kPatienceWithPerson{2};

}  // namespace quorlin::helperprotocol
