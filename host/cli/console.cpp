#include "host/cli/console.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace velkhost::cli {

Console::Console() : codePage_(::GetConsoleOutputCP()) {
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

Console::~Console() {
    std::fflush(stdout);
    if (codePage_ != 0) ::SetConsoleOutputCP(codePage_);
}

void Console::Print(const std::string& text) const { std::fwrite(text.data(), 1, text.size(), stdout); }

void Console::PrintError(const std::string& text) const {
    std::fflush(stdout);
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace velkhost::cli
