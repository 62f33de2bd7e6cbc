#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace velk {

/// Storage for an object that lives exactly as long as the module is loaded. The object itself is constructed
/// and destroyed by the module's load and unload code, in the order written there, so that neither depends on
/// the order in which the linker happens to run constructors of statics; declare it `constinit`. When the
/// process ends without unloading the module the object is simply left: other threads were killed wherever
/// they stood, and their locks and heaps with them.
template <class Object>
class ModuleObject {
  public:
    constexpr ModuleObject() noexcept = default;
    ModuleObject(const ModuleObject&) = delete;
    ModuleObject& operator=(const ModuleObject&) = delete;

    template <class... Arguments>
    Object& Create(Arguments&&... arguments) {
        object_ = ::new (static_cast<void*>(storage_)) Object(std::forward<Arguments>(arguments)...);
        return *object_;
    }
    void Destroy() noexcept {
        if (Object* old = std::exchange(object_, nullptr)) std::destroy_at(old);
    }
    /// The object, or null before Create and after Destroy.
    Object* Get() const noexcept { return object_; }

  private:
    // Bytes, so that the destructor is trivial: nothing is registered to run at unload.
    alignas(Object) std::byte storage_[sizeof(Object)] = {};
    Object* object_ = nullptr;
};

}  // namespace velk
