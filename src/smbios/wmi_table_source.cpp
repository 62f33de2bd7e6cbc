#include "common/wmi_query.h"
#include "framework/property_values.h"
#include "smbios/table_sources.h"

namespace velk {

std::optional<SmbiosTableCopy> ReadTableThroughWmi() {
    WmiObjects tables;
    const HRESULT queried =
        QueryWmi(L"root\\wmi", L"SELECT Size,SMBiosData FROM MSSmBios_RawSMBiosTables", tables, nullptr);
    if (FAILED(queried) || tables.size() != 1) return std::nullopt;
    IWbemClassObject* const object = tables.front().Get();

    std::uint32_t size = 0;
    if (FAILED(GetUInt32Property(object, L"Size", size)) || size == 0) return std::nullopt;
    std::optional<SmbiosTableCopy> table = MakeTableCopy(size);
    if (!table) return std::nullopt;
    // Fewer bytes than announced are no failure: the rest of the copy is zero.
    std::size_t count = size;
    if (FAILED(GetByteBufferProperty(object, L"SMBiosData", static_cast<unsigned char*>(table->bytes.Get()),
                                     count)))
        return std::nullopt;
    return table;
}

}  // namespace velk
