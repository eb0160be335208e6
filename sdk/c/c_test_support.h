// Helpers of the tests of the C interface. Compiled as C and as C++.
#ifndef ORVANE_C_TEST_SUPPORT_H
#define ORVANE_C_TEST_SUPPORT_H

#include <orvane/orvane_c.h>

#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

extern int failures;
static const int32_t kData[8] = {1, 2, 3, 4, 5, 6, 7, 8};

// They count each failed check and print it with its place.
void Expect(int isTrue, const char* what, const char* file, int line);
void ExpectError(orvane_error* error, int32_t reason, const char* text, const char* file, int line);
void ExpectMissing(orvane_error* error, const char* text, const char* file, int line);
void ExpectEnd(orvane_error* error, int32_t cause, const char* text, const char* file, int line);

// Writes a file and returns its path.
const char* Write(const char* path, const char* text);

// Writes a model that returns its input "x", of a type and a shape ("1,?"), as its output, and returns its path. More
// shapes after a semicolon are those of more inputs, "xx" and so on, each with an output.
const char* EchoModel(const char* path, const char* type, const char* shape);
orvane_options Options(const char* model, const char* host);

// Options for a host whose models are not files. They name a cache file that exists, so the library requires no model
// file; the host does not read the cache.
orvane_options StubOptions(const char* model, const char* host);
orvane_model* Open(orvane_options options);

// Opens a model, closes it, and returns the error.
orvane_error* TryOpen(orvane_options options);
orvane_tensor Describe(const orvane_model* model, int32_t side);

// The calls of a progress function, and when it cancels.
typedef struct Progress {
    int calls[7];          // by step
    int32_t cancelAtStep;  // cancels at this step,
    int cancelAtCall;      // at the call of this number for that step; 0: never
    orvane_model* model;   // unless null, the function runs and then interrupts this model
} Progress;

int32_t CountSteps(void* user, int32_t step);

#define EXPECT(condition) Expect((condition) != 0, #condition, __FILE__, __LINE__)
#define SUCCEEDS(call) ExpectError(call, 0, "", __FILE__, __LINE__)
#define FAILS(call, reason, text) ExpectError(call, reason, text, __FILE__, __LINE__)

// A call that fails because a file is missing, with an error of one line.
#define MISSES(call, text) ExpectMissing(call, text, __FILE__, __LINE__)

// A call that fails because the host has ended like this.
#define ENDS(call, cause, text) ExpectEnd(call, cause, text, __FILE__, __LINE__)

// The tests that c_interface_test.c runs one after another.
void TestFiles(const char* host);
void TestModelFiles(int isClient);
void TestHost(const char* stub);
void TestInputMemory(const char* host);
void TestInputMemoryInThisProcess(void);
void TestInputMemoryOfStub(const char* stub);
int RunCopy(const char* stub, const char* number);

#endif
