// Object paths of every odd form, through the shipped DLL, whose memory is guarded.

#include <gmock/gmock.h>

#include <optional>

#include "common/wbem_status.h"
#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

using testing::AnyOf;
using velktest::Answer;
using velktest::Enumerate;
using velktest::Get;
using velktest::ServedClass;

std::wstring Repeat(const std::wstring& text, std::size_t count) {
    std::wstring repeated;
    repeated.reserve(text.size() * count);
    for (std::size_t time = 0; time < count; ++time) repeated += text;
    return repeated;
}

/// ",K1=\"v\",K2=\"v\"...".
std::wstring ManyKeys(int count) {
    std::wstring keys;
    for (int key = 1; key <= count; ++key) keys += L",K" + std::to_wstring(key) + L"=\"v\"";
    return keys;
}

constexpr std::size_t kMegabyte = 1 << 20;

class HostilePaths : public testing::Test {
  protected:
    HostilePaths() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        dll_.emplace(velktest::LoadSampleMachine("tower-with-gaps"), velktest::DllMemory::kGuarded);
    }

    /// For each class: a provider that has delivered its instances once, and what these are.
    template <class Body>
    void ForEachClass(Body body) {
        for (const ServedClass& served : dll_->Host().Classes()) {
            SCOPED_TRACE(testing::PrintToString(served.name));
            const auto provider = dll_->MakeProvider(served);
            const Answer expected = Enumerate(*provider);
            ASSERT_FALSE(expected.paths.empty());
            body(served, *provider, expected);
        }
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    std::optional<velktest::HostedDll> dll_;
};

/// Paths that name no instance of the class.
std::vector<std::wstring> OddPaths(const std::wstring& name, const std::wstring& good) {
    using namespace std::string_literals;
    const std::wstring key = name + L".Tag=";
    return {
        L"",
        L".",
        L":",
        L"=",
        L"@",
        L"\"",
        L"\\",
        L"\\\\",
        L"\\\\.\\",
        L"//",
        L"\\\\.\\root\\VKQ",
        L"\\\\.\\root\\VKQ:",
        name,
        name + L".",
        name + L"=",
        name + L"=@",
        name + L"=1",
        name + L"=\"x\"",
        name + L".Tag",
        name + L".=\"x\"",
        name + L"..Tag=\"x\"",
        key,
        key + L"\"",
        key + L"\"unterminated",
        key + L"\"ends in a backslash\\",
        key + L"\"x\",",
        key + L"\"x\"\"y\"",
        key + L"'x",
        key + L"99999999999999999999999",
        key + L"-",
        key + L"0x",
        key + L"true",
        key + L"\"\xD800\"",
        key + L"\"\xDC00\xD800\"",
        key + L"\"\xFFFF\xFFFE\"",
        key + L"\"a\0b\""s,
        key + L"\0"s,
        L"\0"s,
        L"\0"s + good,
        good + L",",
        good.substr(0, good.size() - 1),
        name + L"x" + good.substr(name.size()),
        L"Nothing" + good.substr(name.size()),
    };
}

/// The same, of a megabyte and more.
std::vector<std::wstring> LargePaths(const std::wstring& name) {
    const std::wstring key = name + L".Tag=";
    return {
        Repeat(L"\\", kMegabyte),
        Repeat(L"\"", kMegabyte),
        Repeat(L"a\\", kMegabyte / 2),
        std::wstring(kMegabyte, L'a'),
        std::wstring(kMegabyte, L'\0'),
        key + L"\"" + std::wstring(kMegabyte, L'a') + L"\"",
        key + L"\"" + std::wstring(kMegabyte, L'a'),
        key + L"\"" + Repeat(L"\\\"", kMegabyte / 2) + L"\"",
        key + L"\"" + Repeat(L"\\", kMegabyte),
        name + L"." + std::wstring(kMegabyte, L'k') + L"=\"v\"",
        name + L".K0=\"v\"" + ManyKeys(10000),
    };
}

void ExpectToNameNothing(IWbemServices& provider, const std::vector<std::wstring>& paths) {
    for (const std::wstring& path : paths) {
        SCOPED_TRACE(testing::PrintToString(path.substr(0, 200)));
        const Answer answer = Get(provider, path);
        EXPECT_THAT(answer.returned, AnyOf(velk::kWbemInvalidParameter, velk::kWbemNotFound));
        EXPECT_TRUE(answer.statuses.empty());
        EXPECT_EQ(answer.indications, 0);
    }
}

TEST_F(HostilePaths, AreRefusedOrNameNothing) {
    ForEachClass([](const ServedClass& served, IWbemServices& provider, const Answer& expected) {
        ExpectToNameNothing(provider, OddPaths(served.name, expected.paths.front()));
        EXPECT_EQ(Get(provider, expected.paths.front()).texts, std::vector{expected.texts.front()});
    });
}

// By one class: what reads a path is the same code for all, and it takes seconds.
TEST_F(HostilePaths, LargeOnesAreRefusedOrNameNothing) {
    const ServedClass& served = dll_->Host().Class(L"Velk_PCICard");
    const auto provider = dll_->MakeProvider(served);
    const Answer expected = Enumerate(*provider);
    ASSERT_FALSE(expected.paths.empty());
    ExpectToNameNothing(*provider, LargePaths(served.name));
    EXPECT_EQ(Get(*provider, expected.paths.front()).texts, std::vector{expected.texts.front()});
}

TEST_F(HostilePaths, APathEndsAtItsFirstZero) {
    using namespace std::string_literals;
    ForEachClass([](const ServedClass&, IWbemServices& provider, const Answer& expected) {
        const Answer answer = Get(provider, expected.paths.front() + L"\0.Tag=\"x"s);
        EXPECT_EQ(answer.texts, std::vector{expected.texts.front()});
    });
}

TEST_F(HostilePaths, AnInstanceIsFoundBehindTenThousandFurtherKeys) {
    ForEachClass([](const ServedClass&, IWbemServices& provider, const Answer& expected) {
        const Answer answer = Get(provider, expected.paths.back() + ManyKeys(10000));
        EXPECT_EQ(answer.texts, std::vector{expected.texts.back()});
    });
}

/// No computer has such a name; but no call that the module asks for one promises that.
TEST(HostileNames, QuotesAndBackslashesComeBackAsTheyAre) {
    velktest::RegistryFixture registry;
    const velktest::TempFolder folder;
    registry.SetText(velktest::kCommonLogKey, L"LogFolder", folder.Path());
    const velktest::Apartment apartment;
    velkhost::Machine machine = velktest::LoadSampleMachine("tower-with-gaps");
    const std::wstring name = L"to\"we\\r'\\\\\"\"s.example.com";
    machine.names = {name, name, L"TO\"W\\ER"};
    for (velkhost::PnpDevice& device : machine.devices) device.SetText(SPDRP_DEVICEDESC, L"\"\\\"\\\\\"");
    velktest::HostedDll dll(machine, velktest::DllMemory::kGuarded);

    for (const ServedClass& served : dll.Host().Classes()) {
        SCOPED_TRACE(testing::PrintToString(served.name));
        const auto provider = dll.MakeProvider(served);
        const Answer expected = Enumerate(*provider);
        ASSERT_EQ(expected.statuses, std::vector<HRESULT>{S_OK});
        ASSERT_FALSE(expected.paths.empty());
        for (std::size_t index = 0; index < expected.paths.size(); ++index) {
            const Answer got = Get(*provider, expected.paths[index]);
            ASSERT_EQ(got.texts, std::vector{expected.texts[index]})
                << testing::PrintToString(expected.paths[index]);
        }
    }
}

}  // namespace
