#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/fake_wbem.h"

namespace velktest {

using Bytes = std::vector<std::uint8_t>;

/// Composes an SMBIOS structure table.
class SmbiosBuilder {
  public:
    /// What a test says about a System Slots structure; the rest is zero.
    struct Slot {
        std::uint16_t id = 1;
        std::uint8_t type = 0xA5;   ///< PCI Express
        std::uint8_t width = 0x0D;  ///< x16
        bool hotPlug = false;
    };

    /// A well-formed structure: `body` is what follows the header of four bytes.
    SmbiosBuilder& Add(std::uint8_t type, const Bytes& body, const std::vector<std::string>& strings = {});
    /// A System Slots structure of SMBIOS 2.6, cut to `length` bytes.
    SmbiosBuilder& AddSlot(const Slot& slot, std::uint8_t length = 17);
    /// Bytes as they stand.
    SmbiosBuilder& AddRaw(const Bytes& bytes);

    const Bytes& Table() const { return table_; }

  private:
    Bytes table_;
    std::uint16_t handle_ = 0;
};

/// A table of these slots, with a structure of another type before and behind them.
Bytes TableOfSlots(const std::vector<SmbiosBuilder::Slot>& slots);

/// An object of the class in which Windows hands out the table.
velk::ComPtr<FakeClassObject> RawTableObject(LONG size, const Bytes& table);
/// Lets WMI hand out a table.
void ServeSmbios(FakeWmi& wmi, const Bytes& table);

/// The query for the table, as it reaches WMI.
inline constexpr wchar_t kRawTableQuery[] = L"SELECT SIZE,SMBIOSDATA FROM MSSMBIOS_RAWSMBIOSTABLES";

}  // namespace velktest
