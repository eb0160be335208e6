#ifndef ORVANE_ORVANE_C_H
#define ORVANE_ORVANE_C_H

/// \file
/// The SDK behind plain C functions, for every compiler and every language that can call C: the libraries `orvane_c`
/// (models run in this process or in a host process) and `orvane_client_c` (in a host process only, needs no OpenVINO).
///
/// Errors. A function that can fail returns null for success, and otherwise an error with a reason, a text that says
/// what was wrong and what to do, and the system's error number where there is one. The caller frees it with
/// `orvane_error_free`. Whatever is passed, a function neither ends the process nor reads past what the caller gave it;
/// after an error the model is as it was before, but for `ORVANE_HOST_ENDED`, which stays until `orvane_restart`.
/// A null model or a null structure is `ORVANE_BAD_ARGUMENT`.
///
/// Ownership. What `orvane_open` gives is the caller's, who closes it. Data and texts that are passed in are copied
/// before the call returns. Pointers that come out belong to the model or to the error and say below how long they
/// live; nobody frees them.
///
/// Threads. A model is used from one thread at a time; only `orvane_interrupt` may be called from any thread while it
/// is open. Different models are independent. The functions without a model may be called from any thread.
///
/// Texts are zero-terminated UTF-8, paths too, on Windows as well, and at most 32,767 bytes long.
///
/// Growth. Functions are added, never changed. Structures grow at their end: zero one as a whole, and set `struct_size`
/// to its size. A library takes structures of an older header; it takes those of a newer one as long as what it does
/// not know in them is zero. `orvane_abi() >= ORVANE_ABI` says that the library knows all that this header has.

// NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using, readability-identifier-naming): for C, by its habits
#include <stdint.h>

#if defined(ORVANE_C_BUILD) && defined(_WIN32)
#define ORVANE_C_API __declspec(dllexport)
#elif defined(_WIN32)
#define ORVANE_C_API __declspec(dllimport)
#elif defined(ORVANE_C_BUILD)
#define ORVANE_C_API __attribute__((visibility("default")))
#else
#define ORVANE_C_API
#endif

/// Number of the interface that this header describes; it grows with every addition.
#define ORVANE_ABI 3

#ifdef __cplusplus
extern "C" {
#endif

/// One loaded model.
typedef struct orvane_model orvane_model;

/// Why a function failed; null is success.
typedef struct orvane_error orvane_error;

/// Reasons of errors.
enum orvane_reason {
    ORVANE_REFUSED = 1,   ///< it cannot be done with this model, these files or these options; the text says why
    ORVANE_BAD_ARGUMENT,  ///< what was passed is wrong whatever the model: a mistake in the calling program
    ORVANE_NO_MEMORY,     ///< there is not enough memory
    ORVANE_HOST_ENDED,    ///< the host process has ended; `orvane_restart` starts a new one
    ORVANE_SYSTEM,        ///< the system cannot do it; `orvane_error_system` has its error number
    ORVANE_RUNTIME,       ///< the inference runtime failed; the text is its own
    ORVANE_CANCELLED      ///< a progress callback gave the call up
};

/// How a host process ended.
enum orvane_host_end {
    ORVANE_HOST_END_EXIT = 1,     ///< it exited, or on Windows crashed
    ORVANE_HOST_END_SIGNAL,       ///< a signal ended it
    ORVANE_HOST_END_INTERRUPTED,  ///< `orvane_interrupt` or a progress callback ended it
    ORVANE_HOST_END_TIME_LIMIT,   ///< a call reached its time limit, and the library ended it
    ORVANE_HOST_END_BAD_REPLY,    ///< it sent what cannot be a reply, and the library ended it
    ORVANE_HOST_END_UNKNOWN       ///< the system does not say how it ended
};

/// Sides of a model.
enum orvane_side { ORVANE_INPUT = 0, ORVANE_OUTPUT = 1 };

/// Types of a tensor's elements.
enum orvane_element_type {
    ORVANE_UNKNOWN = 0,  ///< one that is not in this list; such a tensor cannot be copied
    ORVANE_FLOAT32 = 1,
    ORVANE_FLOAT16 = 2,
    ORVANE_INT32 = 3,
    ORVANE_UINT8 = 4,
    ORVANE_INT64 = 5,
    ORVANE_BOOL = 6,  ///< one byte each, 0 or 1
    ORVANE_INT16 = 7,
    ORVANE_INT8 = 8,
    ORVANE_FLOAT64 = 9
};

/// Which model to run, and how. Null and 0 stand for what is not wanted.
typedef struct orvane_options {
    uint64_t struct_size;
    const char* model_path;  ///< the model file; not needed when the cache file exists
    const char* device;      ///< a device of OpenVINO; the CPU unless given
    const char* cache_path;  ///< compiled-model cache: when the file exists the model files are not read

    /// The host program that runs the model in a process of its own; "" is `orvane_host` in the folder of this library,
    /// or in `../bin` from there. Null: the model runs in this process.
    const char* host_program;

    const uint8_t* key;  ///< the model files are encrypted with this key
    uint32_t key_size;   ///< 1 to 4 bytes; 0 without a key

    /// Other than 0: write the cache file unless it exists. It appears whole or not at all. One that cannot be written
    /// is no error, because the model runs without it; the log says so.
    uint32_t make_cache;

    /// How many milliseconds one call may wait for its host processes. When the time is over, the library ends the
    /// host, and the call fails with `ORVANE_HOST_ENDED`. 0: no limit. A limit needs a host program.
    uint32_t time_limit_ms;

    /// The same for `orvane_open` and `orvane_restart`, which take much longer. 0: as `time_limit_ms`.
    uint32_t load_time_limit_ms;

    /// Null, or a function that a call runs on its own thread: at each step of a load, and about five times a second
    /// while the call waits for a host process. `step` is an `ORVANE_LOAD_` value, `ORVANE_LOAD_NONE` when the call
    /// is not a load. If it returns anything but 0, the call ends the host process and fails with `ORVANE_CANCELLED`;
    /// a load in this process stops at its next step.
    /// It may call `orvane_interrupt`, and any function for other models, but no other function for this model.
    int32_t (*progress)(void* user, int32_t step);
    void* progress_user;  ///< passed to `progress`
} orvane_options;

/// Describes a tensor.
typedef struct orvane_tensor {
    uint64_t struct_size;

    /// The tensor's name and its dimensions, outermost first. A dynamic dimension is -1. Both live until the next
    /// `orvane_resize` or `orvane_restart` of the model, or until it is closed.
    const char* name;
    const int64_t* dimensions;
    uint32_t rank;          ///< how many dimensions; 0 is a single element
    uint32_t element_type;  ///< `ORVANE_FLOAT32` and so on

    /// Bytes of all elements. 0 for what cannot be copied: a dynamic dimension, an element type that is unknown, more
    /// than 22,020,096 bytes through a host process or 4,294,967,295 in this one, an input without dimensions.
    uint64_t byte_size;

    /// Null, or why the tensor's data cannot be copied and what to do: one line, which follows a name such as
    /// `input 0 "x"`. Lives as long as `name`.
    const char* problem;
} orvane_tensor;

/// Data for an input.
typedef struct orvane_input {
    uint64_t struct_size;
    uint32_t index;
    const void* data;
    uint64_t bytes;
} orvane_input;

/// Where an output goes.
typedef struct orvane_output {
    uint64_t struct_size;
    uint32_t index;
    void* data;
    uint64_t bytes;
} orvane_output;

/// A shape for an input of a model file.
typedef struct orvane_shape {
    uint64_t struct_size;
    const int64_t* dimensions;  ///< outermost first, each at least 1
    uint32_t rank;              ///< how many, 1 to 64
    uint32_t input;             ///< index of the input
} orvane_shape;

/// Steps of a load.
enum orvane_load_step {
    ORVANE_LOAD_NONE = 0,       ///< nothing is being loaded
    ORVANE_LOAD_READING,        ///< the model file is being read
    ORVANE_LOAD_COMPILING,      ///< it is being compiled for its device
    ORVANE_LOAD_IMPORTING,      ///< the cache file is being read
    ORVANE_LOAD_WRITING,        ///< a cache file or a model file is being written
    ORVANE_LOAD_STARTING_HOST,  ///< the host process is being started
    ORVANE_LOAD_IN_HOST         ///< the host process is loading the model
};

/// The library's own `ORVANE_ABI`, and its version as "major.minor.patch" in static storage.
ORVANE_C_API uint32_t orvane_abi(void);
ORVANE_C_API const char* orvane_version(void);

/// Names for messages, in static storage: "refused", "bad argument", "no memory", "host ended", "system", "runtime",
/// "cancelled"; and "float32", "float16", "int32", "uint8", "int64", "bool", "int16", "int8", "float64". For any other
/// value "unknown".
ORVANE_C_API const char* orvane_reason_name(int32_t reason);
ORVANE_C_API const char* orvane_element_type_name(int32_t element_type);

/// Loads a model. `*model` is null after a failure.
ORVANE_C_API orvane_error* orvane_open(const orvane_options* options, orvane_model** model);

/// Frees a model and ends its host process. Null is allowed.
ORVANE_C_API void orvane_close(orvane_model* model);

/// Loads the model again with the same options, in a new host process where it has one: after `ORVANE_HOST_ENDED`, or
/// to give its inputs other shapes. Inputs and shapes are to be set again. When it fails, a model with a host process
/// stays ended, and one in this process is as before.
ORVANE_C_API orvane_error* orvane_restart(orvane_model* model);

/// Number of tensors on a side; 0 for a side that there is not. As when the model was loaded, whatever became of its
/// host process.
ORVANE_C_API uint32_t orvane_tensor_count(const orvane_model* model, int32_t side);

/// Fills `*tensor`, whose `struct_size` the caller has set. Asks no host process.
ORVANE_C_API orvane_error* orvane_describe(const orvane_model* model, int32_t side, uint32_t index,
                                           orvane_tensor* tensor);

/// Gives an input with dynamic dimensions its shape: as many dimensions as the model has, at least 1 where the model's
/// own is dynamic and the model's own elsewhere. Only before the first data after loading, and only in this process.
ORVANE_C_API orvane_error* orvane_resize(orvane_model* model, uint32_t input, const int64_t* dimensions, uint32_t rank);

/// Copies the data of a whole input: `bytes` is its `byte_size`. An input that was not set yet is all zeros.
ORVANE_C_API orvane_error* orvane_set_input(orvane_model* model, uint32_t index, const void* data, uint64_t bytes);

/// Memory for the data of a whole input: write all of it, and pass its address to `orvane_set_input` or `orvane_infer`,
/// which then copy nothing. In this process it is the buffer that the runtime reads; with a host process it is the
/// place from which the data is sent. It is aligned to 8 bytes.
///
/// The memory is valid until the next call for the model, but `orvane_describe`, `orvane_tensor_count`, and
/// `orvane_set_input` or `orvane_infer` with that very address. So one input has memory at a time. What is in it is
/// undefined when you get it and after each of these calls. Memory that is not valid is refused as data.
///
/// It is never freed between two calls: also after the host process has ended it stays until you ask for the memory of
/// that input again or close the model. A forked child must not write into that of a host process.
/// Refused where `orvane_set_input` would be. In this process it makes the buffers of all inputs, like the first data.
ORVANE_C_API orvane_error* orvane_input_memory(orvane_model* model, uint32_t index, void** data, uint64_t* bytes);

/// Runs the model once on the data that was set last. At least one input must have been set.
ORVANE_C_API orvane_error* orvane_run(orvane_model* model);

/// Copies a whole output of the last run: `bytes` is its `byte_size`. Of an output with dynamic dimensions, in this
/// process only, `bytes` is what the run made of it, which the caller knows from the model; other sizes are refused.
ORVANE_C_API orvane_error* orvane_get_output(orvane_model* model, uint32_t index, void* data, uint64_t bytes);

/// Where the bytes of an output are, without copying them; only for an output with a `byte_size`. They live until the
/// next call for the model, and are not to be written.
ORVANE_C_API orvane_error* orvane_view_output(orvane_model* model, uint32_t index, const void** data, uint64_t* bytes);

/// Sets inputs, runs, and copies outputs, in one call: as `orvane_set_input`, `orvane_run` and `orvane_get_output` one
/// after another, but all arguments are looked at first. The structures lie one behind the other, each with the
/// `struct_size` of the first.
ORVANE_C_API orvane_error* orvane_infer(orvane_model* model, const orvane_input* inputs, uint32_t input_count,
                                        const orvane_output* outputs, uint32_t output_count);

/// Ends the model's host process, from any thread. A call that waits for the host fails within 200 ms, and the next one
/// does, with `ORVANE_HOST_ENDED`. Does nothing for a model in this process, which cannot be ended, and for null.
ORVANE_C_API void orvane_interrupt(orvane_model* model);

/// Encrypts a model file with a key of 1 to 4 bytes, as `orvane_options.key` expects it. `out` may be `in`; it appears
/// whole or not at all. A file whose last 4 MiB piece has 1 to 15 bytes would not come back whole and is refused,
/// unless `pad` is not 0: it is then filled up with blanks or zeros, which a reader of models skips.
/// Unless null, `progress` is called on this thread before each piece; if it returns anything but 0, nothing is written
/// and the call fails with `ORVANE_CANCELLED`.
ORVANE_C_API orvane_error* orvane_encrypt_file(
    const char* in, const char* out, const uint8_t* key, uint32_t key_size, uint32_t pad,
    int32_t (*progress)(void* user, uint64_t done_bytes, uint64_t total_bytes), void* user);

/// The other direction.
ORVANE_C_API orvane_error* orvane_decrypt_file(const char* in, const char* out, const uint8_t* key, uint32_t key_size,
                                               int32_t (*progress)(void* user, uint64_t done_bytes,
                                                                   uint64_t total_bytes),
                                               void* user);

/// Calls `device` for each device that models can run on here, `full_name` being that of the processor or card, perhaps
/// empty. The texts live during the call. Refused by `orvane_client_c`, as the two below.
ORVANE_C_API orvane_error* orvane_list_devices(void (*device)(void* user, const char* name, const char* full_name),
                                               void* user);

/// Reads a model file without compiling it, and calls `tensor` for each of its inputs and then of its outputs, in the
/// model's order. What `tensor` gets lives during the call; its `byte_size` is that in this process.
ORVANE_C_API orvane_error* orvane_describe_file(const char* model_path,
                                                void (*tensor)(void* user, int32_t side, const orvane_tensor* tensor),
                                                void* user);

/// Reads a model file, gives inputs the shapes, and writes the model to `out`, whose name ends in ".xml", with a .bin
/// beside it: both whole or none. The weights keep their precision. Null as `out` only tries. An input that has dynamic
/// dimensions needs a shape; what else the model does not take is an error of the runtime. The structures lie one
/// behind the other, each with the `struct_size` of the first. Not with MinGW, whose way to OpenVINO cannot write a
/// model.
ORVANE_C_API orvane_error* orvane_reshape_file(const char* model_path, const orvane_shape* shapes, uint32_t shape_count,
                                               const char* out);

/// Of an error: the reason, the system's error number or 0, and the text, which lives as long as the error. Of null: 0,
/// 0 and "".
ORVANE_C_API int32_t orvane_error_reason(const orvane_error* error);
ORVANE_C_API int32_t orvane_error_system(const orvane_error* error);
ORVANE_C_API const char* orvane_error_message(const orvane_error* error);

/// How the host process ended that an error is about: an `ORVANE_HOST_END_` value. 0 unless the reason is
/// `ORVANE_HOST_ENDED`.
ORVANE_C_API int32_t orvane_error_host_end(const orvane_error* error);

/// Null is allowed.
ORVANE_C_API void orvane_error_free(orvane_error* error);

/// Where log lines of all models go; a null `line` drops them, which is how a process starts. Called on the thread that
/// logs, perhaps by several at once, and `text` lives only during the call. The SDK's own level is 6. A line that is
/// being logged meanwhile may still reach the earlier sink.
ORVANE_C_API void orvane_set_log(void (*line)(void* user, uint32_t level, const char* text), void* user);

#ifdef __cplusplus
}
#endif

// NOLINTEND(modernize-deprecated-headers, modernize-use-using, readability-identifier-naming)

#endif
