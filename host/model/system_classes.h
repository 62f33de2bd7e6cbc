#pragma once

#include <string_view>

namespace velkhost {

/// The system classes that WMI has in every namespace, as MOF, as far as provider registration and status
/// reports need them.
extern const std::string_view kSystemClassesMof;

/// root\wmi's classes that the provider reads: the firmware table, and the health driver's data-store status.
extern const std::string_view kRawSmbiosTablesMof;
extern const std::string_view kDataStoreStatusMof;

}  // namespace velkhost
