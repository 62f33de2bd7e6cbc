// What Initialize keeps, and which of it a request goes by.

#include <gmock/gmock.h>

#include <functional>

#include "common/com_ptr.h"
#include "common/wbem_status.h"
#include "framework/instance_provider_fixture.h"
#include "support/fake_wbem.h"
#include "support/recording_sink.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::FakeClassObject;
using velktest::FakeServices;
using velktest::g_source;
using velktest::InstanceProvider;
using velktest::kWmiClass;
using velktest::StandIn;
using velktest::ThingProv;

/// Another namespace, with its own definition of the class.
struct OtherNamespace {
    OtherNamespace() { services->AddObject(kWmiClass, classObject); }

    ComPtr<FakeServices> services = FakeServices::Make();
    ComPtr<FakeClassObject> classObject = FakeClassObject::Make();
};

/// What happens the first time that a request asks for the computer's name: in a get before the list is
/// searched, in an enumeration when the first instance is filled.
std::function<void()> g_midway;

BOOL WINAPI NameTheComputerMidway(COMPUTER_NAME_FORMAT format, wchar_t* buffer, DWORD* size) {
    if (const auto midway = std::exchange(g_midway, nullptr)) midway();
    return velktest::NameTheComputer(format, buffer, size);
}

class InstanceProviderSession : public InstanceProvider {
  protected:
    HRESULT InitializeFor(ThingProv& provider, FakeServices& other) {
        return provider.Initialize(nullptr, 0, nullptr, nullptr, &other, nullptr, initSink.Get());
    }

    StandIn<decltype(&NameTheComputerMidway)> midway_{"GetComputerNameExW", &NameTheComputerMidway};
};

TEST_F(InstanceProviderSession, AnEnumerationGoesByOneClassDefinitionToItsEnd) {
    g_source.names = {L"a", L"b", L"c"};
    const ComPtr<ThingProv> provider = Provider();
    const OtherNamespace other;
    g_midway = [&] { EXPECT_EQ(InitializeFor(*provider.Get(), *other.services), S_OK); };
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_EQ(classObject->spawned.size(), 3u);
    EXPECT_THAT(other.classObject->spawned, IsEmpty()) << "made of another definition than the first";

    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_EQ(other.classObject->spawned.size(), 3u) << "the next request goes by the new one";
}

TEST_F(InstanceProviderSession, AGetGoesByTheClassDefinitionItBeganWith) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    const OtherNamespace other;
    g_midway = [&] { EXPECT_EQ(InitializeFor(*provider.Get(), *other.services), S_OK); };
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_EQ(classObject->spawned.size(), 1u);
    EXPECT_THAT(other.classObject->spawned, IsEmpty());
}

TEST_F(InstanceProviderSession, ASecondInitializeWithoutItsClassLeavesGetsThatFindNothing) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    const auto without = FakeServices::Make();
    EXPECT_EQ(InitializeFor(*provider.Get(), *without), kWbemFailed);
    EXPECT_THAT(without->gotPaths, ElementsAre(kWmiClass)) << "no helper is made any more";
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound) << "the helper of the first call stays";
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed) << "the first call's class does not";
}

TEST_F(InstanceProviderSession, ASecondInitializeWithoutAParserKeepsTheClassItFetched) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    const OtherNamespace other;
    {
        const velktest::NoClasses noParser;
        EXPECT_EQ(InitializeFor(*provider.Get(), *other.services), kWbemFailed);
    }
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemInvalidParameter);
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_EQ(other.classObject->spawned.size(), 1u);
}

TEST_F(InstanceProviderSession, ASecondInitializeGivesTheFirstNamespaceBack) {
    const ComPtr<ThingProv> provider = Provider();
    const auto without = FakeServices::Make();
    const auto references = [](FakeServices& of) {
        of.AddRef();
        return of.Release();
    };
    const ULONG held = references(*services);
    EXPECT_EQ(InitializeFor(*provider.Get(), *without), kWbemFailed);
    EXPECT_EQ(references(*services), held - 1);
    EXPECT_EQ(references(*without), 2u) << "ours and the provider's, for all that it failed";
}

}  // namespace
}  // namespace velk
