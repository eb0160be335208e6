// Tests each function and each refusal of the C interface as an application does: it shares only the header with the
// library. It compiles as C and as C++.
//
//   c_interface_test HOST STUB_HOST [client]
//   c_interface_test copy STUB_HOST NUMBER
//
// It writes files to the working directory. With "client", the library runs models in a host process only. With "copy",
// the program is one of several running copies, and must receive the numbers that it sent.
#include "c_test_support.h"

#include <unistd.h>

// --- The same in this process and with a host process ---

// kUtf8: characters at the limits of each length. kNotUtf8: too short, too long, too large, half a surrogate pair.
static const char* const kUtf8[] = {"\x7F",         "\xC2\x80",     "\xDF\xBF",         "\xE0\xA0\x80",
                                    "\xED\x9F\xBF", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"};
static const char* const kNotUtf8[] = {"\x80",
                                       "\xC1\xBF",
                                       "\xC3",
                                       "\xC3(",
                                       "\xE0\x9F\xBF",
                                       "\xED\xA0\x80",
                                       "\xE4\xB8",
                                       "\xE4\xB8(",
                                       "\xE4(\xB8",
                                       "\xF0\x8F\xBF\xBF",
                                       "\xF4\x90\x80\x80",
                                       "\xF5\x80\x80\x80",
                                       "\xF0\x90\x80",
                                       "\xF0\x90\x80("};

static void TestOptions(const char* host) {
    const char* model = EchoModel("options.xml", "f32", "1,3");
    const uint8_t key[5] = {'k', 'e', 'y', 0, 'x'};
    char longText[40000];
    struct {
        orvane_options known;
        uint64_t added;
    } newer;
    orvane_options options = Options(model, host);
    orvane_model* opened = NULL;

    FAILS(orvane_open(NULL, &opened), ORVANE_BAD_ARGUMENT, "the address of the options is null");
    FAILS(orvane_open(&options, NULL), ORVANE_BAD_ARGUMENT, "the place for the model is null");
    for (uint64_t size = 0; size < sizeof options; size += 8) {
        options.struct_size = size;
        FAILS(TryOpen(options), ORVANE_BAD_ARGUMENT, "set it to the size of the structure");
    }
    options.struct_size = (uint64_t)1 << 40;
    FAILS(TryOpen(options), ORVANE_BAD_ARGUMENT, "set it to the size of the structure");
    memset(&newer, 0, sizeof newer);
    newer.known = Options(model, host);
    newer.known.struct_size = sizeof newer;
    SUCCEEDS(orvane_open(&newer.known, &opened));
    orvane_close(opened);
    newer.added = 1;
    FAILS(orvane_open(&newer.known, &opened), ORVANE_REFUSED, "does not know all values of the options");

    memset(longText, 'x', sizeof longText);
    for (size_t i = 0; i < sizeof kUtf8 / sizeof kUtf8[0]; ++i) {
        MISSES(TryOpen(Options(kUtf8[i], host)), "");
    }
    for (size_t i = 0; i < sizeof kNotUtf8 / sizeof kNotUtf8[0]; ++i) {
        FAILS(TryOpen(Options(kNotUtf8[i], host)), ORVANE_BAD_ARGUMENT, "the model path is not UTF-8");
    }
    FAILS(TryOpen(Options(longText, host)), ORVANE_BAD_ARGUMENT, "the model path is longer than");
    longText[300] = '\0';
    FAILS(TryOpen(Options(longText, host)), ORVANE_SYSTEM, "model file xxxxx");
    FAILS(TryOpen(Options(NULL, host)), ORVANE_BAD_ARGUMENT, "neither a model path nor a cache path");
    MISSES(TryOpen(Options("missing.xml", host)), "there is no model file missing.xml: check");
    options = Options(NULL, host);
    options.cache_path = "missing.cache";
    MISSES(TryOpen(options), "there is no cache file missing.cache: name the model file too");
    options = Options(model, host);
    options.device = "TPU";
    FAILS(TryOpen(options), ORVANE_REFUSED,
          "OpenVINO lists no device \"TPU\" on this machine: name another one, or none for the CPU "
          "(\xE4\xB8\x8D\xE6\x94\xAF\xE6\x8C\x81\xE7\x9A\x84");
    options = Options(model, host);
    options.make_cache = 1;
    FAILS(TryOpen(options), ORVANE_BAD_ARGUMENT, "there is no cache path");

    options = Options(model, host);
    options.key = key;
    FAILS(TryOpen(options), ORVANE_BAD_ARGUMENT, "the key has 0 bytes: pass 1 to 4");
    options.key_size = 5;
    FAILS(TryOpen(options), ORVANE_BAD_ARGUMENT, "the key has 5 bytes: pass 1 to 4");
    options.key = NULL;
    options.key_size = 4;
    FAILS(TryOpen(options), ORVANE_BAD_ARGUMENT, "its address is null");
    options.key = key + 1;
    FAILS(TryOpen(options), host != NULL ? ORVANE_REFUSED : ORVANE_RUNTIME, host != NULL ? "zero byte" : "");

    options = Options(model, host);
    options.device = "CPU";
    options.cache_path = "options.cache";
    options.make_cache = 1;
    remove(options.cache_path);
    SUCCEEDS(TryOpen(options));
    options.make_cache = 0;
    options.model_path = NULL;
    SUCCEEDS(TryOpen(options));
    options.cache_path = model;
    FAILS(TryOpen(options), host != NULL ? ORVANE_REFUSED : ORVANE_RUNTIME, "");
}

// The application may change its working directory before a restart.
static void TestRelativePaths(const char* host) {
    char folder[4096];
    orvane_options options = Options(EchoModel("relative.xml", "f32", "1,3"), host);
    options.cache_path = "relative.cache";
    for (uint32_t withCache = 0; withCache < 2; ++withCache) {
        remove(options.cache_path);
        options.make_cache = withCache;
        orvane_model* model = Open(options);
        EXPECT(getcwd(folder, sizeof folder) != NULL && chdir("..") == 0);
        SUCCEEDS(orvane_restart(model));
        EXPECT(chdir(folder) == 0);
        orvane_close(model);
    }
}

static void TestTensors(const char* host) {
    orvane_model* model = Open(Options(EchoModel("tensors.xml", "i32", "1,3"), host));
    struct {
        orvane_tensor known;
        uint64_t added;
    } newer;
    orvane_tensor tensor = Describe(model, ORVANE_OUTPUT);
    const void* view = kData;
    uint64_t bytes = 1;
    const int32_t sent[3] = {1, 2, 3};
    int32_t received[3] = {0, 0, 0};

    EXPECT(orvane_tensor_count(model, ORVANE_INPUT) == 1 && orvane_tensor_count(model, ORVANE_OUTPUT) == 1);
    EXPECT(orvane_tensor_count(model, 2) == 0 && orvane_tensor_count(model, -1) == 0 &&
           orvane_tensor_count(NULL, 0) == 0);
    EXPECT(strcmp(tensor.name, "x") == 0 && tensor.rank == 2 && tensor.dimensions[0] == 1 && tensor.dimensions[1] == 3);
    EXPECT(tensor.element_type == ORVANE_INT32 && tensor.byte_size == 12 && tensor.struct_size == sizeof tensor);
    EXPECT(tensor.problem == NULL);
    FAILS(orvane_describe(NULL, 0, 0, &tensor), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    FAILS(orvane_describe(model, 0, 0, NULL), ORVANE_BAD_ARGUMENT, "the address of the tensor description is null");
    FAILS(orvane_describe(model, 2, 0, &tensor), ORVANE_BAD_ARGUMENT, "no side 2");
    FAILS(orvane_describe(model, 0, 1, &tensor), ORVANE_BAD_ARGUMENT,
          "there is no input 1: the model's inputs are 0 \"x\"");
    memset(&newer, 0xFF, sizeof newer);
    newer.known.struct_size = sizeof newer;
    SUCCEEDS(orvane_describe(model, 0, 0, &newer.known));
    EXPECT(newer.known.byte_size == 12 && newer.known.struct_size == sizeof newer && newer.added == 0);
    tensor.struct_size = 32;
    FAILS(orvane_describe(model, 0, 0, &tensor), ORVANE_BAD_ARGUMENT, "set it to the size of the structure");

    FAILS(orvane_run(model), ORVANE_REFUSED, "set the inputs before the run");
    FAILS(orvane_set_input(NULL, 0, sent, 12), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    FAILS(orvane_set_input(model, 1, sent, 12), ORVANE_BAD_ARGUMENT, "no input 1");
    FAILS(orvane_set_input(model, 0, NULL, 12), ORVANE_BAD_ARGUMENT, "the data for input 0 \"x\" is null");
    FAILS(orvane_set_input(model, 0, sent, 11), ORVANE_BAD_ARGUMENT, "input 0 \"x\" has 12 bytes, not 11");
    FAILS(orvane_set_input(model, 0, sent, ((uint64_t)1 << 32) + 12), ORVANE_BAD_ARGUMENT, "not 4294967308");
    SUCCEEDS(orvane_set_input(model, 0, sent, 12));
    FAILS(orvane_get_output(model, 0, received, 12), ORVANE_REFUSED, "run it first");
    FAILS(orvane_view_output(model, 0, &view, &bytes), ORVANE_REFUSED, "run it first");
    EXPECT(view == NULL && bytes == 0);
    FAILS(orvane_run(NULL), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    SUCCEEDS(orvane_run(model));
    FAILS(orvane_get_output(NULL, 0, received, 12), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    FAILS(orvane_get_output(model, 7, received, 12), ORVANE_BAD_ARGUMENT, "no output 7");
    FAILS(orvane_get_output(model, 0, NULL, 12), ORVANE_BAD_ARGUMENT, "the memory for output 0 \"x\" is null");
    FAILS(orvane_get_output(model, 0, received, 8), ORVANE_BAD_ARGUMENT, "has 12 bytes, not 8");
    FAILS(orvane_get_output(model, 0, received, ((uint64_t)1 << 32) + 12), ORVANE_BAD_ARGUMENT, "not 4294967308");
    SUCCEEDS(orvane_get_output(model, 0, received, 12));
    EXPECT(memcmp(received, sent, 12) == 0);
    FAILS(orvane_view_output(model, 0, NULL, &bytes), ORVANE_BAD_ARGUMENT,
          "the place for the address of the data is null");
    FAILS(orvane_view_output(model, 0, &view, NULL), ORVANE_BAD_ARGUMENT, "the place for the number of bytes is null");
    FAILS(orvane_view_output(model, 1, &view, &bytes), ORVANE_BAD_ARGUMENT, "no output 1");
    SUCCEEDS(orvane_view_output(model, 0, &view, &bytes));
    EXPECT(bytes == 12 && view != NULL && memcmp(view, sent, 12) == 0);
    SUCCEEDS(orvane_restart(model));
    FAILS(orvane_run(model), ORVANE_REFUSED, "set the inputs before the run");
    SUCCEEDS(orvane_set_input(model, 0, kData + 2, 12));
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_get_output(model, 0, received, 12));
    EXPECT(memcmp(received, kData + 2, 12) == 0);
    FAILS(orvane_restart(NULL), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    orvane_interrupt(NULL);
    orvane_close(NULL);
    orvane_close(model);
}

static void TestInfer(const char* host) {
    orvane_model* model = Open(Options(EchoModel("infer.xml", "i32", "1,2"), host));
    int32_t received[2] = {0, 0};
    struct {
        orvane_output known;
        uint64_t added;
    } newer[2];
    orvane_input inputs[2] = {{sizeof(orvane_input), 0, kData, 8}, {sizeof(orvane_input), 0, kData + 1, 8}};
    orvane_output output = {sizeof(orvane_output), 0, received, 8};

    FAILS(orvane_infer(NULL, inputs, 1, &output, 1), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    FAILS(orvane_infer(model, NULL, 1, &output, 1), ORVANE_BAD_ARGUMENT, "the address of an input is null");
    FAILS(orvane_infer(model, inputs, 1, NULL, 1), ORVANE_BAD_ARGUMENT, "the address of an output is null");
    FAILS(orvane_infer(model, NULL, 0, NULL, 0), ORVANE_REFUSED, "set the inputs before the run");
    SUCCEEDS(orvane_infer(model, inputs, 2, &output, 1));
    EXPECT(received[0] == 2 && received[1] == 3);
    output.bytes = 4;
    FAILS(orvane_infer(model, inputs, 1, &output, 1), ORVANE_BAD_ARGUMENT, "has 8 bytes, not 4");
    output.bytes = 8;
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_get_output(model, 0, received, 8));
    EXPECT(received[0] == 2);  // the refused call has set no data
    inputs[1].struct_size = 4000;
    FAILS(orvane_infer(model, inputs, 2, &output, 1), ORVANE_BAD_ARGUMENT,
          "the structures for an input differ in size");
    output.index = 3;
    FAILS(orvane_infer(model, inputs, 1, &output, 1), ORVANE_BAD_ARGUMENT, "no output 3");
    memset(newer, 0, sizeof newer);
    output.index = 0;
    output.struct_size = sizeof newer[0];
    newer[0].known = output;
    newer[1].known = output;
    newer[1].known.data = received;
    SUCCEEDS(orvane_infer(model, inputs, 1, &newer[0].known, 2));
    EXPECT(received[0] == 1 && received[1] == 2);
    orvane_close(model);
}

static void TestUncopyable(const char* host) {
    static const struct {
        const char* type;
        const char* shape;
        const char* text;
    } kCases[] = {{"f64", "?,2", "dynamic dimension"},
                  {"u16", "2", "an element type that is not supported"},
                  {"f32", "", "without dimensions"},
                  {"u8", "65536,65536", "which is "}};
    for (size_t i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
        orvane_model* model = Open(Options(EchoModel("uncopyable.xml", kCases[i].type, kCases[i].shape), host));
        const orvane_tensor tensor = Describe(model, ORVANE_INPUT);
        EXPECT(tensor.byte_size == 0 && tensor.problem != NULL && strstr(tensor.problem, kCases[i].text) != NULL);
        EXPECT(i != 0 || (tensor.dimensions[0] == -1 && tensor.dimensions[1] == 2));
        EXPECT(i != 0 || tensor.element_type == ORVANE_FLOAT64);
        EXPECT(i != 1 || tensor.element_type == ORVANE_UNKNOWN);
        FAILS(orvane_set_input(model, 0, kData, 0), ORVANE_REFUSED, kCases[i].text);
        FAILS(orvane_run(model), ORVANE_REFUSED, "set the inputs before the run");
        orvane_close(model);
    }
    orvane_model* model = Open(Options(EchoModel("uncopyable.xml", "f32", "2;2,2;?,2"), host));
    FAILS(orvane_set_input(model, 0, kData, 8), ORVANE_REFUSED, "input 2 \"xxx\" has the shape [?,2]");
    orvane_close(model);
}

// --- In this process only ---

static void TestShapesInThisProcess(void) {
    const int64_t good[] = {2, 3};
    const int64_t bad[][2] = {{0, 3}, {-1, 3}, {2, 4}, {INT64_MAX, 3}, {1 << 30, 3}};
    const int64_t tooMany[] = {9, 3};
    const int32_t large[27] = {0};
    int32_t received[6] = {0};
    orvane_model* model = Open(Options(EchoModel("shapes.xml", "i32", "?,3"), NULL));
    FAILS(orvane_resize(NULL, 0, good, 2), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    FAILS(orvane_resize(model, 1, good, 2), ORVANE_BAD_ARGUMENT, "no input 1");
    FAILS(orvane_resize(model, 0, NULL, 2), ORVANE_BAD_ARGUMENT, "are null");
    FAILS(orvane_resize(model, 0, good, 1), ORVANE_BAD_ARGUMENT, "has 2 dimensions, not 1");
    FAILS(orvane_resize(model, 0, good, UINT32_MAX), ORVANE_BAD_ARGUMENT, "has 2 dimensions");
    for (size_t i = 0; i < sizeof bad / sizeof bad[0]; ++i) {
        FAILS(orvane_resize(model, 0, bad[i], 2), i < 3 ? ORVANE_BAD_ARGUMENT : ORVANE_REFUSED, "input 0 \"x\"");
    }
    EXPECT(Describe(model, ORVANE_INPUT).byte_size == 0);
    SUCCEEDS(orvane_resize(model, 0, good, 2));
    EXPECT(Describe(model, ORVANE_INPUT).byte_size == 24 && Describe(model, ORVANE_INPUT).dimensions[0] == 2);
    SUCCEEDS(orvane_set_input(model, 0, kData, 24));
    FAILS(orvane_resize(model, 0, good, 2), ORVANE_REFUSED, "restart the model, then set shapes");
    SUCCEEDS(orvane_run(model));
    FAILS(orvane_get_output(model, 0, received, 12), ORVANE_REFUSED,
          "the data has the wrong size: pass exactly as many bytes as the tensor has (");
    SUCCEEDS(orvane_get_output(model, 0, received, 24));
    EXPECT(memcmp(received, kData, 24) == 0);
    SUCCEEDS(orvane_restart(model));
    EXPECT(Describe(model, ORVANE_INPUT).dimensions[0] == -1);
    orvane_interrupt(model);  // does nothing here
    orvane_close(model);

    // The runtime refuses the first data. The library loads the model again, and its descriptions stay.
    model = Open(Options(EchoModel("bounded.xml", "i32", "1..4,3"), NULL));
    SUCCEEDS(orvane_resize(model, 0, tooMany, 2));
    const orvane_tensor described = Describe(model, ORVANE_INPUT);
    for (int round = 0; round < 2; ++round) {
        FAILS(orvane_set_input(model, 0, large, sizeof large), ORVANE_RUNTIME, "");
        const orvane_tensor now = Describe(model, ORVANE_INPUT);
        EXPECT(memcmp(&now, &described, sizeof now) == 0 && now.dimensions[0] == 9);
    }
    SUCCEEDS(orvane_resize(model, 0, good, 2));
    SUCCEEDS(orvane_set_input(model, 0, kData, 24));
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_restart(model));
    SUCCEEDS(orvane_resize(model, 0, tooMany, 2));
    Write("bounded.xml", "no model");
    FAILS(orvane_set_input(model, 0, large, sizeof large), ORVANE_RUNTIME, "");
    FAILS(orvane_set_input(model, 0, large, sizeof large), ORVANE_RUNTIME, "could not be loaded again");
    EchoModel("bounded.xml", "i32", "1..4,3");
    SUCCEEDS(orvane_restart(model));
    SUCCEEDS(orvane_resize(model, 0, tooMany, 2));
    EchoModel("bounded.xml", "i32", "1,3");
    FAILS(orvane_set_input(model, 0, large, sizeof large), ORVANE_RUNTIME, "");
    FAILS(orvane_run(model), ORVANE_RUNTIME, "the model file has changed");
    SUCCEEDS(orvane_restart(model));
    SUCCEEDS(orvane_set_input(model, 0, kData, 12));
    orvane_close(model);
}

// After a cancelled load, the model works as before.
static void TestProgressInThisProcess(void) {
    Progress progress;
    int32_t received[2] = {0, 0};
    const orvane_input input = {sizeof input, 0, kData, 8};
    const orvane_output output = {sizeof output, 0, received, 8};
    orvane_options options = Options(EchoModel("progress.xml", "i32", "1,2"), NULL);
    memset(&progress, 0, sizeof progress);
    options.progress = CountSteps;
    options.progress_user = &progress;
    orvane_model* model = Open(options);
    EXPECT(progress.calls[ORVANE_LOAD_READING] == 1 && progress.calls[ORVANE_LOAD_COMPILING] == 1);
    progress.cancelAtStep = ORVANE_LOAD_COMPILING;
    progress.cancelAtCall = 2;
    FAILS(orvane_restart(model), ORVANE_CANCELLED, "the progress function cancelled the load of the model");
    SUCCEEDS(orvane_infer(model, &input, 1, &output, 1));
    EXPECT(received[1] == 2);
    orvane_close(model);
}

// --- Without a model ---

static void CountLine(void* user, uint32_t level, const char* text) {
    EXPECT(level == 6 && strlen(text) > 0);
    ++*(int*)user;
}

static void TestNamesAndLog(void) {
    int lines = 0;
    EXPECT(orvane_abi() == ORVANE_ABI && strchr(orvane_version(), '.') != NULL);
    EXPECT(strcmp(orvane_reason_name(ORVANE_CANCELLED), "cancelled") == 0);
    EXPECT(strcmp(orvane_reason_name(0), "unknown") == 0 && strcmp(orvane_reason_name(-1), "unknown") == 0);
    EXPECT(strcmp(orvane_element_type_name(ORVANE_FLOAT64), "float64") == 0);
    EXPECT(strcmp(orvane_element_type_name(10), "unknown") == 0);
    EXPECT(orvane_error_host_end(NULL) == 0);
    EXPECT(orvane_error_reason(NULL) == 0 && orvane_error_system(NULL) == 0 && *orvane_error_message(NULL) == '\0');
    orvane_error_free(NULL);
    SUCCEEDS(orvane_set_log(CountLine, &lines));
    orvane_error_free(TryOpen(Options(Write("broken.onnx", "<"), NULL)));
    SUCCEEDS(orvane_set_log(NULL, NULL));
    orvane_error_free(TryOpen(Options("broken.onnx", NULL)));
    EXPECT(lines == 1);
}

static void TestInProcessOrHost(const char* host) {
    TestOptions(host);
    TestRelativePaths(host);
    TestTensors(host);
    TestInfer(host);
    TestUncopyable(host);
    TestFiles(host);
    TestInputMemory(host);
}

int main(int argc, char** argv) {
    if (argc == 4 && strcmp(argv[1], "copy") == 0 && strlen(argv[3]) >= 4) {
        return RunCopy(argv[2], argv[3]);
    }
    if (argc < 3) {
        printf("usage: c_interface_test HOST STUB_HOST [client]\n");
        return 2;
    }
    const int isClient = argc > 3;
    if (isClient) {
        FAILS(TryOpen(Options(EchoModel("client.xml", "f32", "1,3"), NULL)), ORVANE_REFUSED,
              "this library runs models in a host process only: set a host program, or use the library orvane_c "
              "(OpenVINO is not enabled)");
    } else {
        TestInProcessOrHost(NULL);
        TestShapesInThisProcess();
        TestProgressInThisProcess();
        TestInputMemoryInThisProcess();
    }
    TestInProcessOrHost(argv[1]);
    TestTensors("");  // the host beside the library
    TestHost(argv[2]);
    TestInputMemoryOfStub(argv[2]);
    TestModelFiles(isClient);
    TestNamesAndLog();
    printf("%d failures\n", failures);
    return failures != 0;
}
