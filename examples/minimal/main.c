#include <orvane/orvane_c.h>

#include <stdio.h>
#include <stdlib.h>

/* Says why and frees the error; whether there was one. */
static int failed(orvane_error* error) {
    if (error != NULL) {
        fprintf(stderr, "%s\n", orvane_error_message(error));
    }
    orvane_error_free(error);
    return error != NULL;
}

/* Runs MODEL once on zeros, in a host process, and prints the first bytes of its first output. */
int main(int argc, char** argv) {
    orvane_options options = {0};
    options.struct_size = sizeof options;
    options.model_path = argc > 1 ? argv[1] : "";
    options.host_program = ""; /* the one that comes with the library; without this line the model runs in here */
    orvane_model* model = NULL;
    if (failed(orvane_open(&options, &model))) {
        return EXIT_FAILURE;
    }
    int result = EXIT_FAILURE;
    orvane_tensor input = {0};
    input.struct_size = sizeof input;
    const unsigned char* output = NULL;
    uint64_t bytes = 0;
    void* zeros = NULL;
    if (!failed(orvane_describe(model, ORVANE_INPUT, 0, &input)) && (zeros = calloc(1, input.byte_size)) != NULL &&
        !failed(orvane_set_input(model, 0, zeros, input.byte_size)) && !failed(orvane_run(model)) &&
        !failed(orvane_view_output(model, 0, (const void**)&output, &bytes))) {
        printf("%llu bytes:", (unsigned long long)bytes);
        for (uint64_t i = 0; i < bytes && i < 4; ++i) {
            printf(" %02x", output[i]);
        }
        printf("\n");
        result = EXIT_SUCCESS;
    }
    free(zeros);
    orvane_close(model);
    return result;
}
