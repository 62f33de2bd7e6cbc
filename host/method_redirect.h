#pragma once

#include <cstddef>

namespace velkhost {

/// Puts a stand-in behind one method of a class of COM objects, for all objects of that class. Restored at
/// destruction.
class MethodRedirect {
  public:
    /// `object` is any object of the class, `slot` the method's place in the interface.
    MethodRedirect(void* object, std::size_t slot, void* standIn);
    ~MethodRedirect();
    MethodRedirect(MethodRedirect&& other) noexcept;
    MethodRedirect(const MethodRedirect&) = delete;
    MethodRedirect& operator=(const MethodRedirect&) = delete;

    void* Original() const { return original_; }

  private:
    void** place_;
    void* original_;
};

}  // namespace velkhost
