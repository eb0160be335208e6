#include "platform/section.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

namespace Orvane::Platform {

static_assert(FILE_MAP_ALL_ACCESS == 0x000F001F);

struct View::State {
    static void Close(State* view) noexcept {
        UnmapViewOfFile(view->base);
        delete view;
    }

    uint8_t* base;
};

struct Section::State {
    static Section Own(HANDLE handle) {
        Section section;
        if (handle != nullptr) {
            section.state = Owned(new State{Handle(handle)});
        }
        return section;
    }

    Handle handle;
};

uint8_t* View::Data() const {
    return state.Get()->base;
}

Section Section::Create(const std::string& name, uint32_t size) {
    const std::wstring wideName = WideFromUtf8(name);
    return State::Own(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, wideName.c_str()));
}

Section Section::Open(const std::string& name) {
    return State::Own(OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, WideFromUtf8(name).c_str()));
}

bool Section::Commit(uint64_t /*size*/) {
    return static_cast<bool>(state);
}

View Section::Map(uint64_t size) const {
    View view;
    if (void* base = MapViewOfFile(state.Get()->handle.Get(), FILE_MAP_ALL_ACCESS, 0, 0, size); base != nullptr) {
        view.state = Owned(new View::State{static_cast<uint8_t*>(base)}, View::State::Close);
    }
    return view;
}

}  // namespace Orvane::Platform
