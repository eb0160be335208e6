#include "core/option_v2_impl.h"

#include "core/errors.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace Orvane {

namespace {

// The value of a getter that accepts values of type `T` and of type `Other`. `value` is null if the key is missing.
template <typename T, typename Other = T>
T Answer(const OptionValue* value, T defaultValue, bool* found) {
    const auto* exact = std::get_if<T>(value);
    const auto* other = std::get_if<Other>(value);
    if (found != nullptr) {
        *found = exact != nullptr || other != nullptr;
    }
    return exact != nullptr ? *exact : other != nullptr ? static_cast<T>(*other) : defaultValue;
}

void SetStringUnlessEmpty(OptionV2& option, const char* key, const std::string& text) {
    if (!text.empty()) {
        option.SetString(key, text.c_str());
    }
}

}  // namespace

OptionHandle CreateOption() {
    return OptionHandle(new OptionV2Impl);
}

void OptionV2Impl::Destroy() {
    delete this;
}

void OptionV2Impl::SetBuffer(const char* key, const void* data, uint32_t size) {
    if (data == nullptr) {
        return;
    }
    OptionValue& value = values[key];
    if (auto* old = std::get_if<OptionBuffer>(&value); old != nullptr && old->owned != nullptr) {
        replacedBuffers.push_back(std::move(old->owned));
    }
    value = OptionBuffer{data, size, nullptr};
}

void OptionV2Impl::SetString(const char* key, const char* text) {
    if (text != nullptr) {
        values[key] = std::string(text);
    }
}

void OptionV2Impl::SetInt64(const char* key, int64_t value) {
    values[key] = value;
}

void OptionV2Impl::SetInt(const char* key, int32_t value) {
    values[key] = value;
}

void OptionV2Impl::SetDouble(const char* key, double value) {
    values[key] = value;
}

void OptionV2Impl::SetFloat(const char* key, float value) {
    values[key] = value;
}

void OptionV2Impl::SetBool(const char* key, bool value) {
    values[key] = value;
}

bool OptionV2Impl::GetBool(const char* key, bool defaultValue, bool* found) const {
    return Answer(Find(key), defaultValue, found);
}

float OptionV2Impl::GetFloat(const char* key, float defaultValue, bool* found) const {
    return Answer<float, double>(Find(key), defaultValue, found);
}

double OptionV2Impl::GetDouble(const char* key, double defaultValue, bool* found) const {
    return Answer<double, float>(Find(key), defaultValue, found);
}

int32_t OptionV2Impl::GetInt(const char* key, int32_t defaultValue, bool* found) const {
    return Answer(Find(key), defaultValue, found);
}

int64_t OptionV2Impl::GetInt64(const char* key, int64_t defaultValue, bool* found) const {
    return Answer<int64_t, int32_t>(Find(key), defaultValue, found);
}

const char* OptionV2Impl::GetString(const char* key) const {
    const auto* text = std::get_if<std::string>(Find(key));
    return text != nullptr ? text->c_str() : "";
}

const void* OptionV2Impl::GetBuffer(const char* key, uint32_t& size) const {
    const auto* buffer = std::get_if<OptionBuffer>(Find(key));
    size = buffer != nullptr ? buffer->size : 0;
    return buffer != nullptr ? buffer->data : nullptr;
}

void OptionV2Impl::FromParams(const InterpreterParams& params) {
    SetStringUnlessEmpty(*this, OptionCommonHost, params.host);
    SetInt(OptionCommonFramework, static_cast<int32_t>(params.framework));
    SetStringUnlessEmpty(*this, OptionCommonModelPath, params.modelPath);
    SetStringUnlessEmpty(*this, OptionCommonModelName, params.modelName);
    SetStringUnlessEmpty(*this, OptionCommonLibraryPath, params.libraryPath);

    if (params.framework == FrameworkTypeQnn) {
        SetString(OptionQnnStubPath, params.qnnStubPath.c_str());
        SetString(OptionQnnSystemPath, params.qnnSystemPath.c_str());
        SetBool(OptionQnnFromCache, params.qnnFromCache);
        SetString(OptionQnnOutputPath, params.qnnOutputPath.c_str());
    } else if (params.framework == FrameworkTypeOpenvino) {
        SetString(OptionOpenvinoDevie, params.openvinoDevice.c_str());
        SetBool(OptionOpenvinoMakeCache, params.openvinoMakeCache);
        SetString(OptionOpenvinoCachePath, params.openvinoCachePath.c_str());
        SetBool(OptionOpenvinoMakeEncrypted, params.openvinoMakeEncrypted);
        const auto& key = params.openvinoMakeEncryptedKey;
        const std::string keyText(key.begin(), std::find(key.begin(), key.end(), uint8_t{0}));
        SetString(OptionOpenvinoMakeEncryptedKey, keyText.c_str());
    }
}

Status OptionV2Impl::ToParams(InterpreterParams& params) const {
    params.framework = static_cast<uint32_t>(GetInt(OptionCommonFramework, 0, nullptr));
    params.host = GetString(OptionCommonHost);
    params.modelPath = GetString(OptionCommonModelPath);
    params.modelName = GetString(OptionCommonModelName);
    params.libraryPath = GetString(OptionCommonLibraryPath);

    if (params.framework == FrameworkTypeQnn) {
        params.qnnStubPath = GetString(OptionQnnStubPath);
        params.qnnSystemPath = GetString(OptionQnnSystemPath);
        params.qnnFromCache = GetBool(OptionQnnFromCache, false, nullptr);
        params.qnnOutputPath = GetString(OptionQnnOutputPath);
    } else if (params.framework == FrameworkTypeOpenvino) {
        params.openvinoDevice = GetString(OptionOpenvinoDevie);
        params.openvinoMakeCache = GetBool(OptionOpenvinoMakeCache, false, nullptr);
        params.openvinoCachePath = GetString(OptionOpenvinoCachePath);
        params.openvinoMakeEncrypted = GetBool(OptionOpenvinoMakeEncrypted, false, nullptr);
        const std::string_view keyText = GetString(OptionOpenvinoMakeEncryptedKey);
        auto& key = params.openvinoMakeEncryptedKey;
        if (keyText.size() > key.size()) {
            key.fill(0);
            return MakeErrorStatus("OptionOpenvinoMakeEncryptedKey is longer than 4 bytes");
        }
        std::memcpy(key.data(), keyText.data(), keyText.size());  // the rest of the key is unchanged
    }
    return MakeSuccessStatus();
}

uint64_t OptionV2Impl::Serialize(void* buffer, uint64_t capacity) const {
    return WriteFlatForm(values, buffer, capacity);
}

bool OptionV2Impl::Deserialize(const void* data, uint64_t size) {
    values.clear();
    return ReadFlatForm(data, size, values);
}

const OptionValue* OptionV2Impl::Find(const char* key) const {
    const auto entry = values.find(std::string_view(key));
    return entry != values.end() ? &entry->second : nullptr;
}

}  // namespace Orvane
