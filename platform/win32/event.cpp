#include "platform/event.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

namespace Orvane::Platform {

static_assert(Event::kForever == INFINITE);

struct Event::State {
    static Event Own(HANDLE handle) {
        Event event;
        if (handle != nullptr) {
            event.state = Owned(new State{Handle(handle)});
        }
        return event;
    }

    Handle handle;
};

Event Event::Create(const std::string& name) {
    return State::Own(CreateEventW(nullptr, FALSE, FALSE, WideFromUtf8(name).c_str()));
}

Event Event::Open(const std::string& name) {
    return State::Own(OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, WideFromUtf8(name).c_str()));
}

bool Event::Set() {
    return SetEvent(state.Get()->handle.Get()) != 0;
}

bool Event::Wait(uint32_t milliseconds, Awaited /*awaited*/, uint32_t /*kind*/) {
    return WaitForSingleObject(state.Get()->handle.Get(), milliseconds) == WAIT_OBJECT_0;
}

}  // namespace Orvane::Platform
