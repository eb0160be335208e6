#include <orvane/orvane_c.h>

#include <stdio.h>

int main(void) {
    const orvane_options options = {sizeof options};
    orvane_model* model = NULL;
    orvane_error* error = orvane_open(&options, &model);
    printf("%s: %s\n", orvane_version(), orvane_error_message(error));
    orvane_error_free(error);
    orvane_close(model);
}
