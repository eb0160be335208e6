#include <orvane/orvane_c.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Prints and frees the error. Returns whether there was one. */
static int failed(orvane_error* error) {
    if (error != NULL) {
        fprintf(stderr, "%s\n", orvane_error_message(error));
    }
    orvane_error_free(error);
    return error != NULL;
}

/* Runs MODEL once in a host process, with zeros as its first input, and prints the first number of its first output. */
int main(int argc, char** argv) {
    orvane_options options = {0};
    options.struct_size = sizeof options;
    options.model_path = argc > 1 ? argv[1] : "";
    /* The host program beside the library. Without this line the model runs in this process. */
    options.host_program = "";
    orvane_model* model = NULL;
    if (failed(orvane_open(&options, &model))) {
        return EXIT_FAILURE;
    }
    int result = EXIT_FAILURE;
    orvane_tensor input = {0};
    input.struct_size = sizeof input;
    const void* output = NULL;
    uint64_t bytes = 0;
    void* zeros = NULL;
    if (!failed(orvane_describe(model, ORVANE_INPUT, 0, &input)) && (zeros = calloc(1, input.byte_size)) != NULL &&
        !failed(orvane_set_input(model, 0, zeros, input.byte_size)) && !failed(orvane_run(model)) &&
        !failed(orvane_view_output(model, 0, &output, &bytes))) {
        float first = 0; /* for a model whose output is float32, as most are */
        memcpy(&first, output, bytes < sizeof first ? bytes : sizeof first);
        printf("%llu bytes, first number %.3f\n", (unsigned long long)bytes, first);
        result = EXIT_SUCCESS;
    }
    free(zeros);
    orvane_close(model);
    return result;
}
