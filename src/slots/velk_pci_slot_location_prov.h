#pragma once

#include "framework/instance_provider.h"
#include "framework/own_list.h"
#include "slots/velk_pci_slot_location_list.h"

namespace velk {

/// Serves Velk_PCISlotLocation: an instance per record of the slot-location list. Unlike its siblings it
/// answers an enumeration on a thread of its own.
class CVelkPCISlotLocationProv final : private OwnList<CVelkPCISlotLocationList>,
                                       public CInstanceProvider<CVelkPCISlotLocationList> {
  public:
    CVelkPCISlotLocationProv();

    /// Starts the enumeration and returns 0 before any instance is delivered; instances and status reach the
    /// sink from a worker thread. WBEM_E_INVALID_PARAMETER for a null sink, WBEM_E_FAILED when no thread can
    /// be started; the sink is not called then.
    STDMETHOD(CreateInstanceEnumAsync)
    (const BSTR className, LONG flags, IWbemContext* context, IWbemObjectSink* sink) override;

  private:
    struct EnumRequest;

    bool KeysMatch(const RequestedKeys& keys, const CVelkPCISlotLocation& record) const override;

    HRESULT StartEnumeration(IWbemObjectSink* sink);
    static DWORD WINAPI EnumWorkerProc(void* request) noexcept;
    static void Answer(EnumRequest& request) noexcept;
    HRESULT EnumerateTo(IWbemObjectSink* sink) noexcept;
};

}  // namespace velk
