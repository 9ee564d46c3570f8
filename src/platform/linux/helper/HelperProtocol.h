/// The root helper's object on the system bus.
#pragma once

namespace quorlin::helperprotocol {

inline constexpr const char* kPath = "/com/brellwick/QuorlinCoreHelper";
inline constexpr const char* kInterface = "com.brellwick.HelperToolProtocol";

/// The methods. Each answers with one string.
inline constexpr const char* kConnectWithEndpoint = "ConnectWithEndpoint";
inline constexpr const char* kGetVersion = "GetVersion";
inline constexpr const char* kGetCoreMetrics = "GetCoreMetrics";    // (s key, as params)
inline constexpr const char* kUninstallHelper = "UninstallHelper";  // (s key)
inline constexpr const char* kLimitCharge = "LimitCharge";          // (s key, b mode): false holds

}  // namespace quorlin::helperprotocol
