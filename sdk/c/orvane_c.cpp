#include <orvane/orvane_c.h>

#include <orvane/log.h>
#include <orvane/version.h>

#include "ipc/shared_channel.h"
#include "sdk/c/cipher_file.h"
#include "sdk/c/failure.h"
#include "sdk/c/model.h"
#include "sdk/c/model_file.h"
#include "sdk/c/options.h"
#include "sdk/c/utf8.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

struct orvane_model : Orvane::C::Model {
    using Model::Model;
};

namespace {

using Orvane::C::BadArgument;
using Orvane::C::Guarded;
using Orvane::C::Model;
using Orvane::C::ReadKey;
using Orvane::C::ReadText;

template <typename Pointer>
void RequireNotNull(Pointer pointer, const char* name) {
    if (pointer == nullptr) {
        throw BadArgument(std::string("the address of ") + name + " is null: pass one");
    }
}

// Runs one call for a loaded model, after which input memory stays valid.
template <typename Work>
orvane_error* WithInputMemory(orvane_model* model, Work work) {
    return Guarded([&] {
        RequireNotNull(model, "the model");
        const Model::Call call(*model);
        work(*model);
    });
}

// Runs one call for a loaded model, which makes input memory invalid.
template <typename Work>
orvane_error* WithModel(orvane_model* model, Work work) {
    return WithInputMemory(model, [&work](Model& open) {
        open.InvalidateInputMemory();
        work(open);
    });
}

// Reads and checks the arguments of `orvane_encrypt_file` and `orvane_decrypt_file`.
struct CipherArguments {
    CipherArguments(const char* givenIn, const char* givenOut, const uint8_t* key, uint32_t keySize) {
        RequireNotNull(givenIn, "the path of the file to read");
        RequireNotNull(givenOut, "the path of the file to write");
        in = ReadText(givenIn, "the path of the file to read");
        out = ReadText(givenOut, "the path of the file to write");
        cipher.key = ReadKey(key, keySize);
        Orvane::C::RequireFile(in, "file");
    }

    std::string in;
    std::string out;
    Orvane::ModelFileCipher cipher;
};

// Returns the name at index `value`; the first name if there is no such index.
template <size_t count>
const char* NameIn(const char* const (&names)[count], int32_t value) {
    return names[value >= 0 && static_cast<size_t>(value) < count ? value : 0];
}

// Sinks need no lock, because a forked child could find it locked. A sink is never freed, because another thread may
// still use it.
struct LogSink {
    void (*line)(void* user, uint32_t level, const char* text);
    void* user;
    const LogSink* earlier;
};

std::atomic<const LogSink*> allLogSinks{nullptr};
std::atomic<const LogSink*> logSink{nullptr};

// Reuses an equal sink that was set before.
const LogSink* FindOrAddLogSink(void (*line)(void* user, uint32_t level, const char* text), void* user) {
    for (const LogSink* sink = allLogSinks; sink != nullptr; sink = sink->earlier) {
        if (sink->line == line && sink->user == user) {
            return sink;
        }
    }
    auto* const added = new LogSink{line, user, allLogSinks};
    while (!allLogSinks.compare_exchange_weak(added->earlier, added)) {
    }
    return added;
}

void LogLine(uint32_t level, const char* text) {
    const LogSink* const sink = logSink;
    if (sink == nullptr) {
        return;
    }
    std::string valid;
    try {
        valid = Orvane::C::IsUtf8(text) ? "" : Orvane::C::AsUtf8(text);
    } catch (const std::bad_alloc&) {
        return;  // logging must not throw
    }
    sink->line(sink->user, level, valid.empty() ? text : valid.c_str());
}

}  // namespace

// NOLINTBEGIN(readability-identifier-naming): names as in the header

uint32_t orvane_abi() {
    return ORVANE_ABI;
}

const char* orvane_version() {
    return Orvane::Version();
}

const char* orvane_reason_name(int32_t reason) {
    static constexpr const char* kNames[] = {"unknown",    "refused", "bad argument", "no memory",
                                             "host ended", "system",  "runtime",      "cancelled"};
    return NameIn(kNames, reason);
}

const char* orvane_element_type_name(int32_t element_type) {
    static constexpr const char* kNames[] = {"unknown", "float32", "float16", "int32", "uint8",
                                             "int64",   "bool",    "int16",   "int8",  "float64"};
    return NameIn(kNames, element_type);
}

orvane_error* orvane_open(const orvane_options* options, orvane_model** model) {
    return Guarded([&] {
        RequireNotNull(model, "the place for the model");
        *model = nullptr;
        Orvane::SkipTakenNames();
        *model = new orvane_model(Orvane::C::ReadOptions(options));
    });
}

void orvane_close(orvane_model* model) {
    delete model;
}

orvane_error* orvane_restart(orvane_model* model) {
    return Guarded([&] {
        RequireNotNull(model, "the model");
        const Model::Call call = Model::Call::ForLoad(*model);
        model->Restart();
    });
}

uint32_t orvane_tensor_count(const orvane_model* model, int32_t side) {
    return model != nullptr ? model->Count(side) : 0;
}

orvane_error* orvane_describe(const orvane_model* model, int32_t side, uint32_t index, orvane_tensor* tensor) {
    return Guarded([&] {
        constexpr size_t kFirstSize = 48;
        RequireNotNull(model, "the model");
        RequireNotNull(tensor, "the tensor description");
        Orvane::C::CheckStructSize(tensor->struct_size, kFirstSize, "the tensor description");
        const Orvane::C::Port& port = model->PortAt(side, index);
        const orvane_tensor description{tensor->struct_size,
                                        port.name.c_str(),
                                        port.shape.data(),
                                        static_cast<uint32_t>(port.shape.size()),
                                        port.type,
                                        port.bytes,
                                        port.problem.empty() ? nullptr : port.problem.c_str()};
        std::memset(tensor, 0, tensor->struct_size);
        std::memcpy(tensor, &description, std::min<uint64_t>(description.struct_size, sizeof description));
    });
}

orvane_error* orvane_resize(orvane_model* model, uint32_t input, const int64_t* dimensions, uint32_t rank) {
    return WithModel(model, [&](Model& open) { open.Resize(input, dimensions, rank); });
}

orvane_error* orvane_set_input(orvane_model* model, uint32_t index, const void* data, uint64_t bytes) {
    return WithInputMemory(model, [&](Model& open) {
        if (!open.IsInputMemory(data)) {
            open.InvalidateInputMemory();
        }
        open.SetInput(index, data, bytes);
    });
}

orvane_error* orvane_input_memory(orvane_model* model, uint32_t index, void** data, uint64_t* bytes) {
    return WithModel(model, [&](Model& open) {
        RequireNotNull(data, "the place for the address of the memory");
        RequireNotNull(bytes, "the place for the number of bytes");
        *data = nullptr;
        *bytes = 0;
        *data = open.LendInput(index);
        *bytes = open.PortAt(ORVANE_INPUT, index).bytes;
    });
}

orvane_error* orvane_run(orvane_model* model) {
    return WithModel(model, [&](Model& open) { open.Run(); });
}

orvane_error* orvane_get_output(orvane_model* model, uint32_t index, void* data, uint64_t bytes) {
    return WithModel(model, [&](Model& open) { open.GetOutput(index, data, bytes); });
}

orvane_error* orvane_view_output(orvane_model* model, uint32_t index, const void** data, uint64_t* bytes) {
    return WithModel(model, [&](Model& open) {
        RequireNotNull(data, "the place for the address of the data");
        RequireNotNull(bytes, "the place for the number of bytes");
        *data = nullptr;
        *bytes = 0;
        *data = open.ViewOutput(index);
        *bytes = open.PortAt(ORVANE_OUTPUT, index).bytes;
    });
}

orvane_error* orvane_infer(orvane_model* model, const orvane_input* inputs, uint32_t input_count,
                           const orvane_output* outputs, uint32_t output_count) {
    return WithInputMemory(model, [&](Model& open) {
        open.RequireHost();
        constexpr size_t kFirstSize = 32;
        const std::string input = "an input";
        const std::string output = "an output";
        bool usesInputMemory = false;
        Orvane::C::ForEach(inputs, input_count, kFirstSize, input, [&](const orvane_input& item) {
            open.CheckInput(item.index, item.data, item.bytes);
            usesInputMemory = usesInputMemory || open.IsInputMemory(item.data);
        });
        Orvane::C::ForEach(outputs, output_count, kFirstSize, output,
                           [&](const orvane_output& item) { open.CheckOutput(item.index, item.data, item.bytes); });
        if (!usesInputMemory) {
            open.InvalidateInputMemory();
        }
        for (const bool inMemory : {true, false}) {  // input memory first, because other data may overwrite it
            Orvane::C::ForEach(inputs, input_count, kFirstSize, input, [&](const orvane_input& item) {
                if (open.IsInputMemory(item.data) == inMemory) {
                    open.SetInput(item.index, item.data, item.bytes);
                }
            });
        }
        open.Run();
        Orvane::C::ForEach(outputs, output_count, kFirstSize, output,
                           [&](const orvane_output& item) { open.GetOutput(item.index, item.data, item.bytes); });
    });
}

void orvane_interrupt(orvane_model* model) {
    if (model != nullptr) {
        Orvane::C::FreeError(Guarded([&] { model->Interrupt(); }));
    }
}

orvane_error* orvane_encrypt_file(const char* in, const char* out, const uint8_t* key, uint32_t key_size, uint32_t pad,
                                  int32_t (*progress)(void* user, uint64_t done_bytes, uint64_t total_bytes),
                                  void* user) {
    return Guarded([&] {
        const CipherArguments arguments(in, out, key, key_size);
        Orvane::C::EncryptFile(arguments.in, arguments.out, arguments.cipher, pad != 0, {progress, user});
    });
}

orvane_error* orvane_decrypt_file(const char* in, const char* out, const uint8_t* key, uint32_t key_size,
                                  int32_t (*progress)(void* user, uint64_t done_bytes, uint64_t total_bytes),
                                  void* user) {
    return Guarded([&] {
        const CipherArguments arguments(in, out, key, key_size);
        Orvane::C::DecryptFile(arguments.in, arguments.out, arguments.cipher, {progress, user});
    });
}

orvane_error* orvane_list_devices(void (*device)(void* user, const char* name, const char* full_name), void* user) {
    return Guarded([&] {
        RequireNotNull(device, "the function for the devices");
        Orvane::C::ForEachDevice(device, user);
    });
}

orvane_error* orvane_describe_file(const char* model_path,
                                   void (*tensor)(void* user, int32_t side, const orvane_tensor* tensor), void* user) {
    return Guarded([&] {
        RequireNotNull(tensor, "the function for the tensors");
        Orvane::C::ForEachTensor(ReadText(model_path, "the model path"), tensor, user);
    });
}

orvane_error* orvane_reshape_file(const char* model_path, const orvane_shape* shapes, uint32_t shape_count,
                                  const char* out) {
    return Guarded([&] {
        Orvane::C::Reshape(ReadText(model_path, "the model path"), Orvane::C::ReadShapes(shapes, shape_count),
                           ReadText(out, "the path of the file to write"));
    });
}

int32_t orvane_error_reason(const orvane_error* error) {
    return error != nullptr ? error->reason : 0;
}

int32_t orvane_error_system(const orvane_error* error) {
    return error != nullptr ? error->system : 0;
}

int32_t orvane_error_host_end(const orvane_error* error) {
    return error != nullptr ? error->hostEnd : 0;
}

const char* orvane_error_message(const orvane_error* error) {
    return error != nullptr ? error->message.c_str() : "";
}

void orvane_error_free(orvane_error* error) {
    Orvane::C::FreeError(error);
}

orvane_error* orvane_set_log(void (*line)(void* user, uint32_t level, const char* text), void* user) {
    return Guarded([&] {
        logSink = line != nullptr ? FindOrAddLogSink(line, user) : nullptr;
        Orvane::SetLogCallback(LogLine);
    });
}

// NOLINTEND(readability-identifier-naming)
