#pragma once

#include <string>

#include "common/platform.h"

namespace velkpci {

/// The program's output and error streams, as UTF-8 without translation of line ends: a console shows it by
/// its UTF-8 code page, which is put back at the end.
class Console {
  public:
    Console();
    virtual ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Data, and nothing else, goes here.
    virtual void Print(const std::string& text) const;
    virtual void PrintError(const std::string& text) const;
    /// "velkpci: ..." on the error stream, as one line.
    void Complain(const std::string& text) const;

    /// Whether somebody watches the error stream: progress is told then alone.
    bool IsWatched() const;
    /// Columns of the terminal that the output goes to; 0 when it goes elsewhere.
    std::size_t Width() const;

  private:
    UINT codePage_;
};

/// From now on Ctrl-C ends the program at once, with kCancelled. Providers are not waited for.
void EndAtControlC();

/// A password, without its line end: asked for without echo on a console, else the first line of standard
/// input. UTF-16, as WMI takes it.
std::wstring ReadPassword(const Console& console, const std::string& user);

}  // namespace velkpci
