// load_by_path_test LIBRARY ALONE MODEL: an application loads orvane_c.dll by its path, from a folder that Windows does
// not search. LIBRARY has OpenVINO beside it and runs MODEL. ALONE is a copy with no other file beside it; its error
// names what is missing. The application can unload both and load them again.
#include <orvane/orvane_c.h>

#include <stdio.h>
#include <string.h>
#include <windows.h>

#define CHECK(condition)                                                 \
    do {                                                                 \
        if (!(condition)) {                                              \
            printf("line %d does not hold: %s\n", __LINE__, #condition); \
            return 1;                                                    \
        }                                                                \
    } while (0)

struct Functions {
    orvane_error* (*open)(const orvane_options*, orvane_model**);
    orvane_error* (*setInput)(orvane_model*, uint32_t, const void*, uint64_t);
    orvane_error* (*run)(orvane_model*);
    void (*close)(orvane_model*);
    const char* (*message)(const orvane_error*);
    void (*freeError)(orvane_error*);
};

// Sets the pointer to a function at `pointer`.
static void Find(HMODULE library, const char* name, void* pointer) {
    const FARPROC function = GetProcAddress(library, name);
    memcpy(pointer, &function, sizeof function);
}

static struct Functions FindAll(HMODULE library) {
    struct Functions functions;
    Find(library, "orvane_open", &functions.open);
    Find(library, "orvane_set_input", &functions.setInput);
    Find(library, "orvane_run", &functions.run);
    Find(library, "orvane_close", &functions.close);
    Find(library, "orvane_error_message", &functions.message);
    Find(library, "orvane_error_free", &functions.freeError);
    return functions;
}

// Runs the model in this process, then in a host process.
static int RunModel(const struct Functions* orvane, const char* modelPath) {
    static const float samples[576];
    for (int host = 0; host < 2; ++host) {
        orvane_options options = {0};
        options.struct_size = sizeof options;
        options.model_path = modelPath;
        options.host_program = host == 0 ? NULL : "";
        orvane_model* model = NULL;
        orvane_error* error = orvane->open(&options, &model);
        printf("%s\n", orvane->message(error));
        CHECK(error == NULL);
        CHECK(orvane->setInput(model, 0, samples, sizeof samples) == NULL);
        CHECK(orvane->run(model) == NULL);
        orvane->close(model);
    }
    return 0;
}

static int FailToRun(const struct Functions* orvane, const char* modelPath) {
    orvane_options options = {0};
    options.struct_size = sizeof options;
    options.model_path = modelPath;
    orvane_model* model = NULL;
    orvane_error* error = orvane->open(&options, &model);
    printf("%s\n", orvane->message(error));
    CHECK(error != NULL && strstr(orvane->message(error), "openvino_c.dll") != NULL);
    CHECK(strstr(orvane->message(error), "vc_redist.x64.exe") != NULL);
    orvane->freeError(error);
    return 0;
}

int main(int count, char** arguments) {
    CHECK(count == 4);
    // ALONE comes first: once OpenVINO is loaded, it stays loaded.
    for (int round = 0; round < 4; ++round) {
        const int isAlone = round < 2;
        HMODULE library = LoadLibraryA(arguments[isAlone ? 2 : 1]);
        CHECK(library != NULL);
        const struct Functions functions = FindAll(library);
        if ((isAlone ? FailToRun : RunModel)(&functions, arguments[3]) != 0) {
            return 1;
        }
        CHECK(FreeLibrary(library));
        CHECK(GetModuleHandleA("orvane_c.dll") == NULL);
        CHECK((GetModuleHandleA("openvino_c.dll") == NULL) == isAlone);
    }
    return 0;
}
