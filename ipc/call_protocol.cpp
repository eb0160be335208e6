#include "ipc/call_protocol.h"

namespace Orvane {

void WriteTensorInfo(MessageBuffer& message, const TensorImpl& tensor) {
    message.WriteString(tensor.GetName());
    message.WriteUInt32(tensor.GetDataType());
    message.WriteUInt32(tensor.GetFormat());
    const std::vector<int64_t> shape = tensor.GetShape();
    message.WriteUInt32(static_cast<uint32_t>(shape.size()));
    for (const int64_t dimension : shape) {
        message.WriteUInt32(static_cast<uint32_t>(dimension));
    }
}

TensorInfo ReadTensorInfo(MessageBuffer& message) {
    TensorInfo info;
    info.name = message.ReadString();
    info.dataType = static_cast<DataType>(message.ReadUInt32());
    info.format = message.ReadUInt32();
    for (uint32_t rank = message.ReadUInt32(); rank > 0; --rank) {
        info.shape.push_back(message.ReadUInt32());
    }
    return info;
}

void WriteExtraInfo(MessageBuffer& message, const std::unordered_map<std::string, std::string>& info) {
    message.WriteUInt32(static_cast<uint32_t>(info.size()));
    for (const auto& [key, value] : info) {
        message.WriteString(key);
        message.WriteString(value);
    }
}

std::unordered_map<std::string, std::string> ReadExtraInfo(MessageBuffer& message) {
    std::unordered_map<std::string, std::string> info;
    for (uint32_t count = message.ReadUInt32(); count > 0; --count) {
        std::string key = message.ReadString();
        info[std::move(key)] = message.ReadString();
    }
    return info;
}

void WriteShape(MessageBuffer& message, const std::vector<int64_t>& shape) {
    message.WriteUInt32(static_cast<uint32_t>(shape.size()));
    for (const int64_t dimension : shape) {
        message.WriteUInt64(static_cast<uint64_t>(dimension));
    }
}

std::vector<int64_t> ReadShape(MessageBuffer& message) {
    const uint32_t rank = message.ReadUInt32();
    std::vector<int64_t> shape;
    for (uint32_t i = 0; i < rank; ++i) {
        shape.push_back(message.ReadUInt32());
    }
    // Inserts the zeros last: if the rank is wrong, the reads above end the process before it fills its memory.
    shape.insert(shape.begin(), rank, 0);
    return shape;
}

}  // namespace Orvane
