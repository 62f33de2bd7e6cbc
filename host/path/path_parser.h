#pragma once

#include "host/com/class_factory.h"

namespace velkhost {

/// The class object of WMI's path parser: makes empty IWbemPath objects.
velk::ComPtr<IClassFactory> MakePathParserClass();

/// Offers the path parser under its own CLSID in this process. See ClassRegistration for the threads it
/// serves.
ClassRegistration RegisterPathParser();

}  // namespace velkhost
