#pragma once

/// \file
/// The SDK for C++17 and later: a header that calls the C interface. It works with every compiler, and with both
/// libraries, `orvane_c` and `orvane_client_c`. The rules at the top of orvane_c.h for threads, texts and models
/// after an error apply here too. Every failure throws an `orvane::Error`.
///
///     orvane::Options options;
///     options.modelPath = "model.onnx";
///     orvane::Model model(options);
///     model.Set(0, std::vector<float>{1, 2, 3});
///     model.Run();
///     const std::vector<float> result = model.Get<float>("y");

#include <orvane/orvane_c.h>
#include <orvane/error.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>
#if __has_include(<version>)
#include <version>
#endif
#ifdef __cpp_lib_span
#include <span>
#endif

namespace orvane {

/// A step of a load.
enum class LoadStep : int32_t {
    None = ORVANE_LOAD_NONE,                   ///< the call does not load a model
    Reading = ORVANE_LOAD_READING,             ///< reads the model file
    Compiling = ORVANE_LOAD_COMPILING,         ///< compiles the model for its device
    Importing = ORVANE_LOAD_IMPORTING,         ///< reads the cache file
    Writing = ORVANE_LOAD_WRITING,             ///< writes the cache file
    StartingHost = ORVANE_LOAD_STARTING_HOST,  ///< starts the host process
    InHost = ORVANE_LOAD_IN_HOST,              ///< the host process loads the model
};

/// Which model to run, and how. An empty field means the default. Texts are UTF-8.
struct Options {
    std::string modelPath;   ///< the model file; may be empty if the cache file exists
    std::string device;      ///< the name of a device of OpenVINO; empty: the CPU
    std::string cachePath;   ///< the file of the compiled model; if it exists, the model files are not read
    bool makeCache = false;  ///< write the cache file if it does not exist; if that fails, only the log says so

    /// Without a value the model runs in this process. With a value it runs in a host process, and the value is the
    /// path of the host program. Empty means `orvane_host` in the folder of the library, or in `../bin` from there.
    std::optional<std::string> hostProgram;

    std::vector<uint8_t> key;  ///< the key of encrypted model files, 1 to 4 bytes

    /// How long one call may wait for the host process; 0: about 55 hours. When the time is over, the library ends the
    /// host process, and the call throws `HostEnded`. It must not be negative, and needs a host program.
    std::chrono::milliseconds timeLimit{0};

    /// The limit for the constructor and for `Restart`; 0: the value of `timeLimit`.
    std::chrono::milliseconds loadTimeLimit{0};

    /// The library calls this function on the thread of the call: at each step of a load, and about five times a second
    /// while a call waits for a host process. If it returns false, the library ends the host process, and the call
    /// throws an `Error` with `Reason::Cancelled`. A load in this process stops at its next step. If it throws, the
    /// call stops too, and throws that exception. It may call `Interrupt`, and all functions of other models.
    std::function<bool(LoadStep step)> progress;
};

/// The side of a model: its inputs, or its outputs.
enum class Side : int32_t { Input = ORVANE_INPUT, Output = ORVANE_OUTPUT };

/// The type of a tensor's elements.
enum class ElementType : uint32_t {
    Unknown = ORVANE_UNKNOWN,  ///< any other type; such a tensor cannot be copied
    Float32 = ORVANE_FLOAT32,  ///< `float`
    Float16 = ORVANE_FLOAT16,  ///< 16-bit floating point, in a `uint16_t`
    Int32 = ORVANE_INT32,      ///< `int32_t`
    UInt8 = ORVANE_UINT8,      ///< `uint8_t`
    Int64 = ORVANE_INT64,      ///< `int64_t`
    Bool = ORVANE_BOOL,        ///< `bool`, or a `uint8_t` of 0 or 1; a vector needs `uint8_t`
    Int16 = ORVANE_INT16,      ///< `int16_t`
    Int8 = ORVANE_INT8,        ///< `int8_t`
    Float64 = ORVANE_FLOAT64,  ///< `double`
};

/// Returns the type's name, such as "float32", in static storage.
inline const char* NameOf(ElementType type) {
    return orvane_element_type_name(static_cast<int32_t>(type));
}

/// Describes an input or output of a model.
struct Tensor {
    Side side = Side::Input;                  ///< input or output
    uint32_t index = 0;                       ///< its index on that side, from 0
    std::string name;                         ///< its name in the model, UTF-8
    ElementType type = ElementType::Unknown;  ///< the type of its elements
    std::vector<int64_t> shape;               ///< outermost dimension first; a dynamic dimension is -1
    uint64_t byteSize = 0;                    ///< bytes of all elements; 0 if the data cannot be copied
    std::string problem;                      ///< why it cannot be copied and what to do; empty if it can

    /// Whether the shape has a dynamic dimension.
    bool IsDynamic() const { return std::find(shape.begin(), shape.end(), -1) != shape.end(); }

    /// Returns the text that names the tensor in messages, such as `input 0 "x"`.
    std::string Label() const {
        return (side == Side::Input ? "input " : "output ") + std::to_string(index) + " \"" + name + "\"";
    }
};

namespace detail {

inline Tensor TensorOf(Side side, uint32_t index, const orvane_tensor& plain) {
    return {side,
            index,
            plain.name,
            static_cast<ElementType>(plain.element_type),
            std::vector<int64_t>(plain.dimensions, plain.dimensions + plain.rank),
            plain.byte_size,
            plain.problem != nullptr ? plain.problem : ""};
}

}  // namespace detail

/// Returns whether T is a C++ type for elements of this type. `std::byte` matches every type.
template <typename T>
constexpr bool Matches(ElementType type) {
    if constexpr (std::is_same_v<T, std::byte>) {
        return true;
    } else if constexpr (std::is_same_v<T, float>) {
        return type == ElementType::Float32;
    } else if constexpr (std::is_same_v<T, double>) {
        return type == ElementType::Float64;
    } else if constexpr (std::is_same_v<T, bool>) {
        return type == ElementType::Bool;
    } else if constexpr (std::is_integral_v<T> && sizeof(T) == 1) {
        return std::is_signed_v<T> ? type == ElementType::Int8
                                   : type == ElementType::UInt8 || type == ElementType::Bool;
    } else if constexpr (std::is_integral_v<T> && sizeof(T) == 2) {
        return type == (std::is_signed_v<T> ? ElementType::Int16 : ElementType::Float16);
    } else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
        return type == (sizeof(T) == 4 ? ElementType::Int32 : ElementType::Int64);
    } else {
        return false;
    }
}

/// Selects an input or output by index or name. Integers and texts convert to it implicitly.
class Which {
 public:
    /// Selects by index.
    // NOLINTBEGIN(modernize-use-constraints): C++17 has no constraints
    template <typename Index, typename = std::enable_if_t<std::is_integral_v<Index>>>
    Which(Index wanted)
        // NOLINTEND(modernize-use-constraints)
        : index(static_cast<int64_t>(wanted)) {}
    Which(const char* wanted) : name(wanted) {}             ///< Selects by name.
    Which(std::string wanted) : name(std::move(wanted)) {}  ///< Selects by name.

    /// Whether this selects the tensor.
    bool Is(const Tensor& tensor) const { return name ? tensor.name == *name : tensor.index == index; }
    /// Returns the index, or the name in quotes.
    std::string Text() const { return name ? "\"" + *name + "\"" : std::to_string(index); }

 private:
    int64_t index = -1;
    std::optional<std::string> name;
};

/// One loaded model. You can move it, but not copy it; only assign to or destroy a model that you have moved from. Use
/// it from one thread at a time; only `Interrupt` is thread-safe. A function that fails throws an `Error`.
class Model {
 public:
    /// Loads the model, and copies what it needs of the options. A missing file is `Reason::System` with the number 2.
    explicit Model(const Options& options) {
        orvane_options plain{};
        plain.struct_size = sizeof plain;
        plain.model_path = options.modelPath.c_str();
        plain.device = options.device.c_str();
        plain.cache_path = options.cachePath.c_str();
        plain.make_cache = options.makeCache ? 1 : 0;
        plain.host_program = options.hostProgram ? options.hostProgram->c_str() : nullptr;
        plain.key = options.key.empty() ? nullptr : options.key.data();
        plain.key_size = detail::Size(options.key);
        plain.time_limit_ms = detail::Milliseconds(options.timeLimit);
        plain.load_time_limit_ms = detail::Milliseconds(options.loadTimeLimit);
        if (options.progress) {
            progress = std::make_unique<LoadProgress>(LoadProgress{options.progress, nullptr});
            plain.progress = [](void* user, int32_t step) {
                return LoadProgress::Call(user, static_cast<LoadStep>(step));
            };
            plain.progress_user = progress.get();
        }
        orvane_model* opened = nullptr;
        Check(orvane_open(&plain, &opened));
        handle.reset(opened);
        Describe();
    }

    /// Loads the model again: after `HostEnded`, or before you set other shapes. Set shapes and inputs again.
    /// If it fails, a model with a host process has no host process, and a model in this process is as before.
    void Restart() {
        Check(orvane_restart(handle.get()));
        Describe();
    }

    const std::vector<Tensor>& Inputs() const { return inputs; }    ///< All inputs; valid until `Restart` or `Resize`.
    const std::vector<Tensor>& Outputs() const { return outputs; }  ///< All outputs; valid until `Restart` or `Resize`.
    const Tensor& Input(const Which& which) const { return Find(inputs, "input", which); }     ///< One input.
    const Tensor& Output(const Which& which) const { return Find(outputs, "output", which); }  ///< One output.

    /// Sets the shape of a dynamic input. Refused with a host process, and after the first `Set` or `InputMemory`.
    void Resize(const Which& which, const std::vector<int64_t>& shape) {
        const uint32_t index = Input(which).index;
        Check(orvane_resize(handle.get(), index, shape.data(), detail::Size(shape)));
        Describe();
    }

    /// Copies the elements of a vector, an array or a span into an input. Their number and type must be the input's.
    /// An input that you never set is all zeros.
    template <typename Elements>
    void Set(const Which& which, const Elements& elements) {
        const Tensor& input = Input(which);
        CheckType<ElementOf<Elements>>(input);
        Check(orvane_set_input(handle.get(), input.index, std::data(elements), BytesOf(elements)));
    }

    /// Runs the model once on the latest data of each input. Refused until at least one input was set.
    void Run() { Check(orvane_run(handle.get())); }

    /// Returns the elements of an output of the last run. If the output has dynamic dimensions, use the other `Get`.
    template <typename T>
    std::vector<T> Get(const Which& which) const {
        const Tensor& output = Output(which);
        CheckType<T>(output);
        if (output.byteSize == 0 && output.IsDynamic()) {
            throw Error(Reason::Refused, output.problem);
        }
        std::vector<T> elements(output.byteSize / sizeof(T));
        Get(which, elements);
        return elements;
    }

    /// Copies the elements of an output of the last run into a vector, an array or a span, whose size must be the
    /// output's. If the output has dynamic dimensions, the run determines the size, and you must know it.
    template <typename Elements>
    void Get(const Which& which, Elements&& elements) const {
        const Tensor& output = Output(which);
        CheckType<ElementOf<Elements>>(output);
        Check(orvane_get_output(handle.get(), output.index, std::data(elements), BytesOf(elements)));
    }

#ifdef __cpp_lib_span
    /// Needs C++20. Returns an output of the last run without a copy. Valid until the next call for the model.
    template <typename T>
    std::span<const T> View(const Which& which) const {
        const Tensor& output = Output(which);
        CheckType<T>(output);
        const void* data = nullptr;
        uint64_t bytes = 0;
        Check(orvane_view_output(handle.get(), output.index, &data, &bytes));
        return {static_cast<const T*>(data), static_cast<size_t>(bytes / sizeof(T))};
    }

    /// Needs C++20. Returns memory for a whole input. Write all of it and pass it to `Set`, which then copies nothing.
    /// Valid until the next call for the model, except `Set` with this memory. After `Set` its content is undefined.
    template <typename T>
    std::span<T> InputMemory(const Which& which) {
        const Tensor& input = Input(which);
        CheckType<T>(input);
        void* data = nullptr;
        uint64_t bytes = 0;
        Check(orvane_input_memory(handle.get(), input.index, &data, &bytes));
        return {static_cast<T*>(data), static_cast<size_t>(bytes / sizeof(T))};
    }
#endif

    /// Ends the host process. Thread-safe. A call that waits for the host process throws `HostEnded` within 200 ms; if
    /// no call waits, the next one throws it. Does nothing for a model in this process.
    void Interrupt() noexcept {
        orvane_interrupt(handle.get());
    }

    /// Returns the model for functions of the C interface. This object still owns it.
    orvane_model* Handle() const {
        return handle.get();
    }

 private:
    using LoadProgress = detail::Progress<LoadStep>;

    void Check(orvane_error* error) const {
        if (progress) {
            progress->Check(error);
        } else {
            detail::Check(error);
        }
    }

    struct Close {
        void operator()(orvane_model* model) const { orvane_close(model); }
    };

    template <typename Elements>
    using ElementOf = std::remove_cv_t<std::remove_pointer_t<decltype(std::data(std::declval<Elements&>()))>>;

    template <typename Elements>
    static uint64_t BytesOf(const Elements& elements) {
        return uint64_t{std::size(elements)} * sizeof(ElementOf<const Elements>);
    }

    template <typename T>
    static void CheckType(const Tensor& tensor) {
        if (tensor.type != ElementType::Unknown && !Matches<T>(tensor.type)) {
            throw Error(Reason::BadArgument, tensor.Label() + " has elements of type " + NameOf(tensor.type) +
                                                 ": pass a container of that type");
        }
    }

    static const Tensor& Find(const std::vector<Tensor>& tensors, const std::string& side, const Which& which) {
        const auto found =
            std::find_if(tensors.begin(), tensors.end(), [&](const Tensor& tensor) { return which.Is(tensor); });
        if (found == tensors.end()) {
            throw Error(Reason::BadArgument, "there is no " + side + " " + which.Text() + ": the model's " + side +
                                                 "s are " + Names(tensors));
        }
        return *found;
    }

    static std::string Names(const std::vector<Tensor>& tensors) {
        constexpr size_t kMost = 10;
        std::string names;
        for (size_t i = 0; i < tensors.size() && i < kMost; ++i) {
            names += (i > 0 ? ", " : "") + std::to_string(i) + " \"" + tensors[i].name + "\"";
        }
        return tensors.empty() ? "none" : tensors.size() > kMost ? names + ", ..." : names;
    }

    std::vector<Tensor> DescribeAll(Side side) const {
        std::vector<Tensor> tensors;
        const uint32_t count = orvane_tensor_count(handle.get(), static_cast<int32_t>(side));
        for (uint32_t index = 0; index < count; ++index) {
            orvane_tensor plain{};
            plain.struct_size = sizeof plain;
            Check(orvane_describe(handle.get(), static_cast<int32_t>(side), index, &plain));
            tensors.push_back(detail::TensorOf(side, index, plain));
        }
        return tensors;
    }

    void Describe() {
        inputs = DescribeAll(Side::Input);
        outputs = DescribeAll(Side::Output);
    }

    std::unique_ptr<LoadProgress> progress;  // must outlive the handle, whose calls use it
    std::unique_ptr<orvane_model, Close> handle;
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
};

/// Runs on your thread before each piece of a file. If it returns false or throws, the call stops and writes nothing.
using FileProgress = std::function<bool(uint64_t doneBytes, uint64_t totalBytes)>;

namespace detail {

// Calls `transform` with a progress function for the C interface and that function's argument.
template <typename Transform>
void WithFileProgress(const FileProgress& progress, Transform transform) {
    Progress<uint64_t, uint64_t> state{progress, nullptr};
    state.Check(transform(progress ? Progress<uint64_t, uint64_t>::Call : nullptr, &state));
}

}  // namespace detail

/// Encrypts a model file with a key of 1 to 4 bytes. `out` may be `in`. See `orvane_encrypt_file` for formats and
/// `pad`. If `progress` returns false, the call throws an `Error` with `Reason::Cancelled` and writes nothing.
inline void EncryptFile(const std::string& in, const std::string& out, const std::vector<uint8_t>& key,
                        bool pad = false, const FileProgress& progress = {}) {
    detail::WithFileProgress(progress, [&](auto function, void* user) {
        return orvane_encrypt_file(in.c_str(), out.c_str(), key.data(), detail::Size(key), pad ? 1 : 0, function, user);
    });
}

/// Decrypts a file that `EncryptFile` wrote. Cannot detect a wrong key: the new file is then useless.
inline void DecryptFile(const std::string& in, const std::string& out, const std::vector<uint8_t>& key,
                        const FileProgress& progress = {}) {
    detail::WithFileProgress(progress, [&](auto function, void* user) {
        return orvane_decrypt_file(in.c_str(), out.c_str(), key.data(), detail::Size(key), function, user);
    });
}

}  // namespace orvane
