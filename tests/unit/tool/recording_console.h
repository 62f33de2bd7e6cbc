#pragma once

#include <string>

#include "tool/basics/console.h"

namespace velktest {

/// Keeps what the program prints.
class RecordingConsole final : public velkpci::Console {
  public:
    void Print(const std::string& text) const override { output += text; }
    void PrintError(const std::string& text) const override { errors += text; }
    mutable std::string output, errors;
};

}  // namespace velktest
