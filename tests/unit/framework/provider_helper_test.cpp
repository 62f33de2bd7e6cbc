#include "framework/provider_helper.h"

#include <gtest/gtest.h>

#include "common/com_ptr.h"
#include "common/wbem_status.h"
#include "host/path/path_parser.h"
#include "support/fake_wbem.h"

namespace velk {
namespace {

constexpr wchar_t kThingClass[] = L"Test_Thing";
constexpr ULONGLONG kInstance = WBEMPATH_INFO_IS_INST_REF | WBEMPATH_INFO_IS_COMPOUND;

/// A class object that makes nothing.
class NoParser final : public velktest::FakeUnknown<IClassFactory, IID_IClassFactory> {
  public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void**) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

HRESULT Check(const wchar_t* path, const wchar_t* wmiClass = kThingClass, ULONGLONG test = kInstance) {
    const ComPtr<IClassFactory> parser = velkhost::MakePathParserClass();
    return CInstanceProviderHelper(nullptr, nullptr)
        .CheckInstancePath(parser.Get(), Bstr(path), wmiClass, test);
}

TEST(CProviderHelper, StatusIsHowTheExtendedStatusClassWasFetched) {
    EXPECT_EQ(CProviderHelper(nullptr, nullptr).Status(), kWbemInvalidParameter);
    const auto services = velktest::FakeServices::Make();
    EXPECT_EQ(CProviderHelper(services.Get(), nullptr).Status(), kWbemNotFound);
    services->AddObject(L"__ExtendedStatus", velktest::FakeClassObject::Make());
    EXPECT_EQ(CProviderHelper(services.Get(), nullptr).Status(), S_OK);
}

TEST(CInstanceProviderHelper, AcceptsInstancePathsOfTheClassInAnyCase) {
    EXPECT_EQ(Check(L"Test_Thing.Name=\"a\""), S_OK);
    EXPECT_EQ(Check(L"Test_Thing.Name=\"a\",Place=\"b\""), S_OK);
    EXPECT_EQ(Check(L"\\\\SRV\\root\\VKQ:TEST_thing.Name=\"a\""), S_OK);
}

TEST(CInstanceProviderHelper, TellsPathsOfOtherClassesFromThoseOfNoInstance) {
    EXPECT_EQ(Check(L"Other_Thing.Name=\"a\""), kWbemNotFound);
    EXPECT_EQ(Check(L"Test_Thing"), kWbemInvalidObjectPath);
    EXPECT_EQ(Check(L"Test_Thing.Name=\"a\"", kThingClass, WBEMPATH_INFO_IS_CLASS_REF),
              kWbemInvalidObjectPath)
        << "none of the bits asked for";
    EXPECT_EQ(Check(L"Test_Thing", kThingClass, WBEMPATH_INFO_IS_CLASS_REF), S_OK) << "one of them";
}

TEST(CInstanceProviderHelper, WithoutAParserTheParameterIsInvalid) {
    const CInstanceProviderHelper helper(nullptr, nullptr);
    const Bstr path(L"Test_Thing.Name=\"a\"");
    EXPECT_EQ(helper.CheckInstancePath(nullptr, path, kThingClass, kInstance), kWbemInvalidParameter);
    const ComPtr<NoParser> noParser(new NoParser);
    EXPECT_EQ(helper.CheckInstancePath(noParser.Get(), path, kThingClass, kInstance), kWbemInvalidParameter);
}

TEST(CInstanceProviderHelper, PassesOnWhatTheParserAnswers) {
    const ComPtr<IClassFactory> parser = velkhost::MakePathParserClass();
    ComPtr<IWbemPath> path;
    ASSERT_EQ(parser->CreateInstance(nullptr, kIidIWbemPath, path.PutVoid()), S_OK);
    const HRESULT malformed = path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, L"Test_Thing.Name=\"a");
    ASSERT_TRUE(FAILED(malformed));
    EXPECT_EQ(Check(L"Test_Thing.Name=\"a"), malformed);

    ASSERT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, L"\\\\.\\root\\VKQ"), S_OK);
    wchar_t text[64] = {};
    ULONG length = 64;
    const HRESULT withoutClass = path->GetClassName(&length, text);
    ASSERT_TRUE(FAILED(withoutClass));
    EXPECT_EQ(Check(L"\\\\.\\root\\VKQ"), withoutClass);
}

}  // namespace
}  // namespace velk
