#pragma once

#include <orvane/tensor_impl.h>

#include "ipc/message_buffer.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

// The ten calls that a client makes to a host. A request is the call's number and its fields, a reply its fields
// alone, each from the start of the buffer. Fields are u32 values unless said otherwise:
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
// The bytes of an output are there whether the copy succeeded or not; they mean something only with a success.
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

// Starts a request and writes its u32 fields.
template <typename... Fields>
void WriteRequest(MessageBuffer& message, Call call, Fields... fields) {
    message.Rewind();
    message.WriteUInt32(call);
    (message.WriteUInt32(fields), ...);
}

// A description: string name, element type, format word, rank, then each dimension's low 32 bits. What is read has
// the flag clear, and a dimension of -1 arrives as 4,294,967,295: deliberate, dimensions have 32 bits on this way.
void WriteTensorInfo(MessageBuffer& message, const TensorImpl& tensor);
TensorInfo ReadTensorInfo(MessageBuffer& message);

// Pairs of key and value. The one that comes last wins where a key comes twice.
void WriteExtraInfo(MessageBuffer& message, const std::unordered_map<std::string, std::string>& info);
std::unordered_map<std::string, std::string> ReadExtraInfo(MessageBuffer& message);

// A shape: rank, then the dimensions. The two sides differ, deliberately, and neither may change alone: the client
// writes dimensions as u64 and the host reads u32, so that any shape but an empty one ends the host; and the host
// puts as many zeros in front as it reads.
void WriteShape(MessageBuffer& message, const std::vector<int64_t>& shape);
std::vector<int64_t> ReadShape(MessageBuffer& message);

}  // namespace Orvane
