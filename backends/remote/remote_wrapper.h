#pragma once

#include <orvane/host.h>

#include "core/i_orvane.h"
#include "ipc/call_protocol.h"
#include "ipc/shared_channel.h"
#include "platform/process.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

// Runs a model in a host process. Every operation is one exchange on a shared channel, and holds the channel's lock
// for all of it, so that any number of threads may call.
//
// A host that is found dead releases the wrapper; the operation then fails, with "Orvane Host Exit" where it has a
// status, and so does every operation on a released or new wrapper. `Init` starts a new host.
// A system without memory for the data of a call fails it, with "CreateFileMapping error", and nothing else.
// A reply that is no reply throws `std::runtime_error`.
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

 private:
    template <typename Write>
    bool Exchange(Write write);
    bool Transact();
    void LaunchHost(const std::string& program);

    // The order is that of destruction, from the last to the first.
    Platform::Job job;       // ends the host when it is closed
    Platform::Process host;  // empty when there is none
    SharedChannel channel;
};

}  // namespace Orvane
