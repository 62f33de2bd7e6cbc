#pragma once

#include <optional>

#include "common/platform.h"
#include "common/text.h"

namespace velktest {

/// The suite's configuration key HKEY_LOCAL_MACHINE "Software\Velkor", absent at the start and at the end of
/// a test.
class RegistryFixture {
  public:
    RegistryFixture() { Clear(); }
    ~RegistryFixture() { Clear(); }
    RegistryFixture(const RegistryFixture&) = delete;
    RegistryFixture& operator=(const RegistryFixture&) = delete;

    void MakeKey(const velk::CString& key);
    void SetText(const velk::CString& key, const velk::CString& name, const velk::CString& value);
    void SetDword(const velk::CString& key, const velk::CString& name, DWORD value);
    void SetBytes(const velk::CString& key, const velk::CString& name, DWORD type, const void* data,
                  DWORD size);
    /// The REG_DWORD of four bytes that stands there, if any.
    std::optional<DWORD> GetDword(const velk::CString& key, const velk::CString& name) const;

  private:
    static void Clear();
};

/// Keys, below HKEY_LOCAL_MACHINE, that the logs are configured in.
inline constexpr wchar_t kCommonLogKey[] = L"Software\\Velkor\\WBEM";
inline constexpr wchar_t kLegacyLogKey[] = L"Software\\Velkor\\WBEM\\ServerLOGGING";

}  // namespace velktest
