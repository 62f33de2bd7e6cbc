// The shipped DLL seen from outside: what any program that loads it finds.

#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "common/com_ptr.h"
#include "common/handle.h"
#include "host/import_redirect.h"
#include "module/identifiers.h"
#include "support/log_line.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"
#include "support/usage.h"

namespace {

using testing::ElementsAre;
using testing::IsSubsetOf;
using velk::CString;

/// The DLL, loaded with its log in a folder of its own.
class DllTest : public testing::Test {
  protected:
    DllTest() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        dll_ = velk::UniqueLibrary(::LoadLibraryW(L"VelkWmiPci.dll"));
    }

    void SetUp() override { ASSERT_TRUE(dll_) << "error " << ::GetLastError(); }

    template <class Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(dll_.Get(), name)));
    }
    HRESULT CanUnloadNow() const { return Export<HRESULT(WINAPI*)()>("DllCanUnloadNow")(); }
    HRESULT GetClassObject(REFCLSID clsid, void** object) const {
        return Export<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(
            clsid, IID_IClassFactory, object);
    }
    HRESULT Register() const { return Export<HRESULT(WINAPI*)()>("DllRegisterServer")(); }
    HRESULT Unregister() const { return Export<HRESULT(WINAPI*)()>("DllUnregisterServer")(); }

    const BYTE* Image() const { return reinterpret_cast<const BYTE*>(dll_.Get()); }
    const IMAGE_OPTIONAL_HEADER64& OptionalHeader() const {
        const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(Image());
        return reinterpret_cast<const IMAGE_NT_HEADERS64*>(Image() + dos->e_lfanew)->OptionalHeader;
    }
    template <class Data>
    const Data* At(DWORD address) const {
        return reinterpret_cast<const Data*>(Image() + address);
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velk::UniqueLibrary dll_;
};

// The file.

TEST_F(DllTest, ImportsComeFromSystemDllsAlone) {
    std::set<std::string> libraries;
    for (const velkhost::ImportedFunction& import : velkhost::ReadImports(dll_.Get())) {
        std::string library = import.library;
        for (char& character : library) character = static_cast<char>(std::tolower(character));
        libraries.insert(library);
    }
    EXPECT_FALSE(libraries.empty());
    EXPECT_THAT(libraries, IsSubsetOf({"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
                                       "oleaut32.dll", "setupapi.dll", "user32.dll"}));
}

TEST_F(DllTest, ExactlyFiveFunctionsAreExported) {
    const IMAGE_DATA_DIRECTORY& entry = OptionalHeader().DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    ASSERT_NE(entry.VirtualAddress, 0U);
    const auto& exports = *At<IMAGE_EXPORT_DIRECTORY>(entry.VirtualAddress);
    EXPECT_EQ(exports.NumberOfFunctions, 5U);
    std::vector<std::string> names;
    const DWORD* const addresses = At<DWORD>(exports.AddressOfNames);
    for (DWORD index = 0; index < exports.NumberOfNames; ++index)
        names.emplace_back(At<char>(addresses[index]));
    EXPECT_THAT(names, ElementsAre("DllCanUnloadNow", "DllGetClassObject", "DllMain", "DllRegisterServer",
                                   "DllUnregisterServer"));
}

TEST_F(DllTest, ImageIsHardened) {
    constexpr WORD kWanted = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE |
                             IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    EXPECT_EQ(OptionalHeader().DllCharacteristics & kWanted, kWanted);
    EXPECT_NE(OptionalHeader().DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0U)
        << "without relocations the base is not dynamic";
}

// Resources.

TEST_F(DllTest, VersionSaysWhatTheFileIs) {
    DWORD ignored = 0;
    std::vector<BYTE> block(::GetFileVersionInfoSizeW(L"VelkWmiPci.dll", &ignored));
    ASSERT_FALSE(block.empty());
    ASSERT_TRUE(::GetFileVersionInfoW(L"VelkWmiPci.dll", 0, static_cast<DWORD>(block.size()), block.data()));
    const auto text = [&](const CString& name) {
        void* value = nullptr;
        UINT length = 0;
        const CString path = L"\\StringFileInfo\\040904B0\\" + name;
        if (!::VerQueryValueW(block.data(), path.c_str(), &value, &length)) return CString(L"(none)");
        return CString(static_cast<const wchar_t*>(value));
    };
    EXPECT_EQ(text(L"CompanyName"), L"Velkor");
    EXPECT_EQ(text(L"OriginalFilename"), L"VelkWmiPci.dll");
    EXPECT_NE(text(L"FileDescription"), L"(none)");

    void* value = nullptr;
    UINT length = 0;
    ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\", &value, &length));
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(fixed.dwFileType, static_cast<DWORD>(VFT_DLL));
    EXPECT_EQ(text(L"FileVersion"), std::to_wstring(HIWORD(fixed.dwFileVersionMS)) + L"." +
                                        std::to_wstring(LOWORD(fixed.dwFileVersionMS)) + L"." +
                                        std::to_wstring(HIWORD(fixed.dwFileVersionLS)));
}

TEST_F(DllTest, StringTableIsInUsEnglish) {
    EXPECT_NE(::FindResourceExW(dll_.Get(), RT_STRING, MAKEINTRESOURCEW(112 / 16 + 1), 1033), nullptr);
    wchar_t text[64] = {};
    EXPECT_EQ(::LoadStringW(dll_.Get(), 100, text, 64), 10);
    EXPECT_STREQ(text, L"VelkWmiPci");
    ::LoadStringW(dll_.Get(), 113, text, 64);
    EXPECT_STREQ(text, L"PCI Slot %d");
}

TEST_F(DllTest, RegistryScriptIsResource101) {
    const HRSRC found = ::FindResourceW(dll_.Get(), MAKEINTRESOURCEW(101), L"REGISTRY");
    ASSERT_NE(found, nullptr);
    const HGLOBAL loaded = ::LoadResource(dll_.Get(), found);
    std::istringstream script(
        std::string(static_cast<const char*>(::LockResource(loaded)), ::SizeofResource(dll_.Get(), found)));
    std::string flat;
    for (std::string word; script >> word;) flat += word + " ";
    EXPECT_EQ(flat,
              "HKCR { NoRemove AppID { '%APPID%' = s 'VelkWmiPci' 'VelkWmiPci.DLL' { val AppID = s '%APPID%' "
              "} } } ");
}

// The server.

TEST_F(DllTest, UnknownClassIsNotAvailable) {
    void* object = this;
    EXPECT_EQ(GetClassObject(CLSID_NULL, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
}

TEST_F(DllTest, MayUnloadOnceNothingIsLeft) {
    EXPECT_EQ(CanUnloadNow(), S_OK);
    velk::ComPtr<IClassFactory> factory;
    ASSERT_EQ(GetClassObject(velk::kClsidVelkPCIDeviceProv, factory.PutVoid()), S_OK);
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    velk::ComPtr<IUnknown> provider;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, provider.PutVoid()), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    factory.Reset();
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    provider.Reset();
    EXPECT_EQ(CanUnloadNow(), S_FALSE) << "the server is locked";
    ASSERT_EQ(GetClassObject(velk::kClsidVelkPCIDeviceProv, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory.Reset();
    EXPECT_EQ(CanUnloadNow(), S_OK);
}

TEST_F(DllTest, LoadAndUnloadWriteTwoLines) {
    dll_.Reset();
    EXPECT_EQ(::GetModuleHandleW(L"VelkWmiPci.dll"), nullptr) << "still loaded";

    const CString log = velktest::ReadWide(folder_.Path(L"VelkWBEMServer.log"));
    EXPECT_THAT(log, testing::EndsWith(L"\r\n"));
    const std::vector<CString> lines = velktest::SplitLines(log);
    ASSERT_EQ(lines.size(), 2U) << testing::PrintToString(log);
    EXPECT_EQ(velktest::ParseLogLine(lines[0]), (velktest::LogLine{L"Information", L"CVelkWmiPciModule",
                                                                   L"CVelkWmiPciModule", L"DLL is loaded."}))
        << testing::PrintToString(log);
    EXPECT_EQ(
        velktest::ParseLogLine(lines[1]),
        (velktest::LogLine{L"Information", L"CVelkWmiPciModule", L"~CVelkWmiPciModule", L"DLL is unloaded."}))
        << testing::PrintToString(log);
}

TEST_F(DllTest, LoadingAndUnloadingManyTimesLeaksNothing) {
    dll_.Reset();
    const velktest::Usage before = velktest::Usage::Now();
    for (int round = 0; round < 20; ++round) {
        dll_ = velk::UniqueLibrary(::LoadLibraryW(L"VelkWmiPci.dll"));
        dll_.Reset();
    }
    const velktest::Usage after = velktest::Usage::Now();
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_LE(after.heapBytes, before.heapBytes);
}

TEST_F(DllTest, RegisteredClassIsMadeThroughCom) {
    ASSERT_EQ(Register(), S_OK);
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
        CLSID clsid = {};
        EXPECT_EQ(::CLSIDFromProgID(L"VelkWmiPCI.VelkPCIDeviceProv", &clsid), S_OK);
        EXPECT_TRUE(::IsEqualCLSID(clsid, velk::kClsidVelkPCIDeviceProv));
        velk::ComPtr<IWbemProviderInit> provider;
        EXPECT_EQ(::CoCreateInstance(velk::kClsidVelkPCIDeviceProv, nullptr, CLSCTX_INPROC_SERVER,
                                     IID_IWbemProviderInit, provider.PutVoid()),
                  S_OK);
        EXPECT_EQ(CanUnloadNow(), S_FALSE);
    }
    EXPECT_EQ(CanUnloadNow(), S_OK);
    EXPECT_EQ(Unregister(), S_OK);
    velk::ComPtr<IUnknown> none;
    EXPECT_EQ(::CoCreateInstance(velk::kClsidVelkPCIDeviceProv, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                 none.PutVoid()),
              REGDB_E_CLASSNOTREG);
    ::CoUninitialize();
}

}  // namespace
