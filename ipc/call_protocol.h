#pragma once

#include <orvane/tensor_impl.h>

#include "ipc/message_buffer.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

// The ten calls of a client to its host process. A request is the call's number and its fields; a reply is its fields.
// Both begin at the start of the buffer. Fields are u32 values unless the table says otherwise:
//
//   call                 request                          reply
//   CallInit             run: option set's flat form      status
//   CallGetTensorCount   0 for inputs, else outputs       count
//   CallGetTensorInfo    type, index                      description (below)
//   CallSetInputData     index, run: data                 status
//   CallInvoke                                            status
//   CallCopyOutputTo     index, size n                    run: n bytes of output; status
//   CallGetTensorData    index                            run: the whole output; status
//   CallGetExtraInfo                                      count, then pairs of strings (below)
//   CallSetTensorShape   type, index, shape (below)       status
//   CallExit                                              nothing
//
// A reply always has the bytes of the output, but they only mean something if the status is a success.
enum Call : uint32_t {
    CallInit = 0,
    CallGetTensorCount = 1,
    CallGetTensorInfo = 2,
    CallSetInputData = 3,
    CallInvoke = 4,
    CallCopyOutputTo = 5,
    CallGetTensorData = 6,
    CallGetExtraInfo = 7,
    CallSetTensorShape = 8,
    CallExit = 9,
};

// Offset in bytes of the data in a `CallSetInputData` request: after the call, the index and the length.
inline constexpr uint32_t kInputDataOffset = 24;

// Starts a request and writes its u32 fields.
template <typename... Fields>
void WriteRequest(MessageBuffer& message, Call call, Fields... fields) {
    message.Rewind();
    message.WriteUInt32(call);
    (message.WriteUInt32(fields), ...);
}

// A description: string name, element type, format word, rank, then the low 32 bits of each dimension. The flag is not
// sent, and is clear after reading. A dimension of -1 arrives as 4,294,967,295. This is deliberate: dimensions have 32
// bits in this direction.
void WriteTensorInfo(MessageBuffer& message, const TensorImpl& tensor);
TensorInfo ReadTensorInfo(MessageBuffer& message);

// Pairs of key and value. If a key occurs twice, the last value wins.
void WriteExtraInfo(MessageBuffer& message, const std::unordered_map<std::string, std::string>& info);
std::unordered_map<std::string, std::string> ReadExtraInfo(MessageBuffer& message);

// A shape: rank, then the dimensions. The two sides differ deliberately, and neither may change alone: the client
// writes dimensions as u64 and the host process reads u32. So every shape but an empty one ends the host process. The
// host process also puts as many zeros in front of the dimensions as it reads.
void WriteShape(MessageBuffer& message, const std::vector<int64_t>& shape);
std::vector<int64_t> ReadShape(MessageBuffer& message);

}  // namespace Orvane
