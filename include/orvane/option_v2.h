#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/status.h>

#include <cstdint>
#include <memory>

namespace Orvane {

/// Keys that the SDK reads. An option set also stores other keys. The comment names the setter to use.
inline constexpr const char* OptionCommonFramework = "OptionCommonFramework";      ///< SetInt, a `FrameworkType`
inline constexpr const char* OptionCommonHost = "OptionCommonHost";                ///< SetString
inline constexpr const char* OptionCommonModelPath = "OptionCommonModelPath";      ///< SetString
inline constexpr const char* OptionCommonModelName = "OptionCommonModelName";      ///< SetString
inline constexpr const char* OptionCommonLibraryPath = "OptionCommonLibraryPath";  ///< SetString

/// Read for `FrameworkTypeOpenvino` only. "Devie" is deliberate: stored option sets contain it.
inline constexpr const char* OptionOpenvinoDevie = "OptionOpenvinoDevie";                  ///< SetString
inline constexpr const char* OptionOpenvinoMakeCache = "OptionOpenvinoMakeCache";          ///< SetBool
inline constexpr const char* OptionOpenvinoCachePath = "OptionOpenvinoCachePath";          ///< SetString
inline constexpr const char* OptionOpenvinoMakeEncrypted = "OptionOpenvinoMakeEncrypted";  ///< SetBool
/// SetString, at most 4 bytes.
inline constexpr const char* OptionOpenvinoMakeEncryptedKey = "OptionOpenvinoMakeEncryptedKey";

/// Read for `FrameworkTypeQnn` only.
inline constexpr const char* OptionQnnStubPath = "OptionQnnStubPath";      ///< SetString
inline constexpr const char* OptionQnnSystemPath = "OptionQnnSystemPath";  ///< SetString
inline constexpr const char* OptionQnnFromCache = "OptionQnnFromCache";    ///< SetBool
inline constexpr const char* OptionQnnOutputPath = "OptionQnnOutputPath";  ///< SetString

/// A typed key-value store that says which model to run and how. Keys are zero-terminated; setting a key
/// again replaces its value and its type. Used from one thread at a time.
///
/// A getter returns the caller's default if the key is missing or its value has another type. `*found`, if given,
/// becomes whether the value was found.
class OptionV2 {
 public:
    /// Frees the option set. `OptionHandle` calls this.
    virtual void Destroy() = 0;

    /// Keeps the caller's pointer without copying: the bytes must live as long as the set may use them.
    /// A null `data` changes nothing.
    virtual void SetBuffer(const char* key, const void* data, uint32_t size) = 0;

    /// Copies the zero-terminated `text`. A null `text` changes nothing.
    virtual void SetString(const char* key, const char* text) = 0;

    virtual void SetInt64(const char* key, int64_t value) = 0;
    virtual void SetInt(const char* key, int32_t value) = 0;
    virtual void SetDouble(const char* key, double value) = 0;
    virtual void SetFloat(const char* key, float value) = 0;
    virtual void SetBool(const char* key, bool value) = 0;

    virtual bool GetBool(const char* key, bool defaultValue, bool* found = nullptr) const = 0;

    /// Also converts a double.
    virtual float GetFloat(const char* key, float defaultValue, bool* found = nullptr) const = 0;

    /// Also converts a float.
    virtual double GetDouble(const char* key, double defaultValue, bool* found = nullptr) const = 0;

    /// Deliberately does not convert a 64-bit integer.
    virtual int32_t GetInt(const char* key, int32_t defaultValue, bool* found = nullptr) const = 0;

    /// Also converts a 32-bit integer.
    virtual int64_t GetInt64(const char* key, int64_t defaultValue, bool* found = nullptr) const = 0;

    /// The stored text, valid until the key changes. Without one an empty text, never null.
    virtual const char* GetString(const char* key) const = 0;

    /// The stored bytes and their number. Without them null and 0.
    virtual const void* GetBuffer(const char* key, uint32_t& size) const = 0;

    /// Adds the record's values to the set: the common ones, and the chosen framework's own.
    virtual void FromParams(const InterpreterParams& params) = 0;

    /// Overwrites the record's values with the set's. If the model-file key is longer than 4 bytes, fails and leaves a
    /// key of zeros in the record.
    virtual Status ToParams(InterpreterParams& params) const = 0;

    /// Writes the flat form of the set, in which it travels to a host process, and returns its size in bytes.
    /// With a null `buffer` it only measures. Returns 0 if `capacity` bytes are not enough; the content of `buffer` is
    /// then undefined.
    virtual uint64_t Serialize(void* buffer, uint64_t capacity) const = 0;

    /// Replaces the content with a flat form and keeps no pointer into `data`. Returns false if the form is cut or its
    /// lengths exceed it; the set then holds the entries before the fault.
    /// The byte after `data` must be readable.
    virtual bool Deserialize(const void* data, uint64_t size) = 0;

 protected:
    ~OptionV2() = default;
};

struct OptionDestroyer {
    void operator()(OptionV2* option) const { option->Destroy(); }
};

/// Owns an option set.
using OptionHandle = std::unique_ptr<OptionV2, OptionDestroyer>;

/// A new, empty option set.
OptionHandle CreateOption();

}  // namespace Orvane
