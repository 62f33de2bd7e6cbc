#pragma once

#include "common/handle.h"

namespace velk {

struct SafeArrayTraits {
    using Type = SAFEARRAY*;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type array) noexcept { ::SafeArrayDestroy(array); }
};
/// An owned SAFEARRAY with its elements.
using UniqueSafeArray = UniqueResource<SafeArrayTraits>;

}  // namespace velk
