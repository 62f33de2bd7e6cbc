#pragma once

#include <functional>

#include "tool/inventory/instance.h"
#include "tool/inventory/object_reader.h"
#include "tool/source/source.h"

namespace velkpci {

/// Asks a source, as any client of WMI asks, and gives plain data. When somebody watches, an enumeration that
/// lasts longer than two seconds tells how far it has come.
class WmiReader {
  public:
    WmiReader(const Source& source, const Console& console, bool verbose)
        : source_(source), console_(console), verbose_(verbose), objects_(source.Services()) {}

    const Source& From() const { return source_; }

    /// The instances of a class and of those derived from it.
    ClassData Enumerate(const std::wstring& className);
    /// What a WQL query answers. The name is that of the first instance's class.
    ClassData Query(const std::wstring& wql);
    /// An instance or a class by its path.
    HRESULT Get(const std::wstring& path, InstancePtr& out);
    HRESULT Definition(const std::wstring& className, ClassPtr& out) {
        return objects_.Definition(className, out);
    }
    /// The names of the namespace's classes in alphabetical order; the system classes ("__...") only on
    /// request.
    HRESULT ClassNames(std::vector<std::wstring>& out, bool withSystemClasses = false);
    /// Whether a class has instances of its own: from a provider, whether or not it finds any, or kept by
    /// WMI.
    bool HasInstances(const ClassDef& definition);

  private:
    using Receive = std::function<HRESULT(IWbemClassObject& object)>;
    /// Hands each object of an enumeration on, until the end, a failure of WMI's or of the receiver's.
    HRESULT ForEach(IEnumWbemClassObject& enumerator, const std::string& what, const Receive& receive);
    HRESULT Read(IEnumWbemClassObject& enumerator, const std::string& what, Instances& out);

    const Source& source_;
    const Console& console_;
    const bool verbose_;
    ObjectReader objects_;
};

}  // namespace velkpci
