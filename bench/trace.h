#pragma once

#include <string>
#include <vector>

#include "common/variant.h"

namespace velkbench {

/// One call that an enumeration made of the platform, with what it passed.
struct Call {
    enum class Kind {
        kGetClassDevs,  ///< first: flags
        kEnumDevice,    ///< first: index
        kReadProperty,  ///< first: SPDRP_ code; second: size of the buffer in bytes
        kDestroyDevices,
        kComputerName,   ///< first: format; second: size of the buffer in characters
        kOpenFile,       ///< text: name
        kCreateLocator,  ///< first: class context
        kConnect,        ///< text: namespace
        kQuery,          ///< text: WQL; first: flags
        kNext,           ///< first: timeout; second: objects asked for
        kGet,            ///< text: property; first: place of the object in the last batch
        kSpawn,
        kPut,  ///< text: property; value
    };

    Kind kind;
    DWORD first = 0;
    DWORD second = 0;
    std::wstring text = {};
    velk::Variant value = {};
};

using Trace = std::vector<Call>;

}  // namespace velkbench
