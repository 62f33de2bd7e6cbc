#include "module/class_table.h"

#include "module/class_factory.h"
#include "module/identifiers.h"
#include "pci/velk_pci_device_prov.h"

namespace velk {

namespace {

// The ProgIDs do not all begin alike. They are in use as they stand.
constexpr ClassTableEntry kClasses[] = {
    {kClsidVelkPCIDeviceProv, L"VelkWmiPCI.VelkPCIDeviceProv.1", L"VelkWmiPCI.VelkPCIDeviceProv",
     L"CVelkPCIDeviceProv Object", &CreateComObject<CVelkPCIDeviceProv>},
};

}  // namespace

std::span<const ClassTableEntry> ClassTable() noexcept { return kClasses; }

}  // namespace velk
