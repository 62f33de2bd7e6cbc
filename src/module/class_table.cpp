#include "module/class_table.h"

#include "assoc/velk_pci_card_in_slot_prov.h"
#include "assoc/velk_pci_slot_element_location_prov.h"
#include "assoc/velk_realizes_pci_device_prov.h"
#include "assoc/velk_system_pci_device_prov.h"
#include "assoc/velk_system_pci_slot_prov.h"
#include "module/class_factory.h"
#include "module/identifiers.h"
#include "pci/velk_pci_bridge_prov.h"
#include "pci/velk_pci_device_prov.h"
#include "slots/velk_pci_card_prov.h"
#include "slots/velk_pci_slot_location_prov.h"
#include "slots/velk_pci_slot_prov.h"

namespace velk {

namespace {

// The ProgIDs do not all begin alike. They are in use as they stand.
constexpr ClassTableEntry kClasses[] = {
    {kClsidVelkPCIBridgeProv, L"VelkWmiPCI.VelkPCIBridgeProv.1", L"VelkWmiPCI.VelkPCIBridgeProv",
     L"CVelkPCIBridgeProv Object", &CreateComObject<CVelkPCIBridgeProv>},
    {kClsidVelkPCICardProv, L"VelkWmiPCI.VelkPCICardProv.1", L"VelkWmiPCI.VelkPCICardProv",
     L"CVelkPCICardProv Object", &CreateComObject<CVelkPCICardProv>},
    {kClsidVelkPCICardInSlotProv, L"VelkWmiPCI.VelkPCICardInSlotProv.1", L"VelkWmiPCI.VelkPCICardInSlotProv",
     L"CVelkPCICardInSlotProv Object", &CreateComObject<CVelkPCICardInSlotProv>},
    {kClsidVelkPCIDeviceProv, L"VelkWmiPCI.VelkPCIDeviceProv.1", L"VelkWmiPCI.VelkPCIDeviceProv",
     L"CVelkPCIDeviceProv Object", &CreateComObject<CVelkPCIDeviceProv>},
    {kClsidVelkPCISlotProv, L"VelkWmiPci.VelkPCISlotProv.1", L"VelkWmiPci.VelkPCISlotProv",
     L"CVelkPCISlotProv Object", &CreateComObject<CVelkPCISlotProv>},
    {kClsidVelkPCISlotElementLocationProv, L"VelkWmiSys.VelkPCISltElmntLocProv.1",
     L"VelkWmiSys.VelkPCISltElmntLocProv", L"CVelkPCISlotElementLocationProv Object",
     &CreateComObject<CVelkPCISlotElementLocationProv>},
    {kClsidVelkPCISlotLocationProv, L"VelkWmiPci.VelkPCISlotLocationProv.1",
     L"VelkWmiPci.VelkPCISlotLocationProv", L"CVelkPCISlotLocationProv Object",
     &CreateComObject<CVelkPCISlotLocationProv>},
    {kClsidVelkRealizesPCIDeviceProv, L"VelkWmiPci.VelkRealizesPCIDeviceProv.1",
     L"VelkWmiPci.VelkRealizesPCIDeviceProv", L"CVelkRealizesPCIDeviceProv Object",
     &CreateComObject<CVelkRealizesPCIDeviceProv>},
    {kClsidVelkSystemPCIDeviceProv, L"VelkWmiPci.VelkSystemPCIDeviceProv.1",
     L"VelkWmiPci.VelkSystemPCIDeviceProv", L"CVelkSystemPCIDeviceProv Object",
     &CreateComObject<CVelkSystemPCIDeviceProv>},
    {kClsidVelkSystemPCISlotProv, L"VelkWmiPci.VelkSystemPCISlotProv.1", L"VelkWmiPci.VelkSystemPCISlotProv",
     L"CVelkSystemPCISlotProv Object", &CreateComObject<CVelkSystemPCISlotProv>},
};

}  // namespace

std::span<const ClassTableEntry> ClassTable() noexcept { return kClasses; }

}  // namespace velk
