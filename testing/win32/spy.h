#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>

// Observes this program's calls to Windows. Can make one function fail, for failures that a test cannot cause
// otherwise.
namespace Orvane::Testing {

template <typename T>
T* At(uint8_t* address) {
    return reinterpret_cast<T*>(address);
}

// Where this program stores the address of an imported function.
inline void** ImportOf(const char* function) {
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

inline void SetImport(void** import, void* address) {
    DWORD protection = 0;
    VirtualProtect(import, sizeof *import, PAGE_READWRITE, &protection);
    *import = address;
    VirtualProtect(import, sizeof *import, protection, &protection);
}

// The number of calls that spies saw, and the last 32-bit number among their arguments.
inline size_t seenCount;
inline DWORD lastNumber;

// The kind of each object that is still open.
inline std::map<const void*, std::string> openHandles;

// The function that fails with `kForcedError`. Empty: all functions work.
inline std::string failingCall;
constexpr DWORD kForcedError = 1234;

// A function's name as a template argument.
template <size_t size>
struct Name {
    consteval Name(const char (&characters)[size]) { std::copy_n(characters, size, text); }
    char text[size]{};
};

// Watches a Windows function during its lifetime: Spy<"ResumeThread", decltype(ResumeThread)>.
template <Name name, typename Function>
class Spy;

template <Name name, typename Result, typename... Arguments>
class Spy<name, Result WINAPI(Arguments...)> {
 public:
    Spy() : import(ImportOf(name.text)) {
        real = reinterpret_cast<Real>(*import);
        SetImport(import, reinterpret_cast<void*>(&Watch));
    }
    ~Spy() { SetImport(import, reinterpret_cast<void*>(real)); }
    Spy(const Spy&) = delete;
    Spy& operator=(const Spy&) = delete;

 private:
    using Real = Result(WINAPI*)(Arguments...);

    // The result of a call that fails.
    static Result Failure() {
        if constexpr (std::is_same_v<Result, DWORD>) {
            return WAIT_FAILED;
        } else {
            return Result();
        }
    }

    static Result WINAPI Watch(Arguments... arguments) {
        const bool fails = failingCall == name.text;
        const Result result = fails ? Failure() : real(arguments...);
        const DWORD error = fails ? kForcedError : GetLastError();
        ++seenCount;
        if (result != Result()) {
            Note(result);
            (Look(arguments), ...);
        }
        SetLastError(error);
        return result;
    }

    static bool Is(const char* function) { return std::string(function) == name.text; }

    static void Note([[maybe_unused]] Result result) {
        if constexpr (std::is_same_v<Result, HANDLE>) {
            openHandles[result] = Is("CreateJobObjectW") ? "job"
                                  : Is("MapViewOfFile")  ? "view"
                                  : Is("CreateEventW")   ? "event"
                                                         : "section";
        }
    }

    // Records the handles that the call returned through an argument or closed, and its numbers.
    template <typename Value>
    static void Look([[maybe_unused]] Value argument) {
        if constexpr (std::is_same_v<Value, PHANDLE>) {
            openHandles[*argument] = "token";
        } else if constexpr (std::is_same_v<Value, LPPROCESS_INFORMATION>) {
            openHandles[argument->hProcess] = "process";
            openHandles[argument->hThread] = "thread";
        } else if constexpr (std::is_pointer_v<Value>) {
            if (Is("CloseHandle") || Is("UnmapViewOfFile")) {
                openHandles.erase(argument);
            }
        } else if constexpr (std::is_same_v<Value, DWORD>) {
            lastNumber = argument;
        }
    }

    inline static Real real = nullptr;
    void** import;
};

}  // namespace Orvane::Testing
