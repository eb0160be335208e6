#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {

/// Inference frameworks by number. Only the two OpenVINO numbers are enabled; `Init` refuses the others.
enum FrameworkType : uint32_t {
    FrameworkTypeTFLite = 0,         ///< TensorFlow Lite; not enabled
    FrameworkTypeOnnxRuntime = 1,    ///< ONNX Runtime; not enabled
    FrameworkTypeMnn = 2,            ///< MNN; not enabled
    FrameworkTypeCoreML = 4,         ///< Core ML; not enabled
    FrameworkTypeOpenvinoPlain = 5,  ///< OpenVINO; `ToParams` reads no OpenVINO options for it
    FrameworkTypeTorchLite = 6,      ///< PyTorch Lite; not enabled
    FrameworkTypeInvalid = 7,        ///< no framework
    FrameworkTypeQnn = 8,            ///< QNN; not enabled
    FrameworkTypeOpenvino = 9,       ///< OpenVINO
};

/// Everything that `Init` reads, as plain values. `OptionV2::ToParams` fills it from an option set.
/// All texts are UTF-8.
struct InterpreterParams {
    uint32_t framework = 0;   ///< a `FrameworkType`
    std::string modelPath;    ///< the path of the model file, or its first part with the last separator
    std::string modelName;    ///< the rest of that path; appended to `modelPath` without a separator
    std::string libraryPath;  ///< OpenVINO does not read it

    // The order and the initial values of the reserved members are fixed.
    std::string reservedText;               ///< not read
    std::vector<std::string> reservedList;  ///< not read
    int32_t reserved0 = 4;                  ///< not read
    int64_t reserved1 = 0;                  ///< not read
    int32_t reserved2 = 0;                  ///< not read
    int64_t reserved3 = 0;                  ///< not read
    bool reserved4 = true;                  ///< not read
    bool reserved5 = false;                 ///< not read
    int32_t reserved6 = 0;                  ///< not read
    int32_t reserved7 = 2;                  ///< not read

    std::string host;  ///< path of a host program; if not empty, the model runs in a host process

    std::string openvinoDevice;                         ///< device name; empty means "CPU"
    std::string openvinoCachePath;                      ///< compiled-model cache file; empty disables the cache
    bool openvinoMakeCache = false;                     ///< write the cache file after compiling
    bool openvinoMakeEncrypted = false;                 ///< the model files on disk are encrypted
    std::array<uint8_t, 4> openvinoMakeEncryptedKey{};  ///< the key of these files; a shorter key ends in zeros

    std::string qnnStubPath;    ///< for QNN, which is not enabled
    std::string qnnSystemPath;  ///< for QNN
    bool qnnFromCache = false;  ///< for QNN
    std::string qnnOutputPath;  ///< for QNN
};

}  // namespace Orvane
