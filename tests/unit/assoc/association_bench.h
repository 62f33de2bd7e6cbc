#pragma once

#include <initializer_list>
#include <utility>
#include <vector>

#include "host/machine/machine_replay.h"
#include "support/hosted/provider_bench.h"
#include "support/smbios_builder.h"

namespace velktest {

/// A pair of references as an instance holds them.
using References = std::pair<velk::CString, velk::CString>;

/// A small server named srv01.velkor.test, served by the WMI server WMISERVER, with everything that the
/// associations are made from: PCI functions and bridges, an SMBIOS table, and the suite's chassis. Empty at
/// first.
class AssociationBench : public ProviderBench {
  public:
    AssociationBench();
    ~AssociationBench() override;

    /// Puts a function (or bridge) with a device number of its own on bus 0; 0 = the platform gives no slot
    /// number. Gives the device number.
    int AddFunction(DWORD slotNumber = 0);
    int AddBridge(DWORD slotNumber = 0);

    /// Before the first request: the table is read once in a process.
    void ServeSlots(const std::vector<SmbiosBuilder::Slot>& slots) { ServeSmbios(wmi, TableOfSlots(slots)); }

    /// What an administrator set about the slot types of modern servers.
    void SetModernSlotTypes(DWORD value) {
        machine.settings.emplace()[L"ModernSlotTypes"] = velkhost::RegistryValue::Number(value);
    }

    /// Makes the suite hold chassis of these paths.
    void ServeChassis(std::initializer_list<const wchar_t*> paths);

    /// What the last request delivered, by the names of the two references.
    std::vector<References> Delivered(const wchar_t* first, const wchar_t* second) const;

    /// Full object paths as the classes publish their objects.
    static velk::CString FunctionPath(int device);
    static velk::CString BridgePath(int device);
    static velk::CString SlotPath(int number);
    static velk::CString CardPath(int number);
    static velk::CString LocationPath(int number);

  private:
    int AddDevice(const wchar_t* classId, DWORD slotNumber);

    velkhost::MachineReplay replay_;

  public:
    velkhost::Machine& machine = replay_.Current();
};

inline constexpr wchar_t kComputerSystem[] =
    L"\\\\WMISERVER\\root\\VKQ:Velk_WinComputerSystem.CreationClassName=\"Velk_WinComputerSystem\","
    L"Name=\"srv01.velkor.test\"";
inline constexpr wchar_t kChassis[] =
    L"\\\\WMISERVER\\root\\VKQ:Velk_ComputerSystemChassis.CreationClassName=\"Velk_ComputerSystemChassis\","
    L"Tag=\"Chassis 0\"";

/// The object path of an association's instance: the references, with their quotes and backslashes escaped,
/// as keys.
velk::CString AssociationPath(const wchar_t* wmiClass,
                              std::initializer_list<std::pair<const wchar_t*, velk::CString>> keys);

}  // namespace velktest
