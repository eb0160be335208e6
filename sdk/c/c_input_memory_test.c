// Tests input memory: its data arrives, and invalid memory is refused and not freed too early.
#include "c_test_support.h"

static int32_t* Memory(orvane_model* model, uint32_t index, uint64_t bytes) {
    void* data = NULL;
    uint64_t size = 0;
    SUCCEEDS(orvane_input_memory(model, index, &data, &size));
    EXPECT(size == bytes && data != NULL && (uintptr_t)data % 8 == 0);
    return (int32_t*)data;
}

// Sets an input, runs, and returns the first element of its output.
static int32_t Run(orvane_model* model, const int32_t* data) {
    int32_t received[2] = {0, 0};
    SUCCEEDS(orvane_set_input(model, 0, data, 8));
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_get_output(model, 0, received, 8));
    return received[0];
}

static void TestArrival(const char* host) {
    orvane_model* model = Open(Options(EchoModel("memory.xml", "i32", "1,2"), host));
    int32_t received[2] = {0, 0};
    const orvane_output output = {sizeof output, 0, received, 8};
    orvane_input input = {sizeof input, 0, NULL, 8};
    int32_t* memory = Memory(model, 0, 8);
    FAILS(orvane_run(model), ORVANE_REFUSED, "set the inputs before the run");
    for (int32_t round = 1; round <= 3; ++round) {
        memory = Memory(model, 0, 8);
        memory[0] = memory[1] = round;
        EXPECT(Run(model, memory) == round);
    }
    EXPECT(Memory(model, 0, 8) == memory);
    input.data = memory;
    for (int32_t round = 4; round <= 6; ++round) {  // stays valid in calls with its address
        memory[0] = memory[1] = round;
        SUCCEEDS(orvane_infer(model, &input, 1, &output, 1));
        EXPECT(received[0] == round && received[1] == round);
    }
    orvane_close(model);
}

static void TestRefusals(const char* host) {
    orvane_model* model = Open(Options(EchoModel("memory.xml", "i32", "1,2"), host));
    void* data = model;
    uint64_t bytes = 1;
    int32_t received[2] = {0, 0};
    const void* view = NULL;
    FAILS(orvane_input_memory(NULL, 0, &data, &bytes), ORVANE_BAD_ARGUMENT, "the address of the model is null");
    FAILS(orvane_input_memory(model, 0, NULL, &bytes), ORVANE_BAD_ARGUMENT, "is null");
    FAILS(orvane_input_memory(model, 0, &data, NULL), ORVANE_BAD_ARGUMENT, "is null");
    FAILS(orvane_input_memory(model, 1, &data, &bytes), ORVANE_BAD_ARGUMENT, "there is no input 1");
    EXPECT(data == NULL && bytes == 0);

    int32_t* memory = Memory(model, 0, 8);
    memory[0] = memory[1] = 1;
    FAILS(orvane_set_input(model, 0, memory, 4), ORVANE_BAD_ARGUMENT, "has 8 bytes, not 4");
    FAILS(orvane_set_input(model, 1, memory, 8), ORVANE_BAD_ARGUMENT, "there is no input 1");
    FAILS(orvane_set_input(model, 0, (char*)memory + 4, 8), ORVANE_BAD_ARGUMENT, "in input memory");
    memory = Memory(model, 0, 8);
    memory[0] = 7;
    EXPECT(Run(model, memory) == 7);

    // Every other call makes the memory invalid.
    FAILS(orvane_set_input(model, 0, memory, 8), ORVANE_BAD_ARGUMENT, "in input memory that is not valid for it");
    FAILS(orvane_get_output(model, 0, memory + 1, 4), ORVANE_BAD_ARGUMENT, "has 8 bytes");
    FAILS(orvane_get_output(model, 0, memory, 8), ORVANE_BAD_ARGUMENT, "is input memory: pass other memory");
    if (host != NULL) {  // in this process the output of this model is the buffer of its input
        SUCCEEDS(orvane_view_output(model, 0, &view, &bytes));
        SUCCEEDS(orvane_set_input(model, 0, view, 8));
    }
    SUCCEEDS(orvane_run(model));
    SUCCEEDS(orvane_get_output(model, 0, received, 8));
    EXPECT(received[0] == 7);
    memory = Memory(model, 0, 8);
    SUCCEEDS(orvane_set_input(model, 0, kData, 8));
    FAILS(orvane_set_input(model, 0, memory, 8), ORVANE_BAD_ARGUMENT, "in input memory");
    for (int restart = 0; restart < 2; ++restart) {
        SUCCEEDS(orvane_restart(model));
        memory[0] = memory[1] = 2;
        FAILS(orvane_set_input(model, 0, memory, 8), ORVANE_BAD_ARGUMENT, "in input memory");
    }
    EXPECT(Run(model, kData + 2) == 3);
    orvane_close(model);
}

// Only in this process a model accepts shapes, and each input has its own memory.
void TestInputMemoryInThisProcess(void) {
    const int64_t shape[] = {2, 3};
    orvane_model* model = Open(Options(EchoModel("memory_shapes.xml", "i32", "?,3"), NULL));
    void* data = NULL;
    uint64_t bytes = 0;
    FAILS(orvane_input_memory(model, 0, &data, &bytes), ORVANE_REFUSED, "input 0 \"x\"");
    SUCCEEDS(orvane_resize(model, 0, shape, 2));
    memcpy(Memory(model, 0, 24), kData, 24);
    FAILS(orvane_resize(model, 0, shape, 2), ORVANE_REFUSED, "restart the model, then set shapes");
    SUCCEEDS(orvane_restart(model));
    SUCCEEDS(orvane_resize(model, 0, shape, 2));
    orvane_close(model);
}

void TestInputMemory(const char* host) {
    TestArrival(host);
    TestRefusals(host);
}

// With a host, two inputs share the same memory, which stays mapped when the host ends.
void TestInputMemoryOfStub(const char* stub) {
    static const char kFirst[4] = {'a', 'b', 'c', 'd'};
    static const char kNext[4] = {'i', 'j', 'k', 'l'};
    orvane_model* model = Open(StubOptions("echo 4 2", stub));
    uint8_t received[8];
    const orvane_output outputs[2] = {{sizeof outputs[0], 0, received, 4}, {sizeof outputs[0], 1, received + 4, 4}};
    orvane_input inputs[2] = {{sizeof inputs[0], 1, "efgh", 4}, {sizeof inputs[0], 0, NULL, 4}};
    void* none = model;
    uint64_t bytes = 0;
    char* memory = (char*)Memory(model, 0, 4);
    memcpy(memory, kFirst, sizeof kFirst);
    SUCCEEDS(orvane_set_input(model, 0, memory, 4));
    memory = (char*)Memory(model, 1, 4);
    FAILS(orvane_set_input(model, 0, memory, 4), ORVANE_BAD_ARGUMENT, "input 0 \"x0\" is in input memory");

    memory = (char*)Memory(model, 0, 4);
    inputs[1].data = memory;
    for (int round = 0; round < 2; ++round) {  // the other data is sent later through the same memory
        memcpy(memory, kFirst, sizeof kFirst);
        SUCCEEDS(orvane_infer(model, inputs, 2, outputs, 2));
        EXPECT(memcmp(received, "abcdefgh", 8) == 0);
    }

    orvane_interrupt(model);
    ENDS(orvane_set_input(model, 0, memory, 4), ORVANE_HOST_END_INTERRUPTED, "interrupted");
    memset(memory, 'x', 4);
    ENDS(orvane_input_memory(model, 0, &none, &bytes), ORVANE_HOST_END_INTERRUPTED, "interrupted");
    EXPECT(none == NULL);
    SUCCEEDS(orvane_restart(model));
    memset(memory, 'x', 4);
    FAILS(orvane_set_input(model, 1, memory, 4), ORVANE_BAD_ARGUMENT, "in input memory");
    memory = (char*)Memory(model, 0, 4);
    memcpy(memory, kNext, sizeof kNext);
    SUCCEEDS(orvane_infer(model, inputs, 1, outputs, 1));
    FAILS(orvane_set_input(model, 0, memory, 4), ORVANE_BAD_ARGUMENT, "in input memory");
    orvane_close(model);
}
