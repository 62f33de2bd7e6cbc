#pragma once

#include <gtest/gtest.h>

#include "common/common_log.h"
#include "common/log_paths.h"
#include "common/text.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace velktest {

/// A log in a folder of its own, with the clock stopped at kStamp.
class CCommonLogTest : public ::testing::Test {
  protected:
    static constexpr wchar_t kStamp[] = L"03/07/2026 09:05:02.004";

    CCommonLogTest() : folder_(temp_.MakeFolder(L"logs")), windows_(temp_.Path(L"windows")) {
        registry_.SetText(kCommonLogKey, L"LogFolder", folder_);
    }

    void SetLevel(DWORD level) { registry_.SetDword(kCommonLogKey, L"LogLevel", level); }
    void SetMaxSize(DWORD size) { registry_.SetDword(kCommonLogKey, L"LogMaxSize", size); }
    DWORD Init() { return log_.LogInit(L"VelkWBEMServer", L"VelkWmiPci.DLL"); }
    velk::CString File() const { return folder_ + L"VelkWBEMServer.log"; }
    velk::CString OldFile() const { return folder_ + L"VelkWBEMServer.lo_"; }
    velk::CString MutexName(const velk::CString& folder) const {
        return L"Global\\" + velk::PathAsObjectName(folder + L"VelkWBEMServer");
    }
    void LogAllThree() {
        log_.LogVerbose(L"v");
        log_.LogInformation(L"i");
        log_.LogError(L"e");
    }
    static velk::CString Line(const velk::CString& rest) { return kStamp + (L" " + rest) + L"\r\n"; }
    /// The three lines that LogAllThree may write.
    static velk::CString Verbose() { return Line(L"[Verbose] v"); }
    static velk::CString Information() { return Line(L"[Information] i"); }
    static velk::CString Error() { return Line(L"[Error] e"); }

    RegistryFixture registry_;
    TempFolder temp_;
    velk::CString folder_;
    FakeWindowsDirectory windows_;
    FixedLocalTime time_;
    velk::CCommonLog log_;
};

}  // namespace velktest
