#pragma once

#include <initializer_list>
#include <ostream>
#include <string_view>
#include <vector>

#include "common/platform.h"
#include "common/text.h"
#include "inventory.h"

namespace velktest {

/// One of the ten classes that the module serves.
struct ClassUnderTest {
    const char* name;
    const wchar_t* wmiClass;
    CLSID clsid;
    std::vector<velk::CString> keys;
    std::size_t instances;    ///< that the bench's machine has
    std::size_t stride;       ///< of the short run
    Differences sufferable;   ///< what failures can do to its inventory at all, by what it is read from
    bool onThread = false;    ///< answers enumerations on a thread of its own
    bool needsTable = false;  ///< fails without an SMBIOS table
};

std::ostream& operator<<(std::ostream& out, const ClassUnderTest& tested);

const std::vector<ClassUnderTest>& ClassesUnderTest();
/// Some of them, by name.
std::vector<ClassUnderTest> ClassesUnderTest(std::initializer_list<std::string_view> names);

}  // namespace velktest
