// Tests hosts that end, hosts that send wrong replies, and hosts of several copies of a program at once.
#include "c_test_support.h"

// After its host has ended like this, every call of a model fails.
static void ExpectEnded(orvane_model* model, int32_t cause, const char* how) {
    const void* view = NULL;
    uint64_t bytes = 0;
    uint8_t data[4];
    const int64_t dimension = 4;
    ENDS(orvane_set_input(model, 0, "abcd", 4), cause, how);
    ENDS(orvane_run(model), cause, "restart the model");
    ENDS(orvane_get_output(model, 0, data, 4), cause, how);
    ENDS(orvane_view_output(model, 0, &view, &bytes), cause, how);
    ENDS(orvane_resize(model, 0, &dimension, 1), cause, how);
    ENDS(orvane_infer(model, NULL, 0, NULL, 0), cause, how);
    EXPECT(orvane_tensor_count(model, ORVANE_INPUT) == 1);
}

static void TestEnds(const char* stub) {
    // Each system reports the end of a program in its own way.
    const int isWindows = sizeof(wchar_t) == 2;
    const struct {
        const char* model;
        int32_t cause;
        const char* how;
    } kEnds[] = {
        {"echo 4;sleep 20000", ORVANE_HOST_END_TIME_LIMIT, "time limit of 1000 ms; restart the model, or"},
        {"echo 4;crash", isWindows ? ORVANE_HOST_END_EXIT : ORVANE_HOST_END_SIGNAL,
         isWindows ? ", fast fail; restart the model"
                   : "signal 6 (SIGABRT), it aborted, for instance because there was not enough memory; restart"},
        {"echo 4;exit 127", ORVANE_HOST_END_EXIT,
         isWindows ? "exit value 127; restart" : "exit value 127, a library that it needs was not found; restart"},
        {"echo 4;exit -1073741515", ORVANE_HOST_END_EXIT,
         isWindows ? ", a DLL that it needs was not found; restart" : "exit value 53; restart"},
        {"echo 4;exit -1073741801", ORVANE_HOST_END_EXIT,
         isWindows ? ", there was not enough memory; restart" : "exit value 23; restart"},
        {"echo 4;exit -1073741795", ORVANE_HOST_END_EXIT,
         isWindows ? ", the processor lacks an instruction that the runtime used; restart" : "exit value 29; restart"},
    };
    const int64_t dimension = 4;
    for (size_t i = 0; i < sizeof kEnds / sizeof kEnds[0]; ++i) {
        const int32_t cause = kEnds[i].cause;
        orvane_options options = StubOptions(kEnds[i].model, stub);
        options.time_limit_ms = i == 0 ? 1000 : 15000;
        options.load_time_limit_ms = 15000;
        orvane_model* model = Open(options);
        for (int round = 0; round < 2; ++round) {
            SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
            FAILS(orvane_resize(model, 0, &dimension, 1), ORVANE_REFUSED, "cannot be set in a host process");
            ENDS(orvane_run(model), cause, kEnds[i].how);
            ExpectEnded(model, cause, kEnds[i].how);
            SUCCEEDS(orvane_restart(model));
        }
        orvane_close(model);
    }

    orvane_options options = StubOptions("hang", stub);
    options.time_limit_ms = 500;
    ENDS(TryOpen(options), ORVANE_HOST_END_TIME_LIMIT, "before the model was loaded: time limit of 500 ms; allow");
    orvane_error* error = TryOpen(Options(Write("model.xml", ""), "no_such_host"));
    EXPECT(orvane_error_system(error) == 2 && orvane_error_host_end(error) == 0);
    FAILS(error, ORVANE_SYSTEM, "the host program no_such_host cannot be started: ");
}

static void TestLargestTensors(const char* stub) {
    const size_t largest = 22020096;
    char* much = (char*)calloc(1, largest);
    orvane_model* model = Open(StubOptions("share 22020096 22020096", stub));
    SUCCEEDS(orvane_set_input(model, 0, much, largest));
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_get_output(model, 0, much, largest));
    orvane_close(model);
    model = Open(StubOptions("echo 22020097", stub));
    FAILS(orvane_set_input(model, 0, much, 22020097), ORVANE_REFUSED, "more than the 22020096 bytes");
    FAILS(orvane_get_output(model, 0, much, 22020097), ORVANE_REFUSED, "more than the 22020096 bytes");
    orvane_close(model);
    free(much);
}

static void TestProgress(const char* stub) {
    Progress progress;
    orvane_options options = StubOptions("echo 4;sleep 1300", stub);
    memset(&progress, 0, sizeof progress);
    options.progress = CountSteps;
    options.progress_user = &progress;
    orvane_model* model = Open(options);
    EXPECT(progress.calls[ORVANE_LOAD_STARTING_HOST] == 1 && progress.calls[ORVANE_LOAD_IN_HOST] >= 1);
    SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
    SUCCEEDS(orvane_run(model));
    EXPECT(progress.calls[ORVANE_LOAD_NONE] >= 2 && progress.calls[ORVANE_LOAD_NONE] <= 100);  // in 1.3 s or more

    progress.cancelAtCall = progress.calls[ORVANE_LOAD_NONE] + 1;
    FAILS(orvane_run(model), ORVANE_CANCELLED, "cancelled the call, which ended the host process");
    ExpectEnded(model, ORVANE_HOST_END_INTERRUPTED, "because the progress function cancelled a call");
    progress.cancelAtStep = ORVANE_LOAD_STARTING_HOST;
    progress.cancelAtCall = progress.calls[ORVANE_LOAD_STARTING_HOST] + 1;
    FAILS(orvane_restart(model), ORVANE_CANCELLED, "the progress function cancelled the load of the model");
    ExpectEnded(model, ORVANE_HOST_END_INTERRUPTED, "restart");
    SUCCEEDS(orvane_restart(model));
    SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
    progress.model = model;
    ENDS(orvane_run(model), ORVANE_HOST_END_INTERRUPTED, "the host process has ended: interrupted");
    orvane_close(model);

    memset(&progress, 0, sizeof progress);
    options = StubOptions("hang", stub);
    options.progress = CountSteps;
    options.progress_user = &progress;
    progress.cancelAtStep = ORVANE_LOAD_IN_HOST;
    progress.cancelAtCall = 3;  // one call at the step, the others during the wait
    FAILS(TryOpen(options), ORVANE_CANCELLED, "the progress function cancelled the load of the model");
}

// Each reply takes one second, which is less than the time limit, and all three together take more.
static void TestOneDeadlineForACall(const char* stub) {
    uint8_t data[4];
    const orvane_input input = {sizeof input, 0, "abcd", 4};
    const orvane_output output = {sizeof output, 0, data, 4};
    orvane_options options = StubOptions("echo 4;slow 1000", stub);
    options.time_limit_ms = 2000;
    ENDS(TryOpen(options), ORVANE_HOST_END_TIME_LIMIT, "before the model was loaded: time limit of 2000 ms");
    options.load_time_limit_ms = 20000;
    orvane_model* model = Open(options);
    SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
    ENDS(orvane_infer(model, &input, 1, &output, 1), ORVANE_HOST_END_TIME_LIMIT, "time limit of 2000 ms");
    orvane_close(model);
}

// Cancels the third call during the load in the second host, however long the first host takes.
static int32_t CancelInSecondHost(void* user, int32_t step) {
    Progress* progress = (Progress*)user;
    if (step == ORVANE_LOAD_STARTING_HOST && progress->calls[step] == 1) {
        progress->cancelAtStep = ORVANE_LOAD_IN_HOST;
        progress->cancelAtCall = progress->calls[ORVANE_LOAD_IN_HOST] + 3;
    }
    return CountSteps(user, step);
}

// The host that reads the new cache hangs.
static void TestTheReaderOfACache(const char* stub) {
    Progress progress;
    orvane_options options = Options(Write("cache", ""), stub);
    memset(&progress, 0, sizeof progress);
    remove("read_for_ever");
    options.cache_path = "read_for_ever";
    options.make_cache = 1;
    options.load_time_limit_ms = 1000;
    ENDS(TryOpen(options), ORVANE_HOST_END_TIME_LIMIT, "time limit of 1000 ms");
    options.load_time_limit_ms = 0;
    options.progress = CancelInSecondHost;
    options.progress_user = &progress;
    FAILS(TryOpen(options), ORVANE_CANCELLED, "cancelled the load");
    EXPECT(progress.calls[ORVANE_LOAD_STARTING_HOST] == 2);
    EXPECT(fopen("read_for_ever", "rb") == NULL);
}

static void TestWrongReplies(const char* stub) {
    static const char* const kNoModels[] = {"count -1", "count 65537", "odd 2600000"};
    for (size_t i = 0; i < sizeof kNoModels / sizeof kNoModels[0]; ++i) {
        ENDS(TryOpen(StubOptions(kNoModels[i], stub)), ORVANE_HOST_END_BAD_REPLY,
             "use the host program that belongs to this library");
    }
    // A description that does not fit into the section crashes the host.
    orvane_error* error = TryOpen(StubOptions("odd 2800000", stub));
    EXPECT(orvane_error_host_end(error) != ORVANE_HOST_END_BAD_REPLY);
    FAILS(error, ORVANE_HOST_ENDED, "before the model was loaded: ");

    orvane_model* model = Open(StubOptions("odd 1000", stub));
    EXPECT(strcmp(Describe(model, ORVANE_INPUT).name, "?(") == 0);
    EXPECT(Describe(model, ORVANE_OUTPUT).rank == 1000 && Describe(model, ORVANE_OUTPUT).byte_size == 4);
    orvane_close(model);

    static const char* const kTooLong[] = {"echo 4;claim 20000000", "echo 4;refuse 20000000"};
    for (size_t i = 0; i < sizeof kTooLong / sizeof kTooLong[0]; ++i) {
        char data[4] = {0};
        model = Open(StubOptions(kTooLong[i], stub));
        SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
        SUCCEEDS(orvane_run(model));
        SUCCEEDS(orvane_get_output(model, 0, data, 4));
        EXPECT(memcmp(data, "abcd", 4) == 0);
        orvane_close(model);
    }
    // The status has a value of another type, or begins after the end of the section.
    static const char* const kNoReplies[][2] = {{"echo 4;claim 8", "it sent an invalid reply"},
                                                {"echo 4;claim -16", "it sent an invalid reply"}};
    for (size_t i = 0; i < sizeof kNoReplies / sizeof kNoReplies[0]; ++i) {
        model = Open(StubOptions(kNoReplies[i][0], stub));
        for (int round = 0; round < 2; ++round) {
            char data[4];
            SUCCEEDS(orvane_set_input(model, 0, "abcd", 4));
            SUCCEEDS(orvane_run(model));
            ENDS(orvane_get_output(model, 0, data, 4), ORVANE_HOST_END_BAD_REPLY, kNoReplies[i][1]);
            ExpectEnded(model, ORVANE_HOST_END_BAD_REPLY, kNoReplies[i][1]);
            SUCCEEDS(orvane_restart(model));
        }
        orvane_close(model);
    }
}

// A host that refuses the first data is started again, and the descriptions of the model stay.
static void TestRefusedData(const char* stub) {
    orvane_model* model = Open(StubOptions("echo 4;refuse-data", stub));
    const orvane_tensor described = Describe(model, ORVANE_INPUT);
    for (int round = 0; round < 2; ++round) {
        FAILS(orvane_set_input(model, 0, "abcd", 4), ORVANE_REFUSED, "the stub refuses data");
        const orvane_tensor now = Describe(model, ORVANE_INPUT);
        EXPECT(memcmp(&now, &described, sizeof now) == 0 && strcmp(now.name, "x0") == 0);
    }
    orvane_close(model);
}

void TestHost(const char* stub) {
    TestEnds(stub);
    TestLargestTensors(stub);
    TestProgress(stub);
    TestOneDeadlineForACall(stub);
    TestTheReaderOfACache(stub);
    TestWrongReplies(stub);
    TestRefusedData(stub);
}

int RunCopy(const char* stub, const char* number) {
    char received[4] = {0};
    const orvane_input input = {sizeof input, 0, number, sizeof received};
    const orvane_output output = {sizeof output, 0, received, sizeof received};
    orvane_model* model = Open(StubOptions("echo 4", stub));
    for (int round = 0; round < 200 && failures == 0; ++round) {
        SUCCEEDS(orvane_infer(model, &input, 1, &output, 1));
        EXPECT(memcmp(number, received, sizeof received) == 0);
    }
    orvane_close(model);
    return failures != 0;
}
