#pragma once

#include <string>

#include "common/platform.h"

namespace velkhost::cli {

/// The program's output and error streams, as UTF-8 without translation of line ends: a console shows it by
/// its UTF-8 code page, which is put back at the end.
class Console {
  public:
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void Print(const std::string& text) const;
    void PrintError(const std::string& text) const;

  private:
    UINT codePage_;
};

}  // namespace velkhost::cli
