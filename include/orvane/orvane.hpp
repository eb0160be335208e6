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
#include <orvane/error.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
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

/// Steps of a load.
enum class LoadStep : int32_t {
    None = ORVANE_LOAD_NONE,  ///< the call is not a load
    Reading = ORVANE_LOAD_READING,
    Compiling = ORVANE_LOAD_COMPILING,
    Importing = ORVANE_LOAD_IMPORTING,  ///< reads the cache file
    Writing = ORVANE_LOAD_WRITING,
    StartingHost = ORVANE_LOAD_STARTING_HOST,
    InHost = ORVANE_LOAD_IN_HOST,
};

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

    /// How long one call may wait for its host processes; 0 is no limit. When the time is over, the host is ended and
    /// the call throws `HostEnded`. A negative limit is refused.
    std::chrono::milliseconds timeLimit{0};

    /// The same for loading and restarting; 0: as `timeLimit`.
    std::chrono::milliseconds loadTimeLimit{0};

    /// Called on the thread of a call: at each step of a load, and about five times a second while the call waits for a
    /// host process. If it returns false, the host process is ended and the call throws an `Error` with
    /// `Reason::Cancelled`; a load in this process stops at its next step. An exception does the same and leaves the
    /// call. It may call `Interrupt`, and anything for other models, but nothing else for this model.
    std::function<bool(LoadStep step)> progress;
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

    /// Loads the model again, in a new host process where it has one: after `HostEnded`, or for inputs of other shapes.
    /// Inputs and shapes are to be set again.
    void Restart() {
        Check(orvane_restart(handle.get()));
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
        Check(orvane_resize(handle.get(), index, shape.data(), detail::Size(shape)));
        Describe();
    }

    /// Copies the elements of a vector, an array or a span into an input: all of them, of the input's own type.
    template <typename Elements>
    void Set(const Which& which, const Elements& elements) {
        const Tensor& input = Input(which);
        CheckType<ElementOf<Elements>>(input);
        Check(orvane_set_input(handle.get(), input.index, std::data(elements), BytesOf(elements)));
    }

    void Run() { Check(orvane_run(handle.get())); }

    /// The elements of an output. One with dynamic dimensions is copied into what has the size that the run gave it.
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

    /// Fills a vector, an array or a span with the elements of an output: it has as many as the output.
    template <typename Elements>
    void Get(const Which& which, Elements&& elements) const {
        const Tensor& output = Output(which);
        CheckType<ElementOf<Elements>>(output);
        Check(orvane_get_output(handle.get(), output.index, std::data(elements), BytesOf(elements)));
    }

#ifdef __cpp_lib_span
    /// An output where it is, without copying it. Until the next call for the model.
    template <typename T>
    std::span<const T> View(const Which& which) const {
        const Tensor& output = Output(which);
        CheckType<T>(output);
        const void* data = nullptr;
        uint64_t bytes = 0;
        Check(orvane_view_output(handle.get(), output.index, &data, &bytes));
        return {static_cast<const T*>(data), static_cast<size_t>(bytes / sizeof(T))};
    }

    /// Memory for the data of a whole input: write all of it, and pass it to `Set`, which then copies nothing. Valid
    /// until the next call for the model but `Set` with it; what `Set` leaves in it is undefined.
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

    std::unique_ptr<LoadProgress> progress;  // outlives the model that calls it
    std::unique_ptr<orvane_model, Close> handle;
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
};

/// Called before each piece of a file: how much is done, and how much there is. False gives up, as does an exception.
using FileProgress = std::function<bool(uint64_t doneBytes, uint64_t totalBytes)>;

namespace detail {

// `transform` gets a function for the C interface and its argument.
template <typename Transform>
void WithFileProgress(const FileProgress& progress, Transform transform) {
    Progress<uint64_t, uint64_t> state{progress, nullptr};
    state.Check(transform(progress ? Progress<uint64_t, uint64_t>::Call : nullptr, &state));
}

}  // namespace detail

/// Encrypts a model file with a key of 1 to 4 bytes; `out` may be `in`. See `orvane_encrypt_file` for `pad`. Throws an
/// `Error` with `Reason::Cancelled`, and writes nothing, if `progress` returns false.
inline void EncryptFile(const std::string& in, const std::string& out, const std::vector<uint8_t>& key,
                        bool pad = false, const FileProgress& progress = {}) {
    detail::WithFileProgress(progress, [&](auto function, void* user) {
        return orvane_encrypt_file(in.c_str(), out.c_str(), key.data(), detail::Size(key), pad ? 1 : 0, function, user);
    });
}

/// The other direction.
inline void DecryptFile(const std::string& in, const std::string& out, const std::vector<uint8_t>& key,
                        const FileProgress& progress = {}) {
    detail::WithFileProgress(progress, [&](auto function, void* user) {
        return orvane_decrypt_file(in.c_str(), out.c_str(), key.data(), detail::Size(key), function, user);
    });
}

}  // namespace orvane
