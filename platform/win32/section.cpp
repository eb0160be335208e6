#include "platform/section.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

namespace Orvane::Platform {

static_assert(FILE_MAP_ALL_ACCESS == 0x000F001F);

struct View::State {
    explicit State(void* mapped) : base(static_cast<uint8_t*>(mapped)) {}
    ~State() {
        const DWORD error = GetLastError();
        UnmapViewOfFile(base);
        SetLastError(error);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    uint8_t* base;
};

struct Section::State {
    static Section Own(HANDLE handle) {
        Section section;
        if (handle != nullptr) {
            section.state = std::make_shared<State>(State{Handle(handle)});
        }
        return section;
    }

    Handle handle;
};

uint8_t* View::Data() const {
    return state->base;
}

Section Section::Create(const std::string& name, uint32_t size) {
    const std::wstring wideName = WideFromUtf8(name);
    return State::Own(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, wideName.c_str()));
}

Section Section::Open(const std::string& name) {
    return State::Own(OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, WideFromUtf8(name).c_str()));
}

bool Section::Reserve(uint64_t /*size*/) {
    return state != nullptr;
}

View Section::Map(uint64_t size) const {
    View view;
    if (void* base = MapViewOfFile(state->handle.get(), FILE_MAP_ALL_ACCESS, 0, 0, size); base != nullptr) {
        view.state = std::make_shared<View::State>(base);
    }
    return view;
}

void RemoveAbandoned(const std::string& /*prefix*/) {}

uint32_t ModuleWord() {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(GetModuleHandleW(nullptr)));
}

}  // namespace Orvane::Platform
