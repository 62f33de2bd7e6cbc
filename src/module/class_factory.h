#pragma once

#include "common/com_ptr.h"
#include "common/platform.h"
#include "framework/com_object_root.h"
#include "module/class_table.h"

namespace velk {

/// Makes objects of one class of the module. Being an object of the module it keeps the module loaded while
/// somebody holds it, as IClassFactory::LockServer does for those who do not.
class CClassFactory final : public CComObjectRootEx<CComMultiThreadModel>, public IClassFactory {
  public:
    /// `entry` must outlive the factory.
    explicit CClassFactory(const ClassTableEntry& entry) noexcept : entry_(entry) {}

    STDMETHOD(QueryInterface)(REFIID iid, void** object) override;
    STDMETHOD_(ULONG, AddRef)() override { return InternalAddRef(); }
    STDMETHOD_(ULONG, Release)() override;

    /// Aggregation is refused with CLASS_E_NOAGGREGATION.
    STDMETHOD(CreateInstance)(IUnknown* outer, REFIID iid, void** object) override;
    STDMETHOD(LockServer)(BOOL lock) override;

  private:
    // Deleted by its last Release alone; final, so that no other destructor can be meant.
    ~CClassFactory() = default;

    const ClassTableEntry& entry_;
};

/// Hands out the factory of a class in the table; CLASS_E_CLASSNOTAVAILABLE for any other.
HRESULT GetClassFactory(std::span<const ClassTableEntry> classes, REFCLSID clsid, REFIID iid,
                        void** object) noexcept;

/// The creator of a class for its entry in the table.
template <class Object>
HRESULT CreateComObject(REFIID iid, void** object) noexcept {
    return GuardEntryPoint([&] {
        const ComPtr<Object> made(new Object());
        return made->QueryInterface(iid, object);
    });
}

}  // namespace velk
