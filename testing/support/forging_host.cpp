// A host program that sends replies that no correct host sends. The model path selects the fault:
//   count NUMBER   the number of inputs and of outputs is NUMBER
//   tag            the description of a tensor has a value of another type
//   length         the length of a tensor's name exceeds the section
//   text           the name of a tensor is not UTF-8
//   rank NUMBER    a tensor has NUMBER dimensions
//   size           the length of the output is 20,000,000 instead of 4
//   failing        viewing the output fails, and a copy of it has the length 20,000,000
//   status         the status of a run has a value of another type
// or correct replies with another timing:
//   slow NUMBER    each reply takes NUMBER milliseconds
//   cache          a load writes the requested cache file; without such a request, it never ends
// Otherwise the host has one input and one output of 4 bytes, and the output is "abcd".
#include <orvane/option_v2.h>

#include "host/run_host.h"
#include "ipc/call_protocol.h"
#include "ipc/shared_channel.h"
#include "platform/path.h"

#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace Orvane {

namespace {

constexpr uint32_t kClaimed = 20'000'000;

class Forger {
 public:
    explicit Forger(MessageBuffer& buffer) : message(buffer) {}

    void Answer(uint32_t call) {
        if (call == CallInit) {
            Load();
        }
        if (lie == "slow") {
            std::this_thread::sleep_for(std::chrono::milliseconds(number));
        }
        message.Rewind();
        switch (call) {
            case CallGetTensorCount:
                message.WriteUInt32(lie == "count" ? static_cast<uint32_t>(number) : 1);
                break;
            case CallGetTensorInfo:
                Describe();
                break;
            case CallCopyOutputTo:
            case CallGetTensorData:
                GiveOutput(call);
                break;
            case CallInvoke:
                lie == "status" ? message.WriteUInt64(0) : message.WriteStatus({});
                break;
            default:
                message.WriteStatus({});
        }
    }

 private:
    void Load() {
        const MessageBuffer::Bytes flatForm = message.ReadBytes();
        const OptionHandle option = CreateOption();
        option->Deserialize(flatForm.data, flatForm.size);
        std::istringstream(option->GetString(OptionCommonModelPath)) >> lie >> number;
        if (lie == "cache" && !option->GetBool(OptionOpenvinoMakeCache, false)) {
            std::this_thread::sleep_for(std::chrono::hours(1));
        } else if (lie == "cache") {
            std::ofstream(Platform::PathFromUtf8(option->GetString(OptionOpenvinoCachePath))) << "cache";
        }
    }

    void Describe() {
        if (lie == "tag") {
            message.WriteUInt64(1);
            return;
        }
        message.WriteString(lie == "text" ? "\xC3(" : "x");
        if (lie == "length") {
            message.Rewind();
            const uint32_t tagAndLength[] = {1, 0xFFFFFFF0};
            std::memcpy(message.ReserveBytes(sizeof tagAndLength), tagAndLength, sizeof tagAndLength);
        }
        const uint32_t rank = lie == "rank" ? static_cast<uint32_t>(number) : 1;
        for (const uint32_t value : {uint32_t{DataTypeUInt8}, 1U, rank, 4U}) {
            message.WriteUInt32(value);
        }
        for (uint32_t i = 1; i < rank; ++i) {
            message.WriteUInt32(1);
        }
    }

    void GiveOutput(uint32_t call) {
        const uint32_t size = lie == "size" || lie == "failing" ? kClaimed : 4;
        message.WriteUInt32(size);
        std::memcpy(message.ReserveBytes(size), "abcd", 4);
        const bool fails = lie == "failing" && call == CallGetTensorData;
        message.WriteStatus(fails ? Status{"no", -1} : Status{});
    }

    MessageBuffer& message;
    std::string lie;
    int64_t number = 0;
};

}  // namespace

int RunHost(const std::string& arguments) {
    SharedChannel channel;
    channel.Open(arguments);
    Forger forger(channel.message);
    for (;;) {
        channel.callEvent.Wait(Platform::Event::kForever, Platform::Awaited::Work);
        channel.message.Rewind();
        forger.Answer(channel.message.ReadUInt32());
        channel.resultEvent.Set();
    }
}

}  // namespace Orvane
