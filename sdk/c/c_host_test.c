// Hosts that end, that lie, and that several copies of a program have at once.
#include "c_test_support.h"

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
    static const char* const kEnds[2][2] = {{"echo 4;crash", "ended: "},
                                            {"echo 4;sleep 20000", "time limit of 1000 ms"}};
    const int64_t dimension = 4;
    for (size_t i = 0; i < 2; ++i) {
        orvane_options options = Options(kEnds[i][0], stub);
        options.time_limit_ms = i == 1 ? 1000 : 15000;
        orvane_model* model = NULL;
        SUCCEEDS(orvane_open(&options, &model));
        for (int round = 0; round < 2; ++round) {
            SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
            FAILS(orvane_resize(model, 0, &dimension, 1), ORVANE_REFUSED, "cannot be set in a host process");
            FAILS(orvane_run(model), ORVANE_HOST_ENDED, kEnds[i][1]);
            ExpectEnded(model, kEnds[i][1]);
            SUCCEEDS(orvane_restart(model));
        }
        orvane_close(model);
    }

    orvane_options options = Options("hang", stub);
    options.time_limit_ms = 500;
    FAILS(TryOpen(options), ORVANE_HOST_ENDED, "before the model was loaded: time limit of 500 ms");
    orvane_error* error = TryOpen(Options("hang", "no_such_host"));
    EXPECT(orvane_error_system(error) == 2);
    FAILS(error, ORVANE_SYSTEM, "no_such_host cannot be started");

    const size_t largest = 22020096;
    char* much = (char*)calloc(1, largest);
    orvane_model* model = Open("share 22020096 22020096", stub);
    SUCCEEDS(orvane_set_input(model, 0, much, largest));
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_get_output(model, 0, much, largest));
    orvane_close(model);
    model = Open("echo 22020097", stub);
    FAILS(orvane_set_input(model, 0, much, 22020097), ORVANE_REFUSED, "more than the 22020096 bytes");
    FAILS(orvane_get_output(model, 0, much, 22020097), ORVANE_REFUSED, "more than the 22020096 bytes");
    orvane_close(model);
    free(much);
}

void TestForgedReplies(const char* forger) {
    static const char* const kNoModels[] = {"count -1", "count 2000000000", "tag", "length"};
    for (size_t i = 0; i < sizeof kNoModels / sizeof kNoModels[0]; ++i) {
        FAILS(TryOpen(Options(kNoModels[i], forger)), ORVANE_HOST_ENDED,
              i < 3 ? "cannot be a reply" : "a reply that cannot be one");
    }
    orvane_model* model = Open("text", forger);
    EXPECT(strcmp(Describe(model, ORVANE_INPUT).name, "?(") == 0);
    orvane_close(model);
    for (size_t i = 0; i < 2; ++i) {
        char data[4] = {0};
        model = Open(i == 0 ? "size" : "failing", forger);
        SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
        SUCCEEDS(orvane_run(model));
        SUCCEEDS(orvane_get_output(model, 0, data, 4));
        EXPECT(memcmp(data, "abcd", 4) == 0);
        orvane_close(model);
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
