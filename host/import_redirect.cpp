#include "host/import_redirect.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace velkhost {

namespace {

template <class Type>
Type* At(HMODULE module, std::size_t rva) {
    return reinterpret_cast<Type*>(reinterpret_cast<std::byte*>(module) + rva);
}

/// An entry of an import table. Byte by byte: not every linker aligns them.
template <class Type>
Type Read(const void* entry) {
    Type value;
    std::memcpy(&value, entry, sizeof value);
    return value;
}

}  // namespace

void WriteSlot(void** slot, void* value) {
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof value, PAGE_READWRITE, &protection);
    std::memcpy(static_cast<void*>(slot), &value, sizeof value);
    ::VirtualProtect(slot, sizeof value, protection, &protection);
}

std::vector<ImportedFunction> ReadImports(HMODULE module) {
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];

    std::vector<ImportedFunction> imports;
    if (directory.VirtualAddress == 0) return imports;
    for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); library->Name != 0;
         ++library) {
        const std::byte* name = At<std::byte>(module, library->OriginalFirstThunk);
        std::byte* address = At<std::byte>(module, library->FirstThunk);
        while (const auto thunk = Read<ULONGLONG>(name)) {
            std::string function;
            if (!IMAGE_SNAP_BY_ORDINAL64(thunk)) {
                function =
                    At<char>(module, static_cast<std::size_t>(thunk) + offsetof(IMAGE_IMPORT_BY_NAME, Name));
            }
            imports.push_back({At<char>(module, library->Name), function, reinterpret_cast<void**>(address)});
            name += sizeof thunk;
            address += sizeof thunk;
        }
    }
    return imports;
}

ImportRedirect::ImportRedirect(HMODULE module, const char* function, void* standIn) {
    for (const ImportedFunction& import : ReadImports(module)) {
        if (import.function == function) slots_.push_back(import.slot);
    }
    if (slots_.empty()) throw std::runtime_error(std::string("not imported: ") + function);
    original_ = Read<void*>(slots_.front());
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
