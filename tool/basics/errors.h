#pragma once

#include <stdexcept>
#include <string>

#include "common/platform.h"

namespace velkpci {

/// Input that the user named and that cannot be used: a wrong word, an unreadable file. what() is one line of
/// UTF-8 that names what and where. Ends the program with kBadUsage.
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// WMI refused what the whole command needs, such as the connection. what() names what was asked for, without
/// the status. Ends the program with kFailure.
class WmiError : public std::runtime_error {
  public:
    WmiError(const std::string& what, HRESULT status) : std::runtime_error(what), status_(status) {}
    HRESULT Status() const { return status_; }

  private:
    HRESULT status_;
};

}  // namespace velkpci
