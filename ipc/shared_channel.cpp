#include "ipc/shared_channel.h"

#include "core/errors.h"
#include "platform/shared_names.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <utility>

namespace Orvane {

namespace {

// The names of one channel: "Result_4711d_1" and so on. The "d" after the module word is deliberate: peers form and
// expect the same names.
struct Names {
    Names(uint32_t moduleWord, int32_t channelNumber)
        : suffix(
              std::string("_").append(std::to_string(moduleWord)).append("d_").append(std::to_string(channelNumber))) {}

    bool IsAnyTaken() const {
        return Platform::IsNameTaken(result) || Platform::IsNameTaken(call) || Platform::IsNameTaken(section);
    }

    const std::string suffix;
    const std::string result = "Result" + suffix;
    const std::string call = "Call" + suffix;
    const std::string section = "Channel" + suffix;
};

int32_t NextChannelNumber() {
    static std::atomic<int32_t> last{0};
    return ++last;
}

std::atomic<bool> skipsTakenNames{false};

// Throws `SystemException` with the last error if `made` is empty.
template <typename Object>
Object Require(Object made, const char* failure) {
    if (!made) {
        ThrowSystemError(failure);
    }
    return made;
}

std::shared_ptr<Platform::View> MapView(const Platform::Section& section, uint64_t size) {
    return std::make_shared<Platform::View>(Require(section.Map(size), "MapViewOfFile error"));
}

}  // namespace

void SkipTakenNames() {
    skipsTakenNames = true;
}

void SharedChannel::Create(uint32_t size) {
    Platform::RemoveAbandoned({"Result", "Call", "Channel"});
    std::optional<Platform::NamesLock> held;
    if (skipsTakenNames && !held.emplace()) {
        ThrowSystemError("CreateMutex error");
    }
    int32_t number = NextChannelNumber();
    while (held && Names(Platform::ModuleWord(), number).IsAnyTaken()) {
        number = NextChannelNumber();
    }
    for (;;) {
        try {
            CreateObjects(number, size);
            return;
        } catch (const SystemException& error) {
            if (!Platform::RenewModuleWord(error.Code())) {
                throw;
            }
        }
    }
}

void SharedChannel::CreateObjects(int32_t number, uint32_t size) {
    // Reads the module word once: another thread may renew it meanwhile.
    const Names names(Platform::ModuleWord(), number);
    resultEvent = Require(Platform::Event::Create(names.result), "CreateEvent result error ");
    callEvent = Require(Platform::Event::Create(names.call), "CreateEvent call error");
    Platform::Section created = Require(Platform::Section::Create(names.section, size), kSectionError);
    view = MapView(created, size);
    hostArguments = names.result + "|" + names.call + "|" + names.section + "|" + std::to_string(size);
    section = std::move(created);
    message.Attach(view->Data(), size);
    message.LimitReads(0);
}

void SharedChannel::Open(const std::string& arguments) {
    std::istringstream text(arguments);
    std::array<std::string, 4> tokens;  // a missing token is empty
    for (std::string& token : tokens) {
        std::getline(text, token, '|');
    }
    const auto& [resultName, callName, sectionName, sizeText] = tokens;

    resultEvent = Require(Platform::Event::Open(resultName), "OpenEvent result error");
    callEvent = Require(Platform::Event::Open(callName), "OpenEvent call error");
    const auto opened = Require(Platform::Section::Open(sectionName), "OpenFileMapping error");
    // Without digits the size is 0: `MapView` then maps the whole section, and the first write finds no room.
    const long long size = std::strtoll(sizeText.c_str(), nullptr, 10);
    view = MapView(opened, static_cast<uint64_t>(size));
    message.Attach(view->Data(), static_cast<uint32_t>(size));
}

bool SharedChannel::EnsureMemory(uint32_t dataSize) {
    // Enough for everything in a message but the data: numbers, a name, a shape, the text of a status.
    constexpr uint64_t kBesideData = 65'536;
    const auto size = static_cast<uint32_t>(std::min<uint64_t>(dataSize + kBesideData, message.Capacity()));
    if (section && !section.Commit(size)) {
        return false;
    }
    message.LimitReads(size);
    return true;
}

void SharedChannel::ReleaseSection() {
    message.Attach(nullptr, 0);
    view = nullptr;
    section = {};
}

}  // namespace Orvane
