// Hosts that end, that lie, and that several copies of a program have at once.
#include "c_test_support.h"

#include <pthread.h>

static void* InterruptSoon(void* model) {
    for (volatile int i = 0; i < 100000000; ++i) {
    }
    orvane_interrupt((orvane_model*)model);
    return NULL;
}

static void ExpectEnded(orvane_model* model, const char* how) {
    const void* view = NULL;
    uint64_t bytes = 0;
    uint8_t data[4];
    const int64_t dimension = 4;
    FAILS(orvane_set_input(model, 0, "abcd", 4), ORVANE_HOST_ENDED, how);
    FAILS(orvane_run(model), ORVANE_HOST_ENDED, "call orvane_restart");
    FAILS(orvane_get_output(model, 0, data, 4), ORVANE_HOST_ENDED, how);
    FAILS(orvane_view_output(model, 0, &view, &bytes), ORVANE_HOST_ENDED, how);
    FAILS(orvane_resize(model, 0, &dimension, 1), ORVANE_HOST_ENDED, how);
    FAILS(orvane_infer(model, NULL, 0, NULL, 0), ORVANE_HOST_ENDED, how);
    EXPECT(orvane_tensor_count(model, ORVANE_INPUT) == 1);
}

void TestHost(const char* stub) {
    static const struct {
        const char* path;
        const char* how;
    } kEnds[] = {{"echo 4;crash", "ended: "},
                 {"echo 4;sleep 20000", "time limit of 1000 ms"},
                 {"echo 4;sleep 20001", "interrupted"}};
    const int64_t dimension = 4;
    pthread_t thread;
    for (size_t i = 0; i < sizeof kEnds / sizeof kEnds[0]; ++i) {
        orvane_options options = Options(kEnds[i].path, stub);
        options.time_limit_ms = i == 1 ? 1000 : 15000;
        orvane_model* model = NULL;
        SUCCEEDS(orvane_open(&options, &model));
        for (int round = 0; round < 2; ++round) {
            SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
            FAILS(orvane_resize(model, 0, &dimension, 1), ORVANE_REFUSED, "cannot be set in a host process");
            if (i == 2) {
                pthread_create(&thread, NULL, InterruptSoon, model);
            }
            FAILS(orvane_run(model), ORVANE_HOST_ENDED, kEnds[i].how);
            if (i == 2) {
                pthread_join(thread, NULL);
            }
            ExpectEnded(model, kEnds[i].how);
            SUCCEEDS(orvane_restart(model));
        }
        orvane_close(model);
    }

    orvane_options options = Options("hang", stub);
    options.time_limit_ms = 500;
    FAILS(TryOpen(&options), ORVANE_HOST_ENDED, "before the model was loaded: time limit of 500 ms");
    options.host_program = Path("no_such_host");
    FAILS(TryOpen(&options), ORVANE_SYSTEM, "no_such_host cannot be started");
    orvane_error* error = TryOpen(&options);
    EXPECT(orvane_error_system(error) == 2);
    orvane_error_free(error);

    const size_t largest = 22020096;
    char* much = (char*)calloc(1, largest);
    orvane_model* model = Open("share 22020096 22020096", stub);
    SUCCEEDS(orvane_set_input(model, 0, much, largest));
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_get_output(model, 0, much, largest));
    FAILS(orvane_set_input(model, 0, much, largest + 1), ORVANE_BAD_ARGUMENT, "has 22020096 bytes");
    orvane_close(model);
    model = Open("echo 22020097", stub);
    FAILS(orvane_set_input(model, 0, much, 22020097), ORVANE_REFUSED, "more than the 22020096 bytes that travel");
    FAILS(orvane_get_output(model, 0, much, 22020097), ORVANE_REFUSED, "more than the 22020096 bytes that travel");
    orvane_close(model);
    free(much);
}

void TestForgedReplies(const char* forger) {
    static const char* const kNoModels[] = {"count -1", "count 2000000000", "tag", "length"};
    for (size_t i = 0; i < sizeof kNoModels / sizeof kNoModels[0]; ++i) {
        const orvane_options options = Options(kNoModels[i], forger);
        FAILS(TryOpen(&options), ORVANE_HOST_ENDED, i < 3 ? "cannot be a reply" : "a reply that cannot be one");
    }
    orvane_model* model = Open("text", forger);
    EXPECT(strcmp(Describe(model, ORVANE_INPUT).name, "?(") == 0);
    orvane_close(model);
    for (size_t i = 0; i < 2; ++i) {
        char* data = (char*)malloc(4);
        model = Open(i == 0 ? "size" : "failing", forger);
        SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
        SUCCEEDS(orvane_run(model));
        SUCCEEDS(orvane_get_output(model, 0, data, 4));
        EXPECT(memcmp(data, "abcd", 4) == 0);
        orvane_close(model);
        free(data);
    }
    model = Open("status", forger);
    for (int round = 0; round < 2; ++round) {
        SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
        FAILS(orvane_run(model), ORVANE_HOST_ENDED, "cannot be a reply");
        ExpectEnded(model, "cannot be a reply");
        SUCCEEDS(orvane_restart(model));
    }
    orvane_close(model);
}

int RunCopy(const char* stub, const char* number) {
    char received[4] = {0};
    const orvane_input input = {sizeof input, 0, number, sizeof received};
    const orvane_output output = {sizeof output, 0, received, sizeof received};
    orvane_model* model = Open("echo 4", stub);
    for (int round = 0; round < 200 && failures == 0; ++round) {
        SUCCEEDS(orvane_infer(model, &input, 1, &output, 1));
        EXPECT(memcmp(number, received, sizeof received) == 0);
    }
    orvane_close(model);
    return failures != 0;
}
