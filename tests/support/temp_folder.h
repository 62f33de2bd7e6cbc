#pragma once

#include <string>

#include "common/text.h"

namespace velktest {

/// A fresh folder that vanishes with everything in it.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// The folder with a backslash at its end, or a path in it.
    velk::CString Path(const velk::CString& relative = {}) const { return path_ + relative; }
    /// Makes a folder in it, with all folders on the way, and returns its path with a backslash at the end.
    velk::CString MakeFolder(const velk::CString& relative) const;

  private:
    velk::CString path_;
};

bool FileExists(const velk::CString& path);
/// The bytes of a file; empty when there is none.
std::string ReadBytes(const velk::CString& path);
/// The bytes of a file as UTF-16 characters, as they stand.
velk::CString ReadWide(const velk::CString& path);
void WriteBytes(const velk::CString& path, const std::string& bytes);

}  // namespace velktest
