// No call of the shipped DLL slips past the faults.

#include <gmock/gmock.h>

#include "import_faults.h"

namespace {

using testing::IsEmpty;

TEST(ImportFaults, EveryImportIsMadeToFailOrKnownToStayAlone) {
    const velk::UniqueLibrary dll(::LoadLibraryW(L"VelkWmiPci.dll"));
    ASSERT_TRUE(dll);
    const std::set<std::string> injected = velktest::InjectedImports();
    const std::set<std::string> untouched = velktest::UntouchedImports();
    std::vector<std::string> unknown;
    for (const velkhost::ImportedFunction& import : velkhost::ReadImports(dll.Get())) {
        if (!injected.contains(import.function) && !untouched.contains(import.function))
            unknown.push_back(import.library + "!" + import.function);
    }
    EXPECT_THAT(unknown, IsEmpty());
}

TEST(ImportFaults, NoImportIsOnBothLists) {
    std::vector<std::string> both;
    for (const std::string& name : velktest::UntouchedImports()) {
        if (velktest::InjectedImports().contains(name)) both.push_back(name);
    }
    EXPECT_THAT(both, IsEmpty());
}

}  // namespace
