// Gets of one instance, by its path, from the provider template.

#include <gmock/gmock.h>

#include "common/com_ptr.h"
#include "common/wbem_status.h"
#include "framework/instance_provider_fixture.h"
#include "host/method_redirect.h"
#include "support/log_capture.h"
#include "support/recording_sink.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::g_computerNameError;
using velktest::g_source;
using velktest::InstanceProvider;
using velktest::RecordingSink;
using velktest::ThingProv;

TEST_F(InstanceProvider, GetsTheInstanceThatThePathNames) {
    g_source.names = {L"a", L"b"};
    const ComPtr<ThingProv> provider = Provider();
    velktest::LogCapture log;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"b"));
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
    EXPECT_TRUE(sink->plainStatuses);
    EXPECT_THAT(log.Lines(),
                ElementsAre(L"[Verbose] CThingProv::GetObjectAsync| Entering",
                            L"[Verbose] CThingProv::GetInstanceByPath| Entering",
                            L"[Verbose] CThingProv::FillInstance| Entering",
                            L"[Information] CThingProv::GetInstanceByPath| Returning instance by path"));
}

TEST_F(InstanceProvider, KeysMayComeInAnyOrderAndTheirNamesInAnyCase) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"test_THING.systemname=\"SRV01\",NAME=\"b\""), S_OK);
    EXPECT_EQ(Get(*provider.Get(), L"\\\\.\\root\\VKQ:Test_Thing.Name=\"b\",SystemName=\"SRV01\""), S_OK);
}

TEST_F(InstanceProvider, KeyValuesMustMatchExactly) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"B\",SystemName=\"SRV01\""), kWbemNotFound);
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"b\",SystemName=\"srv01\""), kWbemNotFound);
}

TEST_F(InstanceProvider, AMissingKeyCountsAsEmpty) {
    g_source.names = {L"b", L""};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.SystemName=\"SRV01\""), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L""));
}

TEST_F(InstanceProvider, UnknownKeysAreIgnored) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"b\",Colour=\"red\",SystemName=\"SRV01\""), S_OK);
}

TEST_F(InstanceProvider, KeysThatAreNoTextAreIgnored) {
    g_source.names = {L"7"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=7,SystemName=\"SRV01\""), kWbemNotFound);
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"7\",SystemName=\"SRV01\""), S_OK);
    g_source.names = {L""};
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=7,SystemName=\"SRV01\""), S_OK)
        << "it counts as empty, and those behind it count";
}

TEST_F(InstanceProvider, TheFirstRecordThatMatchesWins) {
    g_source.names = {L"b", L"b"};
    const ComPtr<ThingProv> provider = Provider();
    Get(*provider.Get(), kPathOfB);
    EXPECT_EQ(classObject->spawned.size(), 1u);
}

class PathsThatNameNoInstance : public InstanceProvider,
                                public ::testing::WithParamInterface<const wchar_t*> {};

TEST_P(PathsThatNameNoInstance, AreRefusedWithoutASetStatus) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), GetParam()), kWbemInvalidParameter);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_TRUE(sink->indications.empty());
    EXPECT_EQ(g_source.rebuilds, 0);
}

INSTANTIATE_TEST_SUITE_P(InstanceProvider, PathsThatNameNoInstance,
                         ::testing::Values(L"Other_Thing.Name=\"b\",SystemName=\"SRV01\"", L"Test_Thing", L"",
                                           L"Test_Thing.Name=", L"\\\\.\\root\\VKQ", L"Test_Thing.Name=\"b"));

TEST_F(InstanceProvider, ANullPathIsRefused) {
    const ComPtr<ThingProv> provider = Provider();
    sink = RecordingSink::Make();
    EXPECT_EQ(provider->GetObjectAsync(nullptr, 0, nullptr, sink.Get()), kWbemInvalidParameter);
}

TEST_F(InstanceProvider, AGetThatFindsNothingSaysSoWithoutASetStatus) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    velktest::LogCapture log;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_EQ(log.Lines().back(), L"[Error] CThingProv::GetInstanceByPath| Cannot return instance by path");
}

TEST_F(InstanceProvider, EveryCauseOfAFailedGetIsNotFound) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    g_source.succeeds = false;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound) << "the rebuild failed";
    g_source.succeeds = true;
    classObject->spawnStatus = kWbemOutOfMemory;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound) << "the spawn failed";
    classObject->spawnStatus = S_OK;
    classObject->FailPut(L"Name", kWbemOutOfMemory);
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound) << "a write failed";
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_TRUE(sink->indications.empty());
}

TEST_F(InstanceProvider, AGetWithoutAComputerNameFails) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    g_computerNameError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemFailed);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_EQ(g_source.rebuilds, 0);
}

// Places in IClassFactory and IWbemPath.
constexpr std::size_t kCreateInstance = 3;
constexpr std::size_t kSetText = 3;

int g_callsUntilRefusal = 0;
HRESULT(WINAPI* g_createInstance)(IClassFactory*, IUnknown*, REFIID, void**) = nullptr;
HRESULT WINAPI RefuseToCreate(IClassFactory* factory, IUnknown* outer, REFIID iid, void** object) {
    if (g_callsUntilRefusal-- == 0) return E_ACCESSDENIED;
    return g_createInstance(factory, outer, iid, object);
}
HRESULT(WINAPI* g_setText)(IWbemPath*, ULONG, LPCWSTR) = nullptr;
HRESULT WINAPI RefuseText(IWbemPath* path, ULONG mode, LPCWSTR text) {
    if (g_callsUntilRefusal-- == 0) return E_ACCESSDENIED;
    return g_setText(path, mode, text);
}

/// The path is parsed twice: to see whether it names an instance, and for its keys. The parser's failures of
/// the first are the path's, those of the second their own.
class FailingParser : public InstanceProvider {
  protected:
    FailingParser() {
        g_source.names = {L"b"};
        EXPECT_EQ(::CoGetClassObject(kClsidWbemDefPath, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                     factory_.PutVoid()),
                  S_OK);
        EXPECT_EQ(factory_->CreateInstance(nullptr, kIidIWbemPath, path_.PutVoid()), S_OK);
    }

    ComPtr<IClassFactory> factory_;
    ComPtr<IWbemPath> path_;
};

TEST_F(FailingParser, ThatCannotBeMadeASecondTimeFailsTheGet) {
    const ComPtr<ThingProv> provider = Provider();
    const velkhost::MethodRedirect create(factory_.Get(), kCreateInstance,
                                          reinterpret_cast<void*>(&RefuseToCreate));
    g_createInstance = reinterpret_cast<decltype(g_createInstance)>(create.Original());
    g_callsUntilRefusal = 0;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemInvalidParameter);
    g_callsUntilRefusal = 1;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemFailed);
    EXPECT_EQ(g_source.rebuilds, 0);
}

TEST_F(FailingParser, ThatRefusesTheTextASecondTimeFailsTheGetWithItsStatus) {
    const ComPtr<ThingProv> provider = Provider();
    const velkhost::MethodRedirect set(path_.Get(), kSetText, reinterpret_cast<void*>(&RefuseText));
    g_setText = reinterpret_cast<decltype(g_setText)>(set.Original());
    g_callsUntilRefusal = 0;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemInvalidParameter);
    g_callsUntilRefusal = 1;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), E_ACCESSDENIED);
    EXPECT_EQ(g_source.rebuilds, 0);
}

constexpr std::size_t kGetKey2 = 7;  // in IWbemPathKeyList

int g_keysRead = 0;
HRESULT(WINAPI* g_getKey)(IWbemPathKeyList*, ULONG, ULONG, ULONG*, LPWSTR, VARIANT*, ULONG*) = nullptr;
HRESULT WINAPI RefuseFirstKey(IWbemPathKeyList* keys, ULONG index, ULONG flags, ULONG* length, LPWSTR name,
                              VARIANT* value, ULONG* type) {
    ++g_keysRead;
    if (index == 0) return E_ACCESSDENIED;
    return g_getKey(keys, index, flags, length, name, value, type);
}

TEST_F(FailingParser, ThatDoesNotTellOneKeyTellsTheOthersAndIsAskedForEachOnce) {
    g_source.names = {L""};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(path_->SetText(WBEMPATH_CREATE_ACCEPT_ALL, kPathOfB), S_OK);
    ComPtr<IWbemPathKeyList> keys;
    ASSERT_EQ(path_->GetKeyList(keys.Put()), S_OK);
    const velkhost::MethodRedirect get(keys.Get(), kGetKey2, reinterpret_cast<void*>(&RefuseFirstKey));
    g_getKey = reinterpret_cast<decltype(g_getKey)>(get.Original());
    g_keysRead = 0;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L""));
    EXPECT_EQ(g_keysRead, 2);
}

TEST_F(InstanceProvider, AGetRebuildsTheListAndLeavesTheCacheAlone) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    const auto cached = Delivered();
    Get(*provider.Get(), kPathOfB);
    EXPECT_EQ(g_source.rebuilds, 2);
    EXPECT_NE(Delivered().front().Get(), cached.front().Get())
        << "the list changed: a freshly filled instance";
}

TEST_F(InstanceProvider, AGetHandsOutTheCachedInstanceWhenTheGenerationIsTheCachesOwn) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    const auto cached = Delivered();
    FailARebuild(*provider.Get());
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_EQ(Delivered().front().Get(), cached.front().Get());
}

// Known and kept: also where the record at that index is another than it was.
TEST_F(InstanceProvider, AGetHandsOutTheCachedInstanceOfTheSameGenerationThoughTheRecordChanged) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    FailARebuild(*provider.Get());
    g_source.names = {L"b"};
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"a"));
}

TEST_F(InstanceProvider, ACacheThatIsShorterThanTheListIsNotReadBeyondItsEnd) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    FailARebuild(*provider.Get());
    g_source.names = {L"a", L"b"};
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"b"));
}

}  // namespace
}  // namespace velk
