#include "bench/workload.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <regex>
#include <stdexcept>

namespace Orvane::Bench {

namespace {

constexpr uint32_t kFloat = sizeof(float);

std::string Material(const char* file) {
    return std::string(ORVANE_MATERIAL_FOLDER "/") + file;
}

uint32_t Sum(const std::vector<uint32_t>& sizes) {
    return std::accumulate(sizes.begin(), sizes.end(), 0U);
}

}  // namespace

bool Workload::IsStub() const {
    return modelPath.starts_with("share ");
}

uint32_t Workload::InputBytes() const {
    return Sum(inputs);
}

uint32_t Workload::OutputBytes() const {
    return Sum(outputs);
}

uint32_t Workload::StubBytes() const {
    return std::max(InputBytes(), OutputBytes());
}

Workload ParseWorkload(const std::string& text) {
    if (text == "face") {
        return {Material("face_detection_short_range.tflite"),
                {1 * 128 * 128 * 3 * kFloat},
                {1 * 896 * 16 * kFloat, 1 * 896 * 1 * kFloat}};
    }
    if (text == "voice") {  // the state is an input and an output, as for every piece of a recording
        return {Material("silero_vad_openvino_16k.onnx"),
                {1 * 576 * kFloat, 2 * 1 * 128 * kFloat},
                {1 * 1 * kFloat, 2 * 1 * 128 * kFloat}};
    }
    if (text == "pose") {
        return {Material("pose_landmark_full.tflite"),
                {1 * 256 * 256 * 3 * kFloat},
                {1 * 195 * kFloat, 1 * 1 * kFloat, 1 * 256 * 256 * 1 * kFloat, 1 * 64 * 64 * 39 * kFloat,
                 1 * 117 * kFloat}};
    }
    const std::regex stub("stub:([0-9]{1,8}):([0-9]{1,8})(?::([a-z]+):([0-9]{1,9}))?");
    if (std::smatch words; std::regex_match(text, words, stub)) {
        const auto input = static_cast<uint32_t>(std::stoul(words[1]));
        const auto output = static_cast<uint32_t>(std::stoul(words[2]));
        const std::string work = words[3];
        return {
            "share " + words[1].str() + " " + words[2].str() + (work.empty() ? "" : ";" + work + " " + words[4].str()),
            {input},
            {output},
            work,
            work.empty() ? 0 : std::stoll(words[4])};
    }
    throw std::invalid_argument("no such workload: " + text +
                                "; use face, voice, pose or stub:INPUT:OUTPUT[:WORK:AMOUNT]");
}

std::vector<uint8_t> InputData(const Workload& workload) {
    std::vector<uint8_t> bytes(workload.InputBytes());
    std::minstd_rand random(1);
    constexpr auto kHalf = static_cast<float>(std::minstd_rand::max()) / 2;
    for (size_t i = 0; i + kFloat <= bytes.size(); i += kFloat) {
        const float value = static_cast<float>(random()) / kHalf - 1;
        std::memcpy(bytes.data() + i, &value, kFloat);
    }
    return bytes;
}

}  // namespace Orvane::Bench
