/* An application in the object format of Visual Studio's compiler, linked through an import library, without any C
   runtime: as close as we can get without that compiler. Prints "the same" if a model has the same output in this
   process and in a host process.

   other_compiler_client MODEL: runs the file MODEL, also with the host program beside the library */
#include <orvane/orvane_c.h>

#include <stddef.h>

__declspec(dllimport) void* __stdcall GetStdHandle(unsigned long which);
__declspec(dllimport) int __stdcall WriteFile(void* file, const void* data, unsigned long bytes, unsigned long* written,
                                              void* overlapped);
__declspec(dllimport) const char* __stdcall GetCommandLineA(void);
__declspec(dllimport) __declspec(noreturn) void __stdcall ExitProcess(unsigned int result);

enum { kMostBytes = 1 << 16 };

static unsigned char input[kMostBytes];
static unsigned char outputs[2][kMostBytes];

/* Compilers insert calls of this function. */
void* memset(void* to, int value, size_t bytes) {
    for (volatile unsigned char* byte = to; bytes > 0; --bytes) {
        *byte++ = (unsigned char)value;
    }
    return to;
}

static void Say(const char* text) {
    unsigned long written = 0;
    unsigned long bytes = 0;
    while (text[bytes] != '\0') {
        ++bytes;
    }
    WriteFile(GetStdHandle((unsigned long)-11), text, bytes, &written, NULL);
}

static void Check(orvane_error* error) {
    if (error != NULL) {
        Say(orvane_error_message(error));
        ExitProcess(1);
    }
}

/* Runs the model, writes its first output to `output`, and returns the number of bytes. */
static uint64_t Run(const char* model_path, const char* host_program, unsigned char* output) {
    orvane_options options = {0};
    options.struct_size = sizeof options;
    options.model_path = model_path;
    options.host_program = host_program;
    orvane_model* model = NULL;
    Check(orvane_open(&options, &model));
    for (uint32_t i = 0; i < orvane_tensor_count(model, ORVANE_INPUT); ++i) {
        orvane_tensor tensor = {0};
        tensor.struct_size = sizeof tensor;
        Check(orvane_describe(model, ORVANE_INPUT, i, &tensor));
        Check(orvane_set_input(model, i, input, tensor.byte_size));
    }
    orvane_tensor tensor = {0};
    tensor.struct_size = sizeof tensor;
    Check(orvane_describe(model, ORVANE_OUTPUT, 0, &tensor));
    Check(orvane_run(model));
    Check(orvane_get_output(model, 0, output, tensor.byte_size));
    orvane_close(model);
    return tensor.byte_size;
}

/* The command line after the program's name, which is in quotation marks or has no blanks. */
static const char* Argument(void) {
    const char* rest = GetCommandLineA();
    const char end = *rest == '"' ? '"' : ' ';
    for (++rest; *rest != end && *rest != '\0'; ++rest) {
    }
    while (*rest == '"' || *rest == ' ') {
        ++rest;
    }
    return rest;
}

void Entry(void) {
    for (int i = 0; i < kMostBytes; ++i) {
        input[i] = (unsigned char)(i % 61);
    }
    const char* const model_path = Argument();
    const uint64_t bytes = Run(model_path, NULL, outputs[0]);
    int is_same = bytes > 0 && Run(model_path, "", outputs[1]) == bytes;
    for (uint64_t i = 0; i < bytes; ++i) {
        is_same = is_same && outputs[0][i] == outputs[1][i];
    }
    Say(is_same ? "the same\n" : "not the same\n");
    ExitProcess(is_same ? 0 : 1);
}
