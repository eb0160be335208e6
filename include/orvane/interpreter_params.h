#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {

/// Inference frameworks by number. Only the two OpenVINO numbers are enabled; `Init` refuses the others.
enum FrameworkType : uint32_t {
    FrameworkTypeTFLite = 0,
    FrameworkTypeOnnxRuntime = 1,
    FrameworkTypeMnn = 2,
    FrameworkTypeCoreML = 4,
    FrameworkTypeOpenvinoPlain = 5,  ///< OpenVINO too, but an option set carries no OpenVINO options for it
    FrameworkTypeTorchLite = 6,
    FrameworkTypeInvalid = 7,
    FrameworkTypeQnn = 8,
    FrameworkTypeOpenvino = 9,
};

/// Everything that `Init` reads, as plain values. `OptionV2::ToParams` fills it from an option set.
/// All texts are UTF-8.
struct InterpreterParams {
    uint32_t framework = 0;   ///< a `FrameworkType`
    std::string modelPath;    ///< first part of the model file's path; ends in a separator if a name follows
    std::string modelName;    ///< appended to `modelPath` as it is
    std::string libraryPath;  ///< OpenVINO does not read it

    /// The SDK does not read these. Their order and initial values are fixed.
    std::string reservedText;
    std::vector<std::string> reservedList;
    int32_t reserved0 = 4;
    int64_t reserved1 = 0;
    int32_t reserved2 = 0;
    int64_t reserved3 = 0;
    bool reserved4 = true;
    bool reserved5 = false;
    int32_t reserved6 = 0;
    int32_t reserved7 = 2;

    std::string host;  ///< path of a host program; if not empty, the model runs in a host process

    std::string openvinoDevice;          ///< device name; empty means "CPU"
    std::string openvinoCachePath;       ///< compiled-model cache file; empty disables the cache
    bool openvinoMakeCache = false;      ///< write the cache file after compiling
    bool openvinoMakeEncrypted = false;  ///< the model files on disk are encrypted
    std::array<uint8_t, 4> openvinoMakeEncryptedKey{};

    std::string qnnStubPath;
    std::string qnnSystemPath;
    bool qnnFromCache = false;
    std::string qnnOutputPath;
};

}  // namespace Orvane
