#pragma once

#include "ipc/message_buffer.h"
#include "platform/event.h"
#include "platform/section.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace Orvane {

// The text of a failure to get memory for a section: when it is created, or when a call needs more of it.
constexpr const char* kSectionError = "CreateFileMapping error";

// From now on the channels of this process pass over numbers whose names another process has. Two running copies of one
// program form the same names on Windows, and would share a channel; clients that do not ask for this do, deliberately.
void PassOverTakenNames();

// What joins one client to one host: a section that holds a request or its reply, and two events that hand it over.
// The client owns the section until it sets the Call event; the host owns it from then until it sets the Result
// event. One exchange is in flight at a time.
struct SharedChannel {
    // Client: makes the objects under names of their own and the host's argument string. Objects of an earlier
    // channel are replaced one by one. Throws `SystemException`; what was made before stays until it is replaced or
    // the record goes.
    void Create(uint32_t size);

    // Host: opens what a client's argument string names: "RESULT|CALL|SECTION|SIZE". Throws `SystemException`.
    void Open(const std::string& arguments);

    // Client: makes sure of the memory for requests and replies that carry `dataSize` bytes of data, or for the whole
    // section when that is less. False, with the system's last error, when there is not enough. Does nothing without a
    // section.
    bool EnsureMemory(uint32_t dataSize);

    // Unmaps and closes the section. The events stay open, deliberately: the next `Create` replaces them.
    void ReleaseSection();

    // The order is that of destruction, from the last to the first.
    Platform::Event resultEvent;
    Platform::Event callEvent;
    std::string hostArguments;  // client only

    // Client only: held for a whole exchange. It outlives the section that it guards, because threads may still be
    // waiting for it when that is released; they then find `message` without memory.
    std::unique_ptr<std::recursive_mutex> lock = std::make_unique<std::recursive_mutex>();

    Platform::Section section;             // client only: the host closes it once it is mapped
    std::shared_ptr<Platform::View> view;  // null without a section; shared with memory that an application was given
    MessageBuffer message;                 // over the view

 private:
    void CreateObjects(int32_t number, uint32_t size);
};

}  // namespace Orvane
