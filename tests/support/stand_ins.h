#pragma once

#include "common/platform.h"
#include "common/text.h"
#include "host/import_redirect.h"

namespace velktest {

/// Puts a stand-in behind a function that the test program imports. Restored at destruction.
template <class Function>
class StandIn : public velkhost::ImportRedirect {
  public:
    StandIn(const char* name, Function function)
        : ImportRedirect(::GetModuleHandleW(nullptr), name, reinterpret_cast<void*>(function)) {}
};

/// Stops the local time at 7 March 2026, 09:05:02.004 (one digit everywhere, to show the padding).
class FixedLocalTime {
  public:
    FixedLocalTime();

  private:
    StandIn<decltype(&::GetLocalTime)> redirect_;
};

/// Moves the Windows directory, which the logs' default folders are under. One at a time.
class FakeWindowsDirectory {
  public:
    explicit FakeWindowsDirectory(const velk::CString& path);

  private:
    StandIn<decltype(&::GetWindowsDirectoryW)> redirect_;
};

/// Takes the program's string table away.
class NoStringTable {
  public:
    NoStringTable();

  private:
    StandIn<decltype(&::FindResourceExW)> redirect_;
};

/// Lets nothing more be written into any file.
class FullDisk {
  public:
    FullDisk();

  private:
    StandIn<decltype(&::WriteFile)> redirect_;
};

}  // namespace velktest
