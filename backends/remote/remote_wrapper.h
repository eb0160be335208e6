#pragma once

#include <orvane/host.h>

#include "backends/remote/running_host.h"
#include "core/i_orvane.h"
#include "ipc/shared_channel.h"
#include "platform/process.h"

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace Orvane {

// Runs a model in a host process. Every operation is one exchange on a shared channel, and holds the channel's lock
// for all of it, so that any number of threads may call.
//
// A host that is found dead releases the wrapper; the operation then fails, with "Orvane Host Exit" where it has a
// status, and so does every operation on a released or new wrapper. `Init` starts a new host.
// A system without memory for the data of a call fails it, with "CreateFileMapping error", and nothing else.
// A reply with a value of another type than there must be throws `std::runtime_error`; one whose lengths pass the end
// of the section counts as a dead host. In a forked child the wrapper has no host.
class RemoteWrapper final : public IOrvane {
 public:
    // Bytes of a channel: the largest tensor, and room for what travels with it.
    static constexpr uint32_t kChannelSize = kMaxHostTensorBytes + 1'024;

    // Starts the host program that `params` names, unless one is running already, and loads the model there.
    // A failure of the system has the system's error number as its code, and the wrapper is released.
    Status Init(const InterpreterParams& params) override;

    // Ends the host. Harmless where there is nothing to release.
    void Release() override;

    int32_t GetTensorCount(TensorType type) override;
    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override;

    // Data that does not fit into the channel ends this process.
    Status SetInputData(uint32_t index, const void* data, uint32_t size) override;
    Status Invoke() override;

    // Copies what the host sends, which is what it was asked for. An output that does not fit into the channel ends
    // the host.
    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override;

    // Points into the channel: valid until the next operation.
    void* GetTensorData(TensorType type, uint32_t index) override;
    std::unordered_map<std::string, std::string> GetExtraInfo() override;

    // Any shape but an empty one ends the host, deliberately.
    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override;

    std::shared_ptr<HostControl> GetHostControl() override { return host; }

    // The place of the data in a request.
    Status GetInputMemory(uint32_t index, uint32_t size, std::shared_ptr<void>& memory) override;

 private:
    // Why an exchange did not take place or got no reply.
    enum class Obstacle { NoMemory, NoHost };

    // The frame of every operation: under the lock, `write` puts a request into the channel, which has memory for
    // `dataSize` bytes of data; the host gets it; and `read` makes the result of the reply. Or `fail` makes it.
    template <typename Write, typename Read, typename Fail>
    std::invoke_result_t<Read, MessageBuffer&> Exchange(uint32_t dataSize, Write write, Read read, Fail fail);

    // The same for a reply that is a status.
    template <typename Write>
    Status ExchangeForStatus(uint32_t dataSize, Write write, const char* noHost = kHostExit);

    static Status Failed(Obstacle obstacle, const char* noHost);
    uint32_t OutputBytes(uint32_t index);
    const void* MoveWithinSection(const void* data, uint32_t size);
    bool Transact();
    void ReleaseFor(HostEndCause cause);
    void ForgetTheParents();
    Status EnsureHost(const std::string& program, uint32_t dataSize);

    struct Closing {
        void operator()(RunningHost* running) const { running->Close(); }
    };

    // The order is that of destruction, from the last to the first. The host ends with the wrapper, whoever else still
    // has its control.
    const std::shared_ptr<RunningHost> host = std::make_shared<RunningHost>();
    const std::unique_ptr<RunningHost, Closing> closing{host.get()};
    SharedChannel channel;

    Platform::ProcessMark owner;

    // Of the outputs that were described since the last initialisation, by index: how much memory their data takes.
    std::unordered_map<uint32_t, uint32_t> outputBytes;
};

}  // namespace Orvane
