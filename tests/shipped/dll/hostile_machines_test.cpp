// Device texts and firmware tables of every odd form, through the shipped DLL, whose memory is guarded.

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/long_run.h"
#include "support/registry_fixture.h"
#include "support/smbios_builder.h"
#include "support/temp_folder.h"

namespace {

using testing::IsSubsetOf;
using velktest::Answer;
using velktest::Bytes;
using velktest::DllMemory;
using velktest::Enumerate;
using velktest::Get;
using velktest::HostedDll;
using velktest::IsLongRun;
using velktest::ServedClass;

class HostileMachines : public testing::Test {
  protected:
    HostileMachines() { registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path()); }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
};

/// The same numbers in every run.
class Random {
  public:
    /// From 0 to `end` - 1.
    std::size_t Below(std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(engine_);
    }

  private:
    std::mt19937 engine_{20261121};
};

// Device properties.

constexpr DWORD kProperties[] = {
    SPDRP_DEVICEDESC,     SPDRP_HARDWAREID, SPDRP_COMPATIBLEIDS, SPDRP_LOCATION_INFORMATION,
    SPDRP_LOCATION_PATHS, SPDRP_BUSNUMBER,  SPDRP_UI_NUMBER};

constexpr std::size_t kFullProperty = 2048;  // bytes that the module has room for

velkhost::RegistryValue FromText(const std::wstring& text, DWORD type = REG_SZ) {
    const auto* const bytes = reinterpret_cast<const BYTE*>(text.data());
    return {type, {bytes, bytes + text.size() * sizeof(wchar_t)}};
}

/// What a property may hold, of which no terminator is added.
std::vector<velkhost::RegistryValue> OddProperties() {
    using namespace std::string_literals;
    const std::wstring digits(900, L'9');
    std::vector<velkhost::RegistryValue> odd = {
        {REG_SZ, {}},
        {REG_SZ, {0}},
        {REG_SZ, {0, 0}},
        {REG_SZ, {'P'}},
        {REG_SZ, {'P', 0, 'C'}},
        {REG_MULTI_SZ, {0, 0, 0, 0}},
        {REG_DWORD, {1, 2, 3}},
        {REG_DWORD, {0xFF, 0xFF, 0xFF, 0xFF}},
        {REG_DWORD, {0, 0, 0, 0x80}},
        {REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0x80}},
        {REG_BINARY, std::vector<BYTE>(kFullProperty, 0xFF)},
        {REG_BINARY, std::vector<BYTE>(kFullProperty + 1, 0xFF)},
        {REG_BINARY, std::vector<BYTE>(0x10000, 0xFF)},
        {REG_SZ, std::vector<BYTE>(kFullProperty, 0)},
        {REG_SZ, std::vector<BYTE>(kFullProperty - 1, 'x')},
    };
    for (const std::wstring& text : {
             std::wstring(kFullProperty / 2, L'x'),
             std::wstring(kFullProperty / 2, L','),
             std::wstring(kFullProperty / 2, L'#'),
             std::wstring(kFullProperty / 2, L'\xD800'),
             L"PCI bus 4294967296, device 4294967297, function 99999999999999999999"s,
             L"PCI bus -1, device -2147483649, function -0"s,
             L"bus " + digits + L", device 1, function 2",
             L"bus,device,function"s,
             L"bus device function bus device function 1"s,
             L"PCI bus"s,
             L"PCI bus 1, device"s,
             L"PCIROOT(FFFFFFFFFFFFFFFFF)#PCI(FFFFFFFFFFFFFFFFF)"s,
             L"PCIROOT(0)#PCI("s,
             L"PCIROOT("s,
             L"PCI\\VEN_FFFFFFFFFFFFFFFF&DEV_GGGG&SUBSYS_&REV_"s,
             L"PCI\\VEN_8086&DEV_1521&SUBSYS_0001808"s,
             L"PCI\\VEN_"s,
             L"PCI\\CC_"s,
             L"PCI\\CC_06"s,
             L"PCI\\CC_060"s,
             L"PCI\\CC_FFFFFF\0PCI\\CC_060400\0\0"s,
             L"PCI\\CC_\xFF10\xFF11\xFF12\xFF13"s,
             std::wstring(kFullProperty / 2 - 7, L'x') + L"CC_0604",
             std::wstring(kFullProperty / 2 - 5, L'x') + L"CC_06",
             std::wstring(kFullProperty / 2 - 3, L'x') + L"CC_",
             L"\0\0\0"s,
         }) {
        odd.push_back(FromText(text, REG_MULTI_SZ));
        odd.push_back(FromText(text + L'\0'));
    }
    return odd;
}

velkhost::PnpDevice SaneDevice() {
    velkhost::PnpDevice device;
    device.instanceId = L"PCI\\VEN_8086&DEV_1521&SUBSYS_00018086&REV_01\\9";
    device.SetText(SPDRP_DEVICEDESC, L"The odd one");
    device.SetTexts(SPDRP_HARDWAREID, {L"PCI\\VEN_8086&DEV_1521&SUBSYS_00018086&REV_01"});
    device.SetTexts(SPDRP_COMPATIBLEIDS, {L"PCI\\CC_020000", L"PCI\\CC_0200"});
    device.SetText(SPDRP_LOCATION_INFORMATION, L"PCI bus 77, device 7, function 7");
    device.SetTexts(SPDRP_LOCATION_PATHS, {L"PCIROOT(0)#PCI(0100)"});
    device.SetNumber(SPDRP_BUSNUMBER, 77);
    device.SetNumber(SPDRP_UI_NUMBER, 77);
    return device;
}

/// The sample machine with one more device at its end, which must not change what is told of the others.
class HostileDevices : public HostileMachines {
  protected:
    HostileDevices() {
        for (const wchar_t* const readsDevices : {L"Velk_PCIDevice", L"Velk_PCIBridge", L"Velk_PCICard",
                                                  L"Velk_RealizesPCIDevice", L"Velk_SystemPCIDevice"}) {
            providers_.push_back({readsDevices, dll_.MakeProvider(readsDevices), {}});
            providers_.back().expected = Enumerate(*providers_.back().provider);
        }
        sane_ = dll_.CurrentMachine().devices;
    }

    void SetUp() override {
        // An odd device shows: what it would be without its oddity is told by every class.
        ShowDevices({SaneDevice()});
        for (const Served& served : providers_) {
            ASSERT_FALSE(served.expected.texts.empty());
            const bool isBridges = served.name == L"Velk_PCIBridge";
            ASSERT_EQ(Enumerate(*served.provider).texts.size(),
                      served.expected.texts.size() + (isBridges ? 0 : 1))
                << testing::PrintToString(served.name);
        }
    }

    void ExpectTheOthersUnchanged(const std::vector<velkhost::PnpDevice>& odd) {
        ShowDevices(odd);
        for (const Served& served : providers_) {
            const Answer answer = Enumerate(*served.provider);
            EXPECT_EQ(answer.statuses, std::vector<HRESULT>{S_OK}) << testing::PrintToString(served.name);
            EXPECT_THAT(served.expected.texts, IsSubsetOf(answer.texts));
            EXPECT_LE(answer.texts.size(), served.expected.texts.size() + odd.size());
        }
    }

    /// All in one machine first; one by one only to tell which of them is at fault.
    void ExpectTheOthersUnchangedByAnyOf(const std::vector<velkhost::PnpDevice>& odd) {
        ExpectTheOthersUnchanged(odd);
        if (!HasFailure()) return;
        for (std::size_t index = 0; index < odd.size(); ++index) {
            SCOPED_TRACE("form " + std::to_string(index));
            ExpectTheOthersUnchanged({odd[index]});
        }
    }

  private:
    void ShowDevices(const std::vector<velkhost::PnpDevice>& odd) {
        auto& devices = dll_.CurrentMachine().devices;
        devices = sane_;
        devices.insert(devices.end(), odd.begin(), odd.end());
    }

    struct Served {
        std::wstring name;
        velk::ComPtr<IWbemServices> provider;
        Answer expected;
    };

    HostedDll dll_{velktest::LoadSampleMachine("tower-with-gaps"), DllMemory::kGuarded};
    std::vector<Served> providers_;
    std::vector<velkhost::PnpDevice> sane_;
};

TEST_F(HostileDevices, AnOddPropertyCostsItsDeviceAtMost) {
    const auto odd = OddProperties();
    for (const DWORD property : kProperties) {
        SCOPED_TRACE("property " + std::to_string(property));
        std::vector<velkhost::PnpDevice> devices;
        for (const velkhost::RegistryValue& form : odd) {
            devices.push_back(SaneDevice());
            devices.back().properties[property] = form;
        }
        ExpectTheOthersUnchangedByAnyOf(devices);
    }
}

void ChangeBytes(velkhost::PnpDevice& device, Random& random) {
    for (const DWORD property : kProperties) {
        auto& bytes = device.properties[property].bytes;
        for (std::size_t change = random.Below(4); change > 0; --change)
            bytes[random.Below(bytes.size())] = static_cast<BYTE>(random.Below(256));
        if (random.Below(4) == 0) bytes.resize(random.Below(bytes.size() + 1));
    }
}

TEST_F(HostileDevices, PropertiesWithBytesChangedAtRandomCostTheirDeviceAtMost) {
    Random random;
    const std::size_t machines = IsLongRun() ? 1000 : 20 / velktest::CaseStride();
    for (std::size_t number = 0; number < machines; ++number) {
        SCOPED_TRACE("machine " + std::to_string(number));
        std::vector<velkhost::PnpDevice> devices(5, SaneDevice());
        for (velkhost::PnpDevice& device : devices) ChangeBytes(device, random);
        ExpectTheOthersUnchangedByAnyOf(devices);
    }
}

// Firmware tables.

class HostileTables : public HostileMachines {
  protected:
    /// All classes answer on a machine with this table, none with a failure: however odd, it is a table.
    void ExpectAnswers(const Bytes& table, DllMemory memory = DllMemory::kGuarded) {
        velkhost::Machine machine = machine_;
        machine.smbios->table = table;
        HostedDll dll(machine, memory);
        const bool hasWideGaps = HasWideGaps(dll);
        for (const ServedClass& served : dll.Host().Classes()) {
            // It asks WMI twice about every number that it tries, by design: minutes for a wide gap.
            if (hasWideGaps && served.name == L"Velk_PCISlotElementLocation") continue;
            SCOPED_TRACE(testing::PrintToString(served.name));
            const auto provider = dll.MakeProvider(served);
            const Answer answer = Enumerate(*provider);
            ASSERT_EQ(answer.statuses.size(), 1U);
            EXPECT_EQ(answer.statuses[0], S_OK);
            if (answer.paths.empty()) continue;
            EXPECT_EQ(Get(*provider, answer.paths.front()).texts.size(), 1U);
            EXPECT_EQ(Get(*provider, answer.paths.back()).texts.size(), 1U);
        }
    }

  private:
    /// Whether the table has a slot number of more than three digits.
    static bool HasWideGaps(const HostedDll& dll) {
        const Answer slots = Enumerate(*dll.MakeProvider(L"Velk_PCISlot"));
        return std::ranges::any_of(slots.paths, [](const std::wstring& path) {
            return path.size() > std::wstring_view(
                                     L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI "
                                     L"Slot 999\"")
                                     .size();
        });
    }

  protected:
    const velkhost::Machine machine_ = velktest::LoadSampleMachine("tower-with-gaps");
};

Bytes Structure(std::uint8_t type, std::uint8_t length, std::size_t size, std::uint8_t fill = 0x20) {
    Bytes structure(size, fill);
    if (size > 0) structure[0] = type;
    if (size > 1) structure[1] = length;
    return structure;
}

TEST_F(HostileTables, MalformedOnesAreAnswered) {
    const Bytes sane = velktest::TableOfSlots({{.id = 1}, {.id = 2}});
    const auto withTail = [&](const Bytes& tail) {
        Bytes table = sane;
        table.insert(table.end(), tail.begin(), tail.end());
        return table;
    };
    Bytes manySlots;
    for (std::uint16_t id = 180; id < 300; ++id) {  // beyond what a byte holds
        const Bytes one = velktest::SmbiosBuilder().AddSlot({.id = id}).Table();
        manySlots.insert(manySlots.end(), one.begin(), one.end());
    }
    const std::vector<Bytes> tables = {
        {9},
        {9, 17},
        {9, 0, 0, 0},
        {9, 0, 0, 0, 0, 0},
        {9, 3, 0, 0, 0, 0},
        {9, 4, 0, 0, 0, 0},
        {9, 255, 0, 0, 0, 0},
        {9, 17, 0, 0},
        {0, 0},
        Bytes(2, 0xFF),
        Bytes(0x10000, 9),
        Bytes(0x10000, 0),
        Bytes(0xFFFF, 0xFF),
        Structure(9, 17, 17),
        Structure(9, 17, 18, 0),
        Structure(9, 16, 40),
        withTail({9}),
        withTail({9, 17, 1, 0}),
        withTail(Structure(9, 17, 16)),
        withTail(Structure(9, 17, 17)),
        withTail(Structure(9, 17, 200)),
        withTail(Structure(9, 2, 200, 0)),
        withTail(Structure(9, 255, 200, 0)),
        withTail(velktest::SmbiosBuilder().AddSlot({.id = 3}, 9).Table()),
        withTail(velktest::SmbiosBuilder().AddSlot({.id = 0xFFFF}).AddSlot({.id = 0xFFFF}).Table()),
        manySlots,
    };
    for (std::size_t index = 0; index < tables.size(); index += velktest::CaseStride()) {
        SCOPED_TRACE("table " + std::to_string(index));
        ExpectAnswers(tables[index]);
    }
}

TEST_F(HostileTables, TheLargestIsAnswered) {
    // Structures of 8 bytes, as many as 64 KiB have room for, all with the slot ID 0.
    Bytes table;
    while (table.size() + 8 < 0x10000) {
        const Bytes slot = {9, 6, 0, 0, 0, 0xA5, 0, 0};
        table.insert(table.end(), slot.begin(), slot.end());
    }
    // Tens of thousands of blocks at once are too many for pages of their own.
    ExpectAnswers(table, DllMemory::kPlain);
}

TEST_F(HostileTables, OnesWithBytesChangedAtRandomAreAnswered) {
    Random random;
    const std::size_t machines = IsLongRun() ? 1000 : 15 / velktest::CaseStride();
    for (std::size_t number = 0; number < machines; ++number) {
        SCOPED_TRACE("table " + std::to_string(number));
        Bytes table = machine_.smbios->table;
        for (std::size_t change = 1 + random.Below(8); change > 0; --change)
            table[random.Below(table.size())] = static_cast<std::uint8_t>(random.Below(256));
        if (random.Below(3) == 0) table.resize(1 + random.Below(table.size()));
        ExpectAnswers(table);
    }
}

}  // namespace
