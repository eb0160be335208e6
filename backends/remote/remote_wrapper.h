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

// Runs a model in a host process. Thread-safe: every operation is one exchange on a shared channel, and holds the
// channel's lock for the whole exchange.
//
// If an operation finds that the host process has ended, it releases the wrapper and fails. If it returns a status, the
// message is "Orvane Host Exit". Every other operation on a released or new wrapper fails in the same way. `Init`
// starts a new host process.
//
// If the system has no memory for the data of a call, only this call fails, with "CreateFileMapping error". If a value
// in a reply has a wrong type, the operation throws `std::runtime_error`. If a length in a reply exceeds the section,
// or the memory that the system has for it, the wrapper treats the host process as dead. In a forked child the wrapper
// has no host process.
class RemoteWrapper final : public IOrvane {
 public:
    // Size of a channel in bytes: the largest tensor, and the other fields of its message.
    static constexpr uint32_t kChannelSize = kMaxHostTensorBytes + 1'024;

    // Starts the host program that `params` names, unless a host process already runs, and loads the model there. If
    // the system fails, the code is the system's error number and the wrapper is released.
    Status Init(const InterpreterParams& params) override;

    // Ends the host process, if there is one, and releases the section.
    void Release() override;

    int32_t GetTensorCount(TensorType type) override;
    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override;

    // Data that does not fit into the channel ends this process.
    Status SetInputData(uint32_t index, const void* data, uint32_t size) override;
    Status Invoke() override;

    // Copies as many bytes as the host process sends. A correct host process sends `size` bytes; this function does not
    // check that. An output that does not fit into the channel ends the host process.
    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override;

    // Returns a pointer into the channel, valid until the next operation.
    void* GetTensorData(TensorType type, uint32_t index) override;
    std::unordered_map<std::string, std::string> GetExtraInfo() override;

    // A shape with at least one dimension ends the host process. This is deliberate. If there is no reply, the message
    // of the status is "host call  error".
    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override;

    std::shared_ptr<HostControl> GetHostControl() override { return host; }

    // Sets `memory` to the place in the section where `SetInputData` sends its data from. All inputs share it.
    Status GetInputMemory(uint32_t index, uint32_t size, std::shared_ptr<void>& memory) override;

 private:
    // Why an exchange did not take place or got no reply.
    enum class NoReply { NoMemory, NoHost };

    // Runs one operation under the lock. Commits memory for `dataSize` bytes of data. Then `write` writes the request,
    // the host process answers it, and `read` returns the result from the reply. `read` may run twice. If there is no
    // reply, `fail` returns the result.
    template <typename Write, typename Read, typename Fail>
    std::invoke_result_t<Read, MessageBuffer&> Exchange(uint32_t dataSize, Write write, Read read, Fail fail);

    template <typename Read>
    std::invoke_result_t<Read, MessageBuffer&> ReadReply(Read read);

    // The same as `Exchange` for a reply that is a status. `noHost` is the message if the host process has ended.
    template <typename Write>
    Status ExchangeForStatus(uint32_t dataSize, Write write, const char* noHost = kHostExit);

    static Status Failed(NoReply why, const char* noHost);
    uint32_t OutputBytes(uint32_t index);
    const void* MoveWithinSection(const void* data, uint32_t size);
    bool Transact();
    void ReleaseFor(HostEndCause cause);
    void ForgetParent();
    Status EnsureHost(const std::string& program, uint32_t dataSize);

    struct Closing {
        void operator()(RunningHost* running) const { running->Close(); }
    };

    // The members are destroyed from the last to the first, and need this order. The host process ends with the
    // wrapper, even if another owner still has its control.
    const std::shared_ptr<RunningHost> host = std::make_shared<RunningHost>();
    const std::unique_ptr<RunningHost, Closing> closing{host.get()};
    SharedChannel channel;

    Platform::ProcessMark owner;

    // How many bytes the data of an output needs in the channel, by the index of the output. Has only the outputs that
    // `GetTensorInfo` described since the last `Init` or `SetTensorShape`.
    std::unordered_map<uint32_t, uint32_t> outputBytes;
};

}  // namespace Orvane
