#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/status.h>

#include <cstdint>
#include <memory>

namespace Orvane {

// Keys that the SDK reads. An option set can contain other keys too. Each comment names the setter to use.
inline constexpr const char* OptionCommonFramework = "OptionCommonFramework";  ///< `SetInt`: a `FrameworkType`
inline constexpr const char* OptionCommonHost = "OptionCommonHost";  ///< `SetString`: the path of the host program
inline constexpr const char* OptionCommonModelPath = "OptionCommonModelPath";  ///< `SetString`: the path of the model
inline constexpr const char* OptionCommonModelName = "OptionCommonModelName";  ///< `SetString`: follows that path
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

/// An option set: typed values under text keys, which say which model to run and how. Keys and texts are UTF-8 and
/// zero-terminated. If you set a key again, you replace its value and its type. Use it from one thread at a time.
///
/// A getter returns `defaultValue` if the set does not have the key, or if its value has another type. If `found` is
/// not null, the getter sets `*found` to true if it found the value, and otherwise to false.
class OptionV2 {
 public:
    /// Frees the option set. `OptionHandle` calls this.
    virtual void Destroy() = 0;

    /// Stores the pointer `data` and copies nothing. You own the bytes, and must keep them until you set the key again
    /// or destroy the set. A null `data` changes nothing.
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

    /// Returns the stored text. If there is no such text, returns an empty text, never null. The set owns the text. It
    /// is valid until you set the key again, call `Deserialize` or destroy the set.
    virtual const char* GetString(const char* key) const = 0;

    /// Returns the stored bytes, and sets `size` to their number. If there are no such bytes, returns null and sets
    /// `size` to 0. You own bytes from `SetBuffer`, and the set owns bytes from `Deserialize`. The pointer is
    /// valid until you set the key again, call `Deserialize` or destroy the set.
    virtual const void* GetBuffer(const char* key, uint32_t& size) const = 0;

    /// Adds the values of `params` to the set: the common values, and those of the framework in `params`. Does not add
    /// common texts that are empty.
    virtual void FromParams(const InterpreterParams& params) = 0;

    /// Overwrites the values of `params` with the values of the set: the common values, and those of the framework in
    /// the set. If the key of the model files is longer than 4 bytes, fails and sets that key to zeros. If it is
    /// shorter than 4 bytes, the other bytes of the key in `params` do not change.
    virtual Status ToParams(InterpreterParams& params) const = 0;

    /// Writes the set as bytes, its flat form, to `buffer`, and returns their number. A host process receives options
    /// in this form. If `buffer` is null, only returns the number. If `capacity` bytes are not enough, returns 0, and
    /// the content of `buffer` is undefined.
    virtual uint64_t Serialize(void* buffer, uint64_t capacity) const = 0;

    /// Replaces the content of the set with that of the flat form in `data`. Copies the data. If the form is incomplete
    /// or a length in it exceeds the form, returns false, and the set has the entries before the fault. May read one
    /// byte more than `size`, so the byte after the form must be readable.
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
