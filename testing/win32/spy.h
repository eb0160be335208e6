#pragma once

#include "platform/win32/wide_text.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

// Sees what this program asks of Windows, and lets a single function fail that no test can make fail for real.
namespace Orvane::Testing {

// The place where this program keeps the address of a function that it imports.
void** ImportOf(const char* function);
void SetImport(void** import, void* address);

// What the spies saw, in order: "CreateJobObjectW(null, null) = *", and so on. Handles and other pointers are "*".
inline std::vector<std::string> seenCalls;

// The function that fails from now on with `kForcedError`; empty for none.
inline std::string failingCall;
constexpr DWORD kForcedError = 1234;

inline std::string ShownValue(const wchar_t* text) {
    return text == nullptr ? "null" : Platform::Utf8FromWide(text);
}

template <typename Value>
std::string ShownValue(Value value) {
    if constexpr (std::is_same_v<Value, wchar_t*>) {
        return ShownValue(static_cast<const wchar_t*>(value));
    } else if constexpr (std::is_pointer_v<Value>) {
        return value == nullptr ? "null" : reinterpret_cast<void*>(value) == INVALID_HANDLE_VALUE ? "invalid" : "*";
    } else {
        return std::to_string(value);
    }
}

// A function's name as a template's argument.
template <size_t size>
struct Name {
    consteval Name(const char (&characters)[size]) { std::copy_n(characters, size, text); }
    char text[size]{};
};

// Watches a function of the system while it lives: Spy<"ResumeThread", decltype(ResumeThread)>.
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

    static Result WINAPI Watch(Arguments... arguments) {
        const bool fails = failingCall == name.text;
        const Result result = fails ? Result() : real(arguments...);
        const DWORD error = fails ? kForcedError : GetLastError();
        std::string shown;
        ((shown += (shown.empty() ? "" : ", ") + ShownValue(arguments)), ...);
        seenCalls.push_back(std::string(name.text) + "(" + shown + ") = " + ShownValue(result));
        SetLastError(error);
        return result;
    }

    inline static Real real = nullptr;
    void** import;
};

}  // namespace Orvane::Testing
