#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/status.h>

#include <cstdint>
#include <memory>

namespace Orvane {

// Keys that the SDK reads. An option set also stores other keys. Each comment names the setter to use.
inline constexpr const char* OptionCommonFramework = "OptionCommonFramework";  ///< `SetInt`: a `FrameworkType`
inline constexpr const char* OptionCommonHost = "OptionCommonHost";  ///< `SetString`: the path of the host program
inline constexpr const char* OptionCommonModelPath = "OptionCommonModelPath";  ///< `SetString`: the path of the model
inline constexpr const char* OptionCommonModelName = "OptionCommonModelName";  ///< `SetString`: appended to it
inline constexpr const char* OptionCommonLibraryPath = "OptionCommonLibraryPath";  ///< `SetString`: not used

// Read for `FrameworkTypeOpenvino` only. "Devie" is deliberate: stored option sets contain it.
inline constexpr const char* OptionOpenvinoDevie = "OptionOpenvinoDevie";          ///< `SetString`: the device
inline constexpr const char* OptionOpenvinoMakeCache = "OptionOpenvinoMakeCache";  ///< `SetBool`: write the cache file
inline constexpr const char* OptionOpenvinoCachePath = "OptionOpenvinoCachePath";  ///< `SetString`: the cache file
/// `SetBool`: the model files are encrypted.
inline constexpr const char* OptionOpenvinoMakeEncrypted = "OptionOpenvinoMakeEncrypted";
/// `SetString`: the key of encrypted model files, at most 4 bytes.
inline constexpr const char* OptionOpenvinoMakeEncryptedKey = "OptionOpenvinoMakeEncryptedKey";

// Read for `FrameworkTypeQnn` only, which is not enabled.
inline constexpr const char* OptionQnnStubPath = "OptionQnnStubPath";      ///< `SetString`: `qnnStubPath`
inline constexpr const char* OptionQnnSystemPath = "OptionQnnSystemPath";  ///< `SetString`: `qnnSystemPath`
inline constexpr const char* OptionQnnFromCache = "OptionQnnFromCache";    ///< `SetBool`: `qnnFromCache`
inline constexpr const char* OptionQnnOutputPath = "OptionQnnOutputPath";  ///< `SetString`: `qnnOutputPath`

/// A typed key-value store that says which model to run and how. Keys are zero-terminated. If you set a key again, you
/// replace its value and its type. Use it from one thread at a time.
///
/// A getter returns the caller's default if the key is missing or its value has another type. If `found` is not null,
/// the getter sets `*found` to whether it found the value.
class OptionV2 {
 public:
    /// Frees the option set. `OptionHandle` calls this.
    virtual void Destroy() = 0;

    /// Stores the caller's pointer and copies nothing. The bytes must live until you set the key again or destroy the
    /// set. A null `data` changes nothing.
    virtual void SetBuffer(const char* key, const void* data, uint32_t size) = 0;

    /// Copies the zero-terminated `text`. A null `text` changes nothing.
    virtual void SetString(const char* key, const char* text) = 0;

    virtual void SetInt64(const char* key, int64_t value) = 0;  ///< Stores a 64-bit integer.
    virtual void SetInt(const char* key, int32_t value) = 0;    ///< Stores a 32-bit integer.
    virtual void SetDouble(const char* key, double value) = 0;  ///< Stores a double.
    virtual void SetFloat(const char* key, float value) = 0;    ///< Stores a float.
    virtual void SetBool(const char* key, bool value) = 0;      ///< Stores a bool.

    /// Returns the stored bool.
    virtual bool GetBool(const char* key, bool defaultValue, bool* found = nullptr) const = 0;

    /// Returns the stored float. Also converts a double.
    virtual float GetFloat(const char* key, float defaultValue, bool* found = nullptr) const = 0;

    /// Returns the stored double. Also converts a float.
    virtual double GetDouble(const char* key, double defaultValue, bool* found = nullptr) const = 0;

    /// Returns the stored 32-bit integer. Deliberately does not convert a 64-bit integer.
    virtual int32_t GetInt(const char* key, int32_t defaultValue, bool* found = nullptr) const = 0;

    /// Returns the stored 64-bit integer. Also converts a 32-bit integer.
    virtual int64_t GetInt64(const char* key, int64_t defaultValue, bool* found = nullptr) const = 0;

    /// Returns the stored text, which is valid until you set the key again. Returns an empty text, never null, if there
    /// is no such text.
    virtual const char* GetString(const char* key) const = 0;

    /// Returns the stored bytes, and sets `size` to their number. Returns null and sets 0 if there are no such bytes.
    virtual const void* GetBuffer(const char* key, uint32_t& size) const = 0;

    /// Adds the values of `params` to the set: the common values, and those of the chosen framework.
    virtual void FromParams(const InterpreterParams& params) = 0;

    /// Overwrites the values of `params` with the values of the set. If the key of the model files is longer than 4
    /// bytes, fails and sets that key to zeros.
    virtual Status ToParams(InterpreterParams& params) const = 0;

    /// Writes the set as bytes, its flat form, and returns their number. A host process receives options in this form.
    /// If `buffer` is null, only returns the number. Returns 0 if `capacity` bytes are not enough; the content of
    /// `buffer` is then undefined.
    virtual uint64_t Serialize(void* buffer, uint64_t capacity) const = 0;

    /// Replaces the content with that of a flat form. Copies the data. Returns false if the form is incomplete or a
    /// length exceeds it; the set then has the entries before the fault. The byte after `data` must be readable.
    virtual bool Deserialize(const void* data, uint64_t size) = 0;

 protected:
    ~OptionV2() = default;
};

/// Frees an option set.
struct OptionDestroyer {
    /// Calls `Destroy`.
    void operator()(OptionV2* option) const { option->Destroy(); }
};

/// Owns an option set.
using OptionHandle = std::unique_ptr<OptionV2, OptionDestroyer>;

/// Creates an empty option set.
OptionHandle CreateOption();

}  // namespace Orvane
