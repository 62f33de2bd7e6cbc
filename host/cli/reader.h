#pragma once

#include <string>
#include <vector>

#include "host/cli/console.h"
#include "host/model/class_object.h"

namespace velkhost::cli {

using Objects = std::vector<velk::ComPtr<ClassObject>>;

/// Reads classes through the services of a namespace, as a client would. Whenever an enumeration lasts longer
/// than two seconds, the error stream tells how far it has come.
class Reader {
  public:
    Reader(IWbemServices& services, const Console& console, bool verbose)
        : services_(services), console_(console), verbose_(verbose) {}

    /// Appends the instances of a class. On failure `out` holds what came before it.
    HRESULT Enumerate(const std::wstring& className, Objects& out) const;
    HRESULT Get(const std::wstring& path, velk::ComPtr<ClassObject>& object) const;

  private:
    IWbemServices& services_;
    const Console& console_;
    const bool verbose_;
};

}  // namespace velkhost::cli
