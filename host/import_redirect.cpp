#include "host/import_redirect.h"

#include <stdexcept>
#include <utility>

namespace velkhost {

namespace {

template <class Type>
Type* At(HMODULE module, std::size_t rva) {
    return reinterpret_cast<Type*>(reinterpret_cast<std::byte*>(module) + rva);
}

}  // namespace

void WriteSlot(void** slot, void* value) {
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = value;
    ::VirtualProtect(slot, sizeof *slot, protection, &protection);
}

std::vector<ImportedFunction> ReadImports(HMODULE module) {
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];

    std::vector<ImportedFunction> imports;
    if (directory.VirtualAddress == 0) return imports;
    for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); library->Name != 0;
         ++library) {
        auto* name = At<IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
        auto* address = At<IMAGE_THUNK_DATA>(module, library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            std::string function;
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
                const auto* entry =
                    At<IMAGE_IMPORT_BY_NAME>(module, static_cast<std::size_t>(name->u1.AddressOfData));
                function = reinterpret_cast<const char*>(entry->Name);
            }
            imports.push_back(
                {At<char>(module, library->Name), function, reinterpret_cast<void**>(&address->u1.Function)});
        }
    }
    return imports;
}

ImportRedirect::ImportRedirect(HMODULE module, const char* function, void* standIn) {
    for (const ImportedFunction& import : ReadImports(module)) {
        if (import.function == function) slots_.push_back(import.slot);
    }
    if (slots_.empty()) throw std::runtime_error(std::string("not imported: ") + function);
    original_ = *slots_.front();
    for (void** slot : slots_) WriteSlot(slot, standIn);
}

ImportRedirect::ImportRedirect(ImportRedirect&& other) noexcept
    : slots_(std::exchange(other.slots_, {})), original_(other.original_) {}

ImportRedirect::~ImportRedirect() {
    for (void** slot : slots_) WriteSlot(slot, original_);
}

bool ImportRedirect::Imports(HMODULE module, const char* function) {
    for (const ImportedFunction& import : ReadImports(module)) {
        if (import.function == function) return true;
    }
    return false;
}

}  // namespace velkhost
