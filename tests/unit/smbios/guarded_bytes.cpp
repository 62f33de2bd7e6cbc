#include "smbios/guarded_bytes.h"

#include <algorithm>
#include <new>

namespace velktest {

namespace {
constexpr std::size_t kPage = 0x1000;
}

GuardedBytes::GuardedBytes(std::span<const std::uint8_t> bytes) {
    const std::size_t usable = (bytes.size() / kPage + 1) * kPage;
    pages_ = ::VirtualAlloc(nullptr, usable + kPage, MEM_RESERVE, PAGE_NOACCESS);
    if (pages_ == nullptr || ::VirtualAlloc(pages_, usable, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        throw std::bad_alloc();
    }
    bytes_ = {static_cast<std::uint8_t*>(pages_) + usable - bytes.size(), bytes.size()};
    std::ranges::copy(bytes, bytes_.begin());
}

GuardedBytes::~GuardedBytes() { ::VirtualFree(pages_, 0, MEM_RELEASE); }

}  // namespace velktest
