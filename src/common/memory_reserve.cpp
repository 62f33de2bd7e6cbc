#include "common/memory_reserve.h"

#include <cstdlib>
#include <memory>
#include <new>

namespace velk {

namespace {

/// Bytes. The exceptions of one thread take about a kilobyte; several threads may run short at once.
constexpr std::size_t kReserveSize = 0x4000;

struct FreeMemory {
    void operator()(void* memory) const noexcept { std::free(memory); }
};
/// Of malloc, as operator new's memory and the run-time's are: what is given back there is what they find.
using Block = std::unique_ptr<void, FreeMemory>;

constinit ModuleObject<MemoryReserve> theMemoryReserve;

}  // namespace

MemoryReserve::MemoryReserve() noexcept {
    Refill();
    // Of this module alone: the C++ run-time is linked into it. If the handler returned, the allocation would
    // be tried again; but the reserve is for the exception, not for the request.
    std::set_new_handler(ThrowOutOfMemory);
}

MemoryReserve::~MemoryReserve() {
    std::set_new_handler(nullptr);
    GiveBack();
}

void MemoryReserve::Refill() noexcept {
    if (memory_.load(std::memory_order_relaxed) != nullptr) return;
    Block made(std::malloc(kReserveSize));
    void* none = nullptr;
    // Of two threads at once one fills it.
    if (memory_.compare_exchange_strong(none, made.get())) static_cast<void>(made.release());
}

void MemoryReserve::GiveBack() noexcept { Block(memory_.exchange(nullptr)).reset(); }

ModuleObject<MemoryReserve>& MemoryReserveObject() noexcept { return theMemoryReserve; }

void RefillMemoryReserve() noexcept {
    if (MemoryReserve* const reserve = theMemoryReserve.Get()) reserve->Refill();
}

void ThrowOutOfMemory() {
    if (MemoryReserve* const reserve = theMemoryReserve.Get()) reserve->GiveBack();
    throw std::bad_alloc();
}

}  // namespace velk
