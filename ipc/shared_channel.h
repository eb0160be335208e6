#pragma once

#include "ipc/message_buffer.h"
#include "platform/event.h"
#include "platform/section.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace Orvane {

// The error text if a section gets no memory, either at its creation or when a call needs more.
constexpr const char* kSectionError = "CreateFileMapping error";

// Makes the channels of this process skip numbers whose names another process uses. On Windows, two running copies of
// one program form the same names. If their clients do not call this function, they share a channel. This is
// deliberate.
void SkipTakenNames();

// Connects one client to one host process. The section holds a request or its reply. Two events pass the section to the
// other side: only the client uses it until the client sets the Call event; then only the host process uses it until
// the host process sets the Result event. Only one exchange runs at a time.
struct SharedChannel {
    // Client: creates the objects under the channel's names, and the argument string for the host process. Replaces the
    // objects of an earlier channel one by one. If it throws `SystemException`, this object keeps the objects that it
    // has created.
    void Create(uint32_t size);

    // Host process: opens the objects that a client's argument string names: "RESULT|CALL|SECTION|SIZE". Throws
    // `SystemException`.
    void Open(const std::string& arguments);

    // Client: commits memory for requests and replies with `dataSize` bytes of data, but at most the whole section. A
    // read beyond this memory throws `OverrunError`. If there is not enough memory, returns false and leaves the
    // system's last error readable. Returns true if there is no section.
    bool EnsureMemory(uint32_t dataSize);

    // Unmaps and closes the section. The events deliberately stay open: the next `Create` replaces them.
    void ReleaseSection();

    // The members are destroyed from the last to the first, and need this order.
    Platform::Event resultEvent;
    Platform::Event callEvent;
    std::string hostArguments;  // client only

    // Client only: a thread holds this lock for a whole exchange. The lock outlives the section that it guards, because
    // threads may still wait for it when the section is released. They then find that `message` has no memory.
    std::unique_ptr<std::recursive_mutex> lock = std::make_unique<std::recursive_mutex>();

    Platform::Section section;             // client only: the host process closes it after mapping
    std::shared_ptr<Platform::View> view;  // null without a section; input memory of the application keeps it mapped
    MessageBuffer message;                 // uses the view

 private:
    void CreateObjects(int32_t number, uint32_t size);
};

}  // namespace Orvane
