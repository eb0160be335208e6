#pragma once

#include <orvane/option_v2.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace Orvane {

class FlatReader;
class FlatWriter;

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
    // Bytes of the caller, or of the set's own when they came from a flat form.
    struct Buffer {
        const void* data = nullptr;
        uint32_t size = 0;
        std::unique_ptr<uint8_t[]> owned;
    };

    // The place of a type in this list is its tag in the flat form.
    using Value = std::variant<bool, float, double, int32_t, int64_t, std::string, Buffer>;

    ~OptionV2Impl() = default;

    template <typename T>
    const T* Find(const char* key) const;
    void StoreBuffer(const std::string& key, Buffer buffer);
    template <typename T>
    static void WriteValue(FlatWriter& writer, const T& value);
    void ReadEntry(FlatReader& reader);

    std::map<std::string, Value, std::less<>> values;

    // A buffer that replaces a buffer deliberately does not free the old bytes: whoever asked for their address
    // may still use it. They go with the set.
    std::vector<std::unique_ptr<uint8_t[]>> replacedBuffers;
};

}  // namespace Orvane
