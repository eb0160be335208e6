#pragma once

/// \file
/// The SDK for C++17 and later, over the C interface, whose rules hold here too (orvane_c.h). Nothing but this header
/// is compiled: it goes with every compiler and with either of the libraries `orvane_c` and `orvane_client_c`.
///
///     orvane::Options options;
///     options.modelPath = "model.onnx";
///     orvane::Model model(options);
///     model.Set(0, std::vector<float>{1, 2, 3});
///     model.Run();
///     const std::vector<float> result = model.Get<float>("y");
///
/// Every failure is an `orvane::Error`.

#include <orvane/orvane_c.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
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

/// Why something failed; see the enumerators of the same names in orvane_c.h.
enum class Reason : int32_t {
    Refused = ORVANE_REFUSED,
    BadArgument = ORVANE_BAD_ARGUMENT,
    NoMemory = ORVANE_NO_MEMORY,
    HostEnded = ORVANE_HOST_ENDED,
    System = ORVANE_SYSTEM,
    Runtime = ORVANE_RUNTIME,
    Cancelled = ORVANE_CANCELLED,
};

/// "refused" and the like.
inline const char* NameOf(Reason reason) {
    return orvane_reason_name(static_cast<int32_t>(reason));
}

/// How a host process ended; see the enumerators of the same names in orvane_c.h.
enum class HostEnd : int32_t {
    Exit = ORVANE_HOST_END_EXIT,
    Signal = ORVANE_HOST_END_SIGNAL,
    Interrupted = ORVANE_HOST_END_INTERRUPTED,
    TimeLimit = ORVANE_HOST_END_TIME_LIMIT,
    BadReply = ORVANE_HOST_END_BAD_REPLY,
    Unknown = ORVANE_HOST_END_UNKNOWN,
};

/// A failure. `what()` is UTF-8 and says what was wrong and what to do.
class Error : public std::runtime_error {
 public:
    Error(Reason why, const std::string& text, int32_t systemError = 0)
        : std::runtime_error(text), reason(why), system(systemError) {}

    Reason GetReason() const { return reason; }

    /// The system's error number; 0 where there is none.
    int32_t GetSystemError() const { return system; }

 private:
    Reason reason;
    int32_t system;
};

/// The host process has ended; `Model::Restart` starts a new one.
class HostEnded : public Error {
 public:
    explicit HostEnded(const std::string& text, HostEnd how = HostEnd::Unknown)
        : Error(Reason::HostEnded, text), cause(how) {}

    HostEnd GetCause() const { return cause; }

 private:
    HostEnd cause;
};

namespace detail {

inline void Check(orvane_error* error) {
    if (error == nullptr) {
        return;
    }
    const std::unique_ptr<orvane_error, void (*)(orvane_error*)> owned(error, orvane_error_free);
    const auto reason = static_cast<Reason>(orvane_error_reason(error));
    if (reason == Reason::HostEnded) {
        throw HostEnded(orvane_error_message(error), static_cast<HostEnd>(orvane_error_host_end(error)));
    }
    throw Error(reason, orvane_error_message(error), orvane_error_system(error));
}

// Of more than any that the C interface takes, still more.
template <typename Element>
uint32_t Size(const std::vector<Element>& elements) {
    return static_cast<uint32_t>(std::min<uint64_t>(elements.size(), std::numeric_limits<uint32_t>::max()));
}

}  // namespace detail

/// Which model to run, and how. What is empty is not wanted. Texts are UTF-8.
struct Options {
    std::string modelPath;   ///< not needed when the cache file exists
    std::string device;      ///< a device of OpenVINO; the CPU unless given
    std::string cachePath;   ///< when the file exists the model files are not read
    bool makeCache = false;  ///< write the cache file unless it exists; that it cannot be written is no failure

    /// The host program that runs the model in a process of its own; an empty text is the one beside the library.
    /// Without a value the model runs in this process.
    std::optional<std::string> hostProgram;

    std::vector<uint8_t> key;  ///< 1 to 4 bytes: the model files are encrypted with this key

    /// How long a call may wait for the host process, loading included; 0 is no limit. A longer one ends the host.
    std::chrono::milliseconds timeLimit{0};
};

enum class Side : int32_t { Input = ORVANE_INPUT, Output = ORVANE_OUTPUT };

enum class ElementType : uint32_t {
    Unknown = ORVANE_UNKNOWN,
    Float32 = ORVANE_FLOAT32,
    Float16 = ORVANE_FLOAT16,  ///< 16 bits in a `uint16_t`
    Int32 = ORVANE_INT32,
    UInt8 = ORVANE_UINT8,
    Int64 = ORVANE_INT64,
    Bool = ORVANE_BOOL,  ///< `bool`, or a `uint8_t` of 0 or 1
    Int16 = ORVANE_INT16,
    Int8 = ORVANE_INT8,
    Float64 = ORVANE_FLOAT64,
};

/// "float32" and the like.
inline const char* NameOf(ElementType type) {
    return orvane_element_type_name(static_cast<int32_t>(type));
}

/// An input or output of a model.
struct Tensor {
    Side side = Side::Input;
    uint32_t index = 0;
    std::string name;
    ElementType type = ElementType::Unknown;
    std::vector<int64_t> shape;  ///< outermost dimension first; a dynamic one is -1
    uint64_t byteSize = 0;       ///< 0 if the data cannot be copied
    std::string problem;         ///< empty, or why the data cannot be copied and what to do

    bool IsDynamic() const { return std::find(shape.begin(), shape.end(), -1) != shape.end(); }

    /// `input 0 "x"`, for a message.
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

/// Whether elements of type T are what a tensor of this type has. `std::byte` goes with every type.
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

/// A tensor of one side: by its index or by its name, which turn into this by themselves.
class Which {
 public:
    // NOLINTBEGIN(modernize-use-constraints): C++17 has none
    template <typename Index, typename = std::enable_if_t<std::is_integral_v<Index>>>
    Which(Index wanted)
        // NOLINTEND(modernize-use-constraints)
        : index(wanted >= 0 && static_cast<uint64_t>(wanted) < kNone ? static_cast<uint32_t>(wanted) : kNone) {}
    Which(const char* wanted) : name(wanted) {}
    Which(std::string wanted) : name(std::move(wanted)) {}

    bool Is(const Tensor& tensor) const { return name ? tensor.name == *name : tensor.index == index; }
    std::string Text() const { return name ? "\"" + *name + "\"" : std::to_string(index); }

 private:
    static constexpr uint32_t kNone = std::numeric_limits<uint32_t>::max();

    uint32_t index = kNone;
    std::optional<std::string> name;
};

/// One loaded model. One thread at a time, but for `Interrupt`. One that was moved from can only be assigned to or
/// destroyed.
class Model {
 public:
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
        const auto limit = std::clamp<std::chrono::milliseconds::rep>(options.timeLimit.count(), 0,
                                                                      std::numeric_limits<uint32_t>::max());
        plain.time_limit_ms = static_cast<uint32_t>(limit);
        orvane_model* opened = nullptr;
        detail::Check(orvane_open(&plain, &opened));
        handle.reset(opened);
        Describe();
    }

    /// Loads the model again, in a new host process where it has one: after `HostEnded`, or for inputs of other shapes.
    /// Inputs and shapes are to be set again.
    void Restart() {
        detail::Check(orvane_restart(handle.get()));
        Describe();
    }

    /// They change with `Restart` and `Resize`.
    const std::vector<Tensor>& Inputs() const { return inputs; }
    const std::vector<Tensor>& Outputs() const { return outputs; }
    const Tensor& Input(const Which& which) const { return Find(inputs, "input", which); }
    const Tensor& Output(const Which& which) const { return Find(outputs, "output", which); }

    /// Gives an input with dynamic dimensions its shape, before the first data.
    void Resize(const Which& which, const std::vector<int64_t>& shape) {
        const uint32_t index = Input(which).index;
        detail::Check(orvane_resize(handle.get(), index, shape.data(), detail::Size(shape)));
        Describe();
    }

    /// Copies the elements of a vector, an array or a span into an input: all of them, of the input's own type.
    template <typename Elements>
    void Set(const Which& which, const Elements& elements) {
        const Tensor& input = Input(which);
        CheckType<ElementOf<Elements>>(input);
        detail::Check(orvane_set_input(handle.get(), input.index, std::data(elements), BytesOf(elements)));
    }

    void Run() { detail::Check(orvane_run(handle.get())); }

    /// The elements of an output. One with dynamic dimensions is copied into what has the size that the run gave it.
    template <typename T>
    std::vector<T> Get(const Which& which) const {
        const Tensor& output = Output(which);
        CheckType<T>(output);
        if (output.byteSize == 0 && output.IsDynamic()) {
            throw Error(Reason::Refused, output.Label() +
                                             " has a dynamic dimension: copy it into a container of the size "
                                             "that the run gave it");
        }
        std::vector<T> elements(output.byteSize / sizeof(T));
        Get(which, elements);
        return elements;
    }

    /// Fills a vector, an array or a span with the elements of an output: it has as many as the output.
    template <typename Elements>
    void Get(const Which& which, Elements&& elements) const {
        const Tensor& output = Output(which);
        CheckType<ElementOf<Elements>>(output);
        detail::Check(orvane_get_output(handle.get(), output.index, std::data(elements), BytesOf(elements)));
    }

#ifdef __cpp_lib_span
    /// An output where it is, without copying it. Until the next call for the model.
    template <typename T>
    std::span<const T> View(const Which& which) const {
        const Tensor& output = Output(which);
        CheckType<T>(output);
        const void* data = nullptr;
        uint64_t bytes = 0;
        detail::Check(orvane_view_output(handle.get(), output.index, &data, &bytes));
        return {static_cast<const T*>(data), static_cast<size_t>(bytes / sizeof(T))};
    }
#endif

    /// Ends the host process, from any thread: the call that waits for it throws `HostEnded` within 200 ms. Does
    /// nothing for a model in this process.
    void Interrupt() noexcept {
        orvane_interrupt(handle.get());
    }

    /// For the C functions; it stays this object's.
    orvane_model* Handle() const {
        return handle.get();
    }

 private:
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
                                                 ": give a container of that type");
        }
    }

    static const Tensor& Find(const std::vector<Tensor>& tensors, const std::string& side, const Which& which) {
        const auto found =
            std::find_if(tensors.begin(), tensors.end(), [&](const Tensor& tensor) { return which.Is(tensor); });
        if (found == tensors.end()) {
            throw Error(Reason::BadArgument,
                        "the model has no " + side + " " + which.Text() + ": it has " + std::to_string(tensors.size()));
        }
        return *found;
    }

    std::vector<Tensor> DescribeAll(Side side) const {
        std::vector<Tensor> tensors;
        const uint32_t count = orvane_tensor_count(handle.get(), static_cast<int32_t>(side));
        for (uint32_t index = 0; index < count; ++index) {
            orvane_tensor plain{};
            plain.struct_size = sizeof plain;
            detail::Check(orvane_describe(handle.get(), static_cast<int32_t>(side), index, &plain));
            tensors.push_back(detail::TensorOf(side, index, plain));
        }
        return tensors;
    }

    void Describe() {
        inputs = DescribeAll(Side::Input);
        outputs = DescribeAll(Side::Output);
    }

    std::unique_ptr<orvane_model, Close> handle;
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
};

/// Encrypts a model file with a key of 1 to 4 bytes; `out` may be `in`. See `orvane_encrypt_file` for `pad`.
inline void EncryptFile(const std::string& in, const std::string& out, const std::vector<uint8_t>& key,
                        bool pad = false) {
    detail::Check(
        orvane_encrypt_file(in.c_str(), out.c_str(), key.data(), detail::Size(key), pad ? 1 : 0, nullptr, nullptr));
}

/// The other direction.
inline void DecryptFile(const std::string& in, const std::string& out, const std::vector<uint8_t>& key) {
    detail::Check(orvane_decrypt_file(in.c_str(), out.c_str(), key.data(), detail::Size(key), nullptr, nullptr));
}

}  // namespace orvane
