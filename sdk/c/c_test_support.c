#include "c_test_support.h"

int failures = 0;

void Expect(int isTrue, const char* what, const char* file, int line) {
    if (!isTrue) {
        ++failures;
        fprintf(stderr, "%s:%d: %s\n", file, line, what);
    }
}

void ExpectError(orvane_error* error, int32_t reason, const char* text, const char* file, int line) {
    const char* message = orvane_error_message(error);
    if (orvane_error_reason(error) != reason || strstr(message, text) == NULL) {
        ++failures;
        fprintf(stderr, "%s:%d: reason %d, \"%s\"; expected %d, \"%s\"\n", file, line, (int)orvane_error_reason(error),
                message, (int)reason, text);
    }
    orvane_error_free(error);
}

void ExpectMissing(orvane_error* error, const char* text, const char* file, int line) {
    Expect(orvane_error_system(error) == 2 && strchr(orvane_error_message(error), '\n') == NULL, text, file, line);
    ExpectError(error, ORVANE_SYSTEM, text, file, line);
}

void ExpectEnd(orvane_error* error, int32_t cause, const char* text, const char* file, int line) {
    Expect(orvane_error_host_end(error) == cause, text, file, line);
    ExpectError(error, ORVANE_HOST_ENDED, text, file, line);
}

const char* Write(const char* path, const char* text) {
    FILE* file = fopen(path, "wb");
    EXPECT(file != NULL && fputs(text, file) >= 0 && fclose(file) == 0);
    return path;
}

const char* EchoModel(const char* path, const char* type, const char* shape) {
    char layers[4096] = "";
    char edges[1024] = "";
    char text[6000];
    for (int i = 0; shape != NULL; ++i) {
        const size_t size = strcspn(shape, ";");
        snprintf(layers + strlen(layers), sizeof layers - strlen(layers),
                 "<layer id=\"%d\" name=\"a%d\" type=\"Parameter\" version=\"opset1\"><data shape=\"%.*s\" "
                 "element_type=\"%s\"/><output><port id=\"0\" precision=\"FP32\" names=\"x%.*s\"/></output></layer>"
                 "<layer id=\"%d\" name=\"b%d\" type=\"Result\" version=\"opset1\"><input><port id=\"0\" "
                 "precision=\"FP32\"/></input></layer>",
                 2 * i, i, (int)size, shape, type, i, "xxxx", 2 * i + 1, i);
        snprintf(edges + strlen(edges), sizeof edges - strlen(edges),
                 "<edge from-layer=\"%d\" from-port=\"0\" to-layer=\"%d\" to-port=\"0\"/>", 2 * i, 2 * i + 1);
        shape = shape[size] == ';' ? shape + size + 1 : NULL;
    }
    snprintf(text, sizeof text,
             "<?xml version=\"1.0\"?><net name=\"n\" version=\"11\"><layers>%s</layers><edges>%s</edges></net>", layers,
             edges);
    return Write(path, text);
}

orvane_options Options(const char* model, const char* host) {
    orvane_options options;
    memset(&options, 0, sizeof options);
    options.struct_size = sizeof options;
    options.model_path = model;
    options.host_program = host;
    return options;
}

orvane_options StubOptions(const char* model, const char* host) {
    orvane_options options = Options(model, host);
    options.cache_path = host;
    return options;
}

orvane_model* Open(orvane_options options) {
    orvane_model* opened = NULL;
    SUCCEEDS(orvane_open(&options, &opened));
    return opened;
}

orvane_error* TryOpen(orvane_options options) {
    orvane_model* model = (orvane_model*)&failures;
    orvane_error* error = orvane_open(&options, &model);
    EXPECT(error == NULL || model == NULL);
    orvane_close(model);
    return error;
}

orvane_tensor Describe(const orvane_model* model, int32_t side) {
    orvane_tensor tensor;
    memset(&tensor, 0, sizeof tensor);
    tensor.struct_size = sizeof tensor;
    SUCCEEDS(orvane_describe(model, side, 0, &tensor));
    return tensor;
}

int32_t CountSteps(void* user, int32_t step) {
    Progress* progress = (Progress*)user;
    EXPECT(step >= ORVANE_LOAD_NONE && step <= ORVANE_LOAD_IN_HOST);
    if (progress->model != NULL) {
        FAILS(orvane_run(progress->model), ORVANE_BAD_ARGUMENT, "can only interrupt or describe its own model");
        orvane_interrupt(progress->model);
    }
    return ++progress->calls[step] == progress->cancelAtCall && step == progress->cancelAtStep;
}
