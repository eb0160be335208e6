#include "testing/win32/spy.h"

#include <cstdint>
#include <stdexcept>

namespace Orvane::Testing {

namespace {

template <typename T>
T* At(uint8_t* address) {
    return reinterpret_cast<T*>(address);
}

}  // namespace

void** ImportOf(const char* function) {
    auto* const base = reinterpret_cast<uint8_t*>(GetModuleHandleW(nullptr));
    const auto* headers = At<IMAGE_NT_HEADERS>(base + At<IMAGE_DOS_HEADER>(base)->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(base + imports.VirtualAddress); library->Name != 0; ++library) {
        auto* name = At<IMAGE_THUNK_DATA>(base + library->OriginalFirstThunk);
        auto* address = At<IMAGE_THUNK_DATA>(base + library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                std::string(At<IMAGE_IMPORT_BY_NAME>(base + name->u1.AddressOfData)->Name) == function) {
                return reinterpret_cast<void**>(&address->u1.Function);
            }
        }
    }
    throw std::runtime_error(std::string("this program does not import ") + function);
}

void SetImport(void** import, void* address) {
    DWORD protection = 0;
    VirtualProtect(import, sizeof *import, PAGE_READWRITE, &protection);
    *import = address;
    VirtualProtect(import, sizeof *import, protection, &protection);
}

}  // namespace Orvane::Testing
