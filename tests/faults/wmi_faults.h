#pragma once

#include <vector>

#include "common/platform.h"

namespace velktest {

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

/// Lets the calls that reach WMI's objects fail by the plan (Faults()) and keeps books (Books()) of the
/// values that they hand out. The objects are those of the fakes and of the host's path parser.
class WmiFaults {
  public:
    /// Needs a COM apartment in which the path parser is registered, and a fake WMI.
    WmiFaults();

  private:
    std::vector<MethodRedirect> redirects_;
};

}  // namespace velktest
