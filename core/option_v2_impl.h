#pragma once

#include <orvane/option_v2.h>

#include "core/flat_form.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Orvane {

class OptionV2Impl final : public OptionV2 {
 public:
    void Destroy() override;
    void SetBuffer(const char* key, const void* data, uint32_t size) override;
    void SetString(const char* key, const char* text) override;
    void SetInt64(const char* key, int64_t value) override;
    void SetInt(const char* key, int32_t value) override;
    void SetDouble(const char* key, double value) override;
    void SetFloat(const char* key, float value) override;
    void SetBool(const char* key, bool value) override;
    bool GetBool(const char* key, bool defaultValue, bool* found) const override;
    float GetFloat(const char* key, float defaultValue, bool* found) const override;
    double GetDouble(const char* key, double defaultValue, bool* found) const override;
    int32_t GetInt(const char* key, int32_t defaultValue, bool* found) const override;
    int64_t GetInt64(const char* key, int64_t defaultValue, bool* found) const override;
    const char* GetString(const char* key) const override;
    const void* GetBuffer(const char* key, uint32_t& size) const override;
    void FromParams(const InterpreterParams& params) override;
    Status ToParams(InterpreterParams& params) const override;
    uint64_t Serialize(void* buffer, uint64_t capacity) const override;
    bool Deserialize(const void* data, uint64_t size) override;

 private:
    ~OptionV2Impl() = default;

    // Null if the key is missing.
    const OptionValue* Find(const char* key) const;

    OptionValues values;

    // Bytes that the set owned and `SetBuffer` replaced. The set deliberately keeps them as long as it lives, because a
    // caller of `GetBuffer` may still use them. Other setters and `Deserialize` free such bytes at once.
    std::vector<std::unique_ptr<uint8_t[]>> replacedBuffers;
};

}  // namespace Orvane
