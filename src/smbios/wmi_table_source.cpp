#include "common/wmi_query.h"
#include "framework/property_values.h"
#include "smbios/smbios_table.h"

namespace velk {

bool SmbiosTable::ReadThroughWmi(Copy& copy) {
    WmiObjects tables;
    const HRESULT queried =
        QueryWmi(L"root\\wmi", L"SELECT Size,SMBiosData FROM MSSmBios_RawSMBiosTables", tables, nullptr);
    if (FAILED(queried) || tables.size() != 1) return false;
    IWbemClassObject* const table = tables.front().Get();

    std::uint32_t size = 0;
    if (FAILED(GetUInt32Property(table, L"Size", size)) || size == 0) return false;
    if (!copy.Allocate(size)) return false;
    // Fewer bytes than announced are no failure: the rest of the copy is zero.
    std::size_t count = size;
    return SUCCEEDED(
        GetByteBufferProperty(table, L"SMBiosData", static_cast<unsigned char*>(copy.bytes.Get()), count));
}

}  // namespace velk
