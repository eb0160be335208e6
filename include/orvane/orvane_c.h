#ifndef ORVANE_ORVANE_C_H
#define ORVANE_ORVANE_C_H

/// \file
/// The SDK as C functions, for every compiler and every language that can call C. Two libraries export
/// these functions. `orvane_c` runs models in this process or in a host process. `orvane_client_c` needs no OpenVINO
/// and runs models in a host process only.
///
/// Errors. A function that can fail returns null for success, and otherwise an error. The caller frees the error with
/// `orvane_error_free`. An error has a reason, a text that says what was wrong and what to do, and the system's error
/// number if there is one. Wrong arguments never end the process: for instance, a null model or structure is an
/// `ORVANE_BAD_ARGUMENT`. No function reads or writes more memory than you pass. After an error the model is as it was
/// before the call, with three exceptions:
/// - After `ORVANE_HOST_ENDED`, or after `ORVANE_CANCELLED` with a host process, every call that needs the host process
///   fails with `ORVANE_HOST_ENDED` until `orvane_restart`. `orvane_describe` and `orvane_tensor_count` still work.
/// - If `orvane_infer` fails after it has checked its arguments, inputs may have the new data.
/// - If the runtime refuses the first data since a load, the library loads the model again. The inputs keep their
///   shapes. If this load fails, every call that needs the model fails until `orvane_restart`.
///
/// Ownership. The caller owns the model that `orvane_open` creates, and closes it. Each call copies the caller's data
/// and texts before it returns. Other pointers that a function returns belong to the model or to the error, and the
/// caller does not free them. The comment of each function says how long they are valid.
///
/// Threads. Use a model from one thread at a time. Only `orvane_interrupt` may be called from any thread while the
/// model is open. Different models are independent. Functions without a model are thread-safe. After a fork, the child
/// has no host process: its calls fail with `ORVANE_HOST_ENDED` until it calls `orvane_restart`.
///
/// Texts are zero-terminated UTF-8 of at most 32,767 bytes, on Windows too. This includes paths.
///
/// New versions of the interface add functions, and fields at the end of structures. After the first release they never
/// change a function. So set each structure to zero, then set its `struct_size` to its size. A library accepts
/// structures of an older header. It accepts structures of a newer header if the fields that it does not know are zero.
/// If `orvane_abi() >= ORVANE_ABI`, the library has everything that this header declares.

// NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using, readability-identifier-naming): C code
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

/// The number of the interface that this header describes. It grows with every change. Before the first release a
/// function may change too.
#define ORVANE_ABI 4

#ifdef __cplusplus
extern "C" {
#endif

/// One loaded model.
typedef struct orvane_model orvane_model;

/// Why a function failed. Functions return null for success.
typedef struct orvane_error orvane_error;

/// Reasons of errors. A failure inside a host process is an `ORVANE_REFUSED`, unless memory or threads ran out.
enum orvane_reason {
    ORVANE_REFUSED = 1,   ///< not possible with this model, these files or these options; the text says why
    ORVANE_BAD_ARGUMENT,  ///< an argument is wrong for every model: correct the calling program
    ORVANE_NO_MEMORY,     ///< there is not enough memory
    ORVANE_HOST_ENDED,    ///< the host process has ended; `orvane_restart` starts a new one
    ORVANE_SYSTEM,        ///< the system failed; `orvane_error_system` returns its error number, 2 for a missing file
    ORVANE_RUNTIME,       ///< the inference runtime failed, and the text is from the runtime
    ORVANE_CANCELLED      ///< a progress function cancelled the call
};

/// How a host process ended.
enum orvane_host_end {
    ORVANE_HOST_END_EXIT = 1,     ///< it exited, or on Windows it crashed
    ORVANE_HOST_END_SIGNAL,       ///< a signal ended it
    ORVANE_HOST_END_INTERRUPTED,  ///< `orvane_interrupt` or a progress function ended it
    ORVANE_HOST_END_TIME_LIMIT,   ///< the library ended it when a call reached its time limit
    ORVANE_HOST_END_BAD_REPLY,    ///< the library ended it because it sent an invalid reply
    ORVANE_HOST_END_UNKNOWN       ///< the system does not say how it ended
};

/// Sides of a model.
enum orvane_side {
    ORVANE_INPUT = 0,  ///< the inputs
    ORVANE_OUTPUT = 1  ///< the outputs
};

/// Types of a tensor's elements.
enum orvane_element_type {
    ORVANE_UNKNOWN = 0,  ///< any other type; such a tensor cannot be copied
    ORVANE_FLOAT32 = 1,  ///< 32-bit floating point
    ORVANE_FLOAT16 = 2,  ///< 16-bit floating point
    ORVANE_INT32 = 3,    ///< signed, 32 bits
    ORVANE_UINT8 = 4,    ///< unsigned, 8 bits
    ORVANE_INT64 = 5,    ///< signed, 64 bits
    ORVANE_BOOL = 6,     ///< one byte each, 0 or 1
    ORVANE_INT16 = 7,    ///< signed, 16 bits
    ORVANE_INT8 = 8,     ///< signed, 8 bits
    ORVANE_FLOAT64 = 9   ///< 64-bit floating point
};

/// Which model to run, and how. Null and 0 are the defaults. A relative path starts in the working directory at the
/// time of `orvane_open`, also when `orvane_restart` uses it. Only for a `host_program` without a folder, each start
/// of a host process searches again.
typedef struct orvane_options {
    uint64_t struct_size;    ///< the size of this structure in bytes
    const char* model_path;  ///< the model file; may be null if the cache file exists
    const char* device;      ///< the name of a device of OpenVINO; null or "": the CPU
    const char* cache_path;  ///< the file of the compiled model; if it exists, the model files are not read

    /// Null: the model runs in this process. Otherwise the model runs in a host process, and this is the path of the
    /// host program. "" means `orvane_host` in the folder of this library, or in `../bin` from there.
    const char* host_program;

    const uint8_t* key;  ///< the key of encrypted model files
    uint32_t key_size;   ///< 1 to 4 bytes; 0 without a key

    /// Not 0: write the cache file if it does not exist. The library writes the whole file or no file. If it cannot be
    /// written, the load succeeds without it, and the log says why.
    uint32_t make_cache;

    /// How many milliseconds one call may wait for the host process. When the time is over, the library ends the host
    /// process, and the call fails with `ORVANE_HOST_ENDED`. 0: only the library's own limit of about 55 hours applies.
    /// For a model in this process, any other value is an `ORVANE_BAD_ARGUMENT`.
    uint32_t time_limit_ms;

    /// The limit for `orvane_open` and `orvane_restart`, which take much longer than other calls. 0: the value of
    /// `time_limit_ms`.
    uint32_t load_time_limit_ms;

    /// Null, or a progress function. The library calls it on the thread of the call: at each step of a load, and about
    /// five times a second while the call waits for a host process. `step` is an `orvane_load_step`: `ORVANE_LOAD_NONE`
    /// if the call does not load the model. If the function returns a value other than 0, the library ends the host
    /// process, and the call fails with `ORVANE_CANCELLED`. A load in this process stops at its next step.
    ///
    /// The function must return, and must not throw. For this model it may call `orvane_interrupt`, `orvane_describe`
    /// and `orvane_tensor_count`. Other calls for it fail with `ORVANE_BAD_ARGUMENT`, and it must not close the model.
    /// It may call any function for other models.
    int32_t (*progress)(void* user, int32_t step);
    void* progress_user;  ///< passed to `progress`
} orvane_options;

/// Describes a tensor.
typedef struct orvane_tensor {
    uint64_t struct_size;  ///< the size of this structure in bytes; the caller sets it

    /// The tensor's name. It is valid until the next `orvane_resize` or `orvane_restart` of the model, or until the
    /// model is closed.
    const char* name;
    const int64_t* dimensions;  ///< outermost first; a dynamic dimension is -1; valid as long as `name`
    uint32_t rank;              ///< the number of dimensions; a tensor without dimensions has one element
    uint32_t element_type;      ///< an `orvane_element_type`

    /// Bytes of all elements. 0 if the data cannot be copied: the tensor has a dynamic dimension or an unknown element
    /// type, or it is an input without dimensions, or it is too large. The limit is 22,020,096 bytes with a host
    /// process and 4,294,967,295 bytes in this process.
    uint64_t byte_size;

    /// Null if `byte_size` is not 0. Otherwise one line that says why the data cannot be copied and what to do. It
    /// begins with the name of the tensor: `input 0 "x" has ...`. Valid as long as `name`.
    const char* problem;
} orvane_tensor;

/// Data for an input.
typedef struct orvane_input {
    uint64_t struct_size;  ///< the size of this structure in bytes
    uint32_t index;        ///< the index of the input, from 0
    const void* data;      ///< its elements, in row-major order
    uint64_t bytes;        ///< the size of `data`: the input's `byte_size`
} orvane_input;

/// Memory for an output.
typedef struct orvane_output {
    uint64_t struct_size;  ///< the size of this structure in bytes
    uint32_t index;        ///< the index of the output, from 0
    void* data;            ///< receives its elements, in row-major order
    uint64_t bytes;        ///< the size of `data`, as for `orvane_get_output`
} orvane_output;

/// A shape for an input of a model file.
typedef struct orvane_shape {
    uint64_t struct_size;       ///< the size of this structure in bytes
    const int64_t* dimensions;  ///< outermost first, each at least 1
    uint32_t rank;              ///< the number of dimensions, 1 to 64
    uint32_t input;             ///< the index of the input
} orvane_shape;

/// Steps of a load.
enum orvane_load_step {
    ORVANE_LOAD_NONE = 0,       ///< the call does not load a model
    ORVANE_LOAD_READING,        ///< reads the model file
    ORVANE_LOAD_COMPILING,      ///< compiles the model for its device
    ORVANE_LOAD_IMPORTING,      ///< reads the cache file
    ORVANE_LOAD_WRITING,        ///< writes the cache file
    ORVANE_LOAD_STARTING_HOST,  ///< starts the host process
    ORVANE_LOAD_IN_HOST         ///< the host process loads the model
};

/// Returns the `ORVANE_ABI` of the library.
ORVANE_C_API uint32_t orvane_abi(void);

/// Returns the version of the library as "major.minor.patch", in static storage.
ORVANE_C_API const char* orvane_version(void);

/// Returns the name of an `orvane_reason`, in static storage: "refused", "bad argument", "no memory", "host ended",
/// "system", "runtime" or "cancelled". Returns "unknown" for any other value.
ORVANE_C_API const char* orvane_reason_name(int32_t reason);

/// Returns the name of an `orvane_element_type`, in static storage: "float32", "float16", "int32", "uint8", "int64",
/// "bool", "int16", "int8" or "float64". Returns "unknown" for any other value.
ORVANE_C_API const char* orvane_element_type_name(int32_t element_type);

/// Loads a model, and sets `*model` to it. After a failure `*model` is null. A missing model file is `ORVANE_SYSTEM`
/// with the number 2. `load_time_limit_ms` limits the whole call. With `make_cache` this includes a second host
/// process, which checks the new cache file.
ORVANE_C_API orvane_error* orvane_open(const orvane_options* options, orvane_model** model);

/// Frees a model and ends its host process. Null is allowed.
ORVANE_C_API void orvane_close(orvane_model* model);

/// Loads the model again with the same options. Use it after `ORVANE_HOST_ENDED`, or to give the inputs other shapes. A
/// model with a host process gets a new one. Set shapes and inputs again. If the call fails, a model with a host
/// process has no host process, and a model in this process is as before.
ORVANE_C_API orvane_error* orvane_restart(orvane_model* model);

/// Returns the number of inputs or outputs, also after the host process has ended. `side` is an `orvane_side`; for any
/// other value, and for a null model, returns 0.
ORVANE_C_API uint32_t orvane_tensor_count(const orvane_model* model, int32_t side);

/// Fills `*tensor` with the description of an input or output. Set `tensor->struct_size` first. Sends nothing to the
/// host process.
ORVANE_C_API orvane_error* orvane_describe(const orvane_model* model, int32_t side, uint32_t index,
                                           orvane_tensor* tensor);

/// Sets the shape of an input with dynamic dimensions. `rank` must be the rank of the input. Each dynamic dimension
/// must have a value of at least 1, and each other dimension its value in the model. Refused with a host process, and
/// after the first `orvane_set_input`, `orvane_infer` or `orvane_input_memory` since the load.
ORVANE_C_API orvane_error* orvane_resize(orvane_model* model, uint32_t input, const int64_t* dimensions, uint32_t rank);

/// Copies the data of a whole input: `bytes` must be its `byte_size`. An input that you never set is all zeros. Refused
/// until every input with dynamic dimensions has a shape.
ORVANE_C_API orvane_error* orvane_set_input(orvane_model* model, uint32_t index, const void* data, uint64_t bytes);

/// Sets `*data` and `*bytes` to memory for the data of a whole input. Write all of it, and pass its address to
/// `orvane_set_input` or `orvane_infer`, which then copy nothing. In this process the runtime reads the data from
/// there. With a host process the library sends it from there. The memory is aligned to 8 bytes.
///
/// The memory is valid until the next call for the model, except `orvane_describe`, `orvane_tensor_count`, and
/// `orvane_set_input` or `orvane_infer` with this address. So only one input has memory at a time. The content is
/// undefined when you get the memory, and after `orvane_set_input` and `orvane_infer`. These refuse memory that is no
/// longer valid.
///
/// The library frees the memory when you ask for the memory of this input again, or close the model. The end of the
/// host process does not free it. A forked child must not write to memory for a host process. This call is refused
/// whenever `orvane_set_input` is refused. In this process it creates the buffers of all inputs, so `orvane_resize` is
/// refused afterwards.
ORVANE_C_API orvane_error* orvane_input_memory(orvane_model* model, uint32_t index, void** data, uint64_t* bytes);

/// Runs the model once on the latest data of each input. Refused until at least one input was set.
ORVANE_C_API orvane_error* orvane_run(orvane_model* model);

/// Copies a whole output of the last run: `bytes` must be its `byte_size`. Refused before the first run. In this
/// process you can also copy an output with dynamic dimensions: `bytes` must then be its size in the last run. You must
/// know that size.
ORVANE_C_API orvane_error* orvane_get_output(orvane_model* model, uint32_t index, void* data, uint64_t bytes);

/// Sets `*data` and `*bytes` to the data of an output of the last run, without a copy. The output must have a
/// `byte_size`. The data is valid until the next call for the model. Do not write to it.
ORVANE_C_API orvane_error* orvane_view_output(orvane_model* model, uint32_t index, const void** data, uint64_t* bytes);

/// Sets inputs, runs, and copies outputs, in one call with one time limit. It does the same as `orvane_set_input` for
/// each input, `orvane_run`, and `orvane_get_output` for each output, but checks all arguments first. `inputs` and
/// `outputs` are arrays. All elements of an array must have the same `struct_size`.
ORVANE_C_API orvane_error* orvane_infer(orvane_model* model, const orvane_input* inputs, uint32_t input_count,
                                        const orvane_output* outputs, uint32_t output_count);

/// Ends the model's host process. Any thread may call it while the model is open. A call that waits for the host
/// process fails with `ORVANE_HOST_ENDED` within 200 ms; if no call waits, the next one fails. Does nothing for null,
/// and for a model in this process.
ORVANE_C_API void orvane_interrupt(orvane_model* model);

/// Encrypts a model file with a key of 1 to 4 bytes, for `orvane_options.key`. Encrypt an .xml and its .bin with the
/// same key, or an .onnx. The formats .tflite, .pb and .pdmodel are refused. `out` may be the same file as `in`. After
/// an error `out` is unchanged.
///
/// The library encrypts pieces of 4 MiB. If the last piece has 1 to 15 bytes, the cipher could not restore it, so the
/// library refuses the file. If `pad` is not 0, it pads that piece with blanks or zeros to 16 bytes instead. Readers of
/// models skip them.
///
/// If `progress` is not null, the library calls it on this thread before each piece. If it returns a value other than
/// 0, the library writes nothing, and the call fails with `ORVANE_CANCELLED`.
ORVANE_C_API orvane_error* orvane_encrypt_file(
    const char* in, const char* out, const uint8_t* key, uint32_t key_size, uint32_t pad,
    int32_t (*progress)(void* user, uint64_t done_bytes, uint64_t total_bytes), void* user);

/// Decrypts a file that `orvane_encrypt_file` wrote. `out` and `progress` are as in that function. Cannot detect a
/// wrong key: the new file is then useless.
ORVANE_C_API orvane_error* orvane_decrypt_file(const char* in, const char* out, const uint8_t* key, uint32_t key_size,
                                               int32_t (*progress)(void* user, uint64_t done_bytes,
                                                                   uint64_t total_bytes),
                                               void* user);

/// Calls `device` for each device of this machine that can run models. `name` is for `orvane_options.device`.
/// `full_name` is the name of the processor or card, and may be empty. The texts are valid during that call.
/// `orvane_client_c` refuses this function, `orvane_describe_file` and `orvane_reshape_file`.
ORVANE_C_API orvane_error* orvane_list_devices(void (*device)(void* user, const char* name, const char* full_name),
                                               void* user);

/// Reads a model file without compiling it. Calls `tensor` for each input and then for each output, in the model's
/// order. The arguments of `tensor` are valid during that call. `byte_size` and `problem` are those of a model in this
/// process.
ORVANE_C_API orvane_error* orvane_describe_file(const char* model_path,
                                                void (*tensor)(void* user, int32_t side, const orvane_tensor* tensor),
                                                void* user);

/// Reads a model file, sets the shapes of inputs, and writes the model to `out`. Writes its weights to a .bin file in
/// the same folder. `out` must end in ".xml". If `out` is null, the function only checks the shapes. After an error,
/// earlier files of these names are unchanged. Weights keep their precision. Each input with dynamic dimensions needs a
/// shape. If the model does not accept the shapes, the call fails with `ORVANE_RUNTIME`. `shapes` is an array whose
/// elements all have the same `struct_size`. A library built with MinGW refuses this function.
ORVANE_C_API orvane_error* orvane_reshape_file(const char* model_path, const orvane_shape* shapes, uint32_t shape_count,
                                               const char* out);

/// Returns why the call failed, an `orvane_reason`; 0 for null.
ORVANE_C_API int32_t orvane_error_reason(const orvane_error* error);

/// Returns the system's error number; 0 if there is no such number, and for null.
ORVANE_C_API int32_t orvane_error_system(const orvane_error* error);

/// Returns the text of an error, which is valid as long as the error; "" for null.
ORVANE_C_API const char* orvane_error_message(const orvane_error* error);

/// Returns how the host process ended, an `orvane_host_end`, if the reason is `ORVANE_HOST_ENDED`; otherwise 0.
ORVANE_C_API int32_t orvane_error_host_end(const orvane_error* error);

/// Frees an error. Null is allowed.
ORVANE_C_API void orvane_error_free(orvane_error* error);

/// Sets the function that receives the log lines of all models. With null, the default, the library drops all lines;
/// this cannot fail. Otherwise the reason can be `ORVANE_NO_MEMORY`, and the earlier function remains. The library
/// keeps a few bytes for each different pair of `line` and `user`.
///
/// The library calls `line` on the thread that logs, possibly on several threads at once, and holds no lock. `text` is
/// valid during the call. All lines of the SDK are failures, and have the level 6. `line` must not throw. It may call
/// `orvane_interrupt` for any model, and all functions for a model that no call uses at that time. While you change the
/// function, a line of another thread may still reach the earlier function.
ORVANE_C_API orvane_error* orvane_set_log(void (*line)(void* user, uint32_t level, const char* text), void* user);

#ifdef __cplusplus
}
#endif

// NOLINTEND(modernize-deprecated-headers, modernize-use-using, readability-identifier-naming)

#endif
