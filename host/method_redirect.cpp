#include "host/method_redirect.h"

#include <utility>

#include "host/import_redirect.h"

namespace velkhost {

MethodRedirect::MethodRedirect(void* object, std::size_t slot, void* standIn)
    : place_(*static_cast<void***>(object) + slot), original_(*place_) {
    WriteSlot(place_, standIn);
}

MethodRedirect::MethodRedirect(MethodRedirect&& other) noexcept
    : place_(std::exchange(other.place_, nullptr)), original_(other.original_) {}

MethodRedirect::~MethodRedirect() {
    if (place_ != nullptr) WriteSlot(place_, original_);
}

}  // namespace velkhost
