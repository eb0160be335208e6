// A host program in plain C. It shares no code with the project: it serves the client by the protocol as that is
// written down. The model path of the initialisation says what it does at which call, and it answers the others:
//   answer                    nothing but answer
//   fail CALL                 answers with a failure, or with nothing where there is no status
//   malform CALL              answers with size tags that are no type's
//   exit CALL, crash CALL     ends while the client waits, with exit value 7 or by an access violation
//   hang CALL                 does not answer
// A request that does not keep to the protocol ends it with exit value 99.
// To the question for extra information it tells how it was started.
#include <windows.h>

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

enum { kCallCount = 10, kCallExit = 9, kBadRequest = 99 };

// What there was to see in the first moment of this process.
static struct {
    char commandLine[4096];
    BOOL inJob;
    UINT errorMode;
    BOOL hasConsole;
} start;

static HANDLE resultEvent;
static HANDLE callEvent;
static uint8_t* base;
static uint8_t* cursor;

static uint32_t tagDamage;  // goes into each size tag that is written
static char behaviour[16];
static unsigned behaviourCall;

// --- Values ---

static uint64_t TakeInteger(size_t size) {
    uint64_t value = 0;
    memcpy(&value, cursor, size);
    cursor += size;
    return value;
}

static void Expect(uint64_t value, uint64_t expected) {
    if (value != expected) {
        ExitProcess(kBadRequest);
    }
}

static uint32_t TakeWord(void) {
    Expect(TakeInteger(4), 4);
    return (uint32_t)TakeInteger(4);
}

static void Put(const void* data, size_t size) {
    memcpy(cursor, data, size);
    cursor += size;
}

static void PutTagged(uint32_t tag, uint32_t value) {
    tag ^= tagDamage;
    Put(&tag, sizeof tag);
    Put(&value, sizeof value);
}

static void PutWord(uint32_t value) {
    PutTagged(4, value);
}

static void PutText(const char* text) {
    PutTagged(1, (uint32_t)strlen(text));
    Put(text, strlen(text));
}

static void PutStatus(BOOL fails) {
    PutWord(fails ? 7 : 0);
    PutText(fails ? "no" : "");
}

// --- Calls ---

// "hang 4", for instance.
static void ReadBehaviour(const char* text, size_t length) {
    Expect(length < sizeof behaviour, TRUE);
    memset(behaviour, 0, sizeof behaviour);
    memcpy(behaviour, text, length);
    char* const blank = strchr(behaviour, ' ');
    behaviourCall = kCallCount;
    if (blank != NULL) {
        *blank = '\0';
        behaviourCall = strtoul(blank + 1, NULL, 10);
    }
}

// Takes the behaviour from the model path among the options.
static void ReadOptions(void) {
    static const size_t kSizes[] = {1, 4, 8, 4, 8};
    static const char kKey[] = "OptionCommonModelPath";
    const uint32_t size = TakeWord();
    const uint8_t* const end = cursor + size;
    for (uint64_t count = TakeInteger(8); count > 0; --count) {
        const size_t keyLength = (size_t)TakeInteger(8);
        const uint8_t* const key = cursor;
        cursor += keyLength;
        const uint64_t tag = TakeInteger(1);
        const size_t length = (size_t)(tag < 5 ? kSizes[tag] : TakeInteger(tag == 5 ? 8 : 4));
        if (keyLength == sizeof kKey - 1 && memcmp(key, kKey, keyLength) == 0) {
            ReadBehaviour((const char*)cursor, length);
        }
        cursor += length;
    }
    Expect((uint64_t)(end - cursor), 0);
}

static BOOL Does(unsigned call, const char* what) {
    return call == behaviourCall && strcmp(behaviour, what) == 0;
}

static void PutReport(void) {
    char number[16];
    PutWord(4);
    PutText("command line");
    PutText(start.commandLine);
    PutText("in a job");
    PutText(start.inJob ? "yes" : "no");
    PutText("has a console");
    PutText(start.hasConsole ? "yes" : "no");
    PutText("error mode");
    snprintf(number, sizeof number, "%u", start.errorMode);
    PutText(number);
}

// A description, or a description of nothing.
static void PutTensorInfo(BOOL empty) {
    PutText(empty ? "" : "y");
    PutWord(empty ? 0 : 4);
    PutWord(empty ? 0 : 1);
    PutWord(empty ? 0 : 2);
    for (uint32_t dimension = 5; !empty && dimension <= 6; ++dimension) {
        PutWord(dimension);
    }
}

static void PutOutput(uint32_t size, BOOL fails) {
    PutWord(size);
    memset(cursor, 'z', size);
    cursor += size;
    PutStatus(fails);
}

static void TakeShape(void) {
    for (uint32_t rank = TakeWord(); rank > 0; --rank) {
        Expect(TakeInteger(4), 8);
        TakeInteger(8);
    }
}

// Reads the fields behind the call's number and writes the reply.
static void Answer(unsigned call) {
    uint32_t fields[2] = {0};
    static const unsigned kFields[kCallCount] = {0, 1, 2, 1, 0, 2, 1, 0, 2, 0};
    for (unsigned i = 0; i < kFields[call]; ++i) {
        fields[i] = TakeWord();
    }
    if (call == 3) {
        Expect(TakeWord(), 4);
        Expect(memcmp(cursor, "abcd", 4) == 0, TRUE);
    } else if (call == 8) {
        TakeShape();
    }
    const BOOL fails = Does(call, "fail");
    tagDamage = Does(call, "malform") ? 2 : 0;
    cursor = base;
    if (call == 1) {
        PutWord(fails ? 0 : 2 + fields[0]);
    } else if (call == 2) {
        PutTensorInfo(fails);
    } else if (call == 5 || call == 6) {
        PutOutput(call == 5 ? fields[1] : 3, fails);
    } else if (call == 7 && fails) {
        PutWord(0);
    } else if (call == 7) {
        PutReport();
    } else {
        PutStatus(fails);
    }
}

static void EndOrHang(unsigned call) {
    const DWORD kUntilTheClientWaits = 50;
    volatile int* const nowhere = NULL;
    if (Does(call, "exit")) {
        Sleep(kUntilTheClientWaits);
        ExitProcess(7);
    }
    if (Does(call, "crash")) {
        Sleep(kUntilTheClientWaits);
        *nowhere = 1;
    }
    if (Does(call, "hang")) {
        Sleep(INFINITE);
    }
}

static void OpenChannel(wchar_t* arguments) {
    wchar_t* tokens[4];
    for (int i = 0; i < 4; ++i) {
        tokens[i] = arguments;
        arguments += wcscspn(arguments, L"|");
        if (*arguments != L'\0') {
            *arguments++ = L'\0';
        }
    }
    resultEvent = OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, tokens[0]);
    callEvent = OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, tokens[1]);
    const HANDLE section = OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, tokens[2]);
    base = MapViewOfFile(section, FILE_MAP_ALL_ACCESS, 0, 0, wcstoul(tokens[3], NULL, 10));
    Expect(resultEvent != NULL && callEvent != NULL && base != NULL, TRUE);
}

static LONG WINAPI EndWithoutDialogue(EXCEPTION_POINTERS* exception) {
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, PWSTR arguments, int show) {
    (void)instance, (void)previous, (void)show;
    WideCharToMultiByte(CP_UTF8, 0, GetCommandLineW(), -1, start.commandLine, sizeof start.commandLine, NULL, NULL);
    IsProcessInJob(GetCurrentProcess(), NULL, &start.inJob);
    start.errorMode = GetErrorMode();
    start.hasConsole = GetConsoleWindow() != NULL;
    SetUnhandledExceptionFilter(EndWithoutDialogue);

    OpenChannel(arguments);
    unsigned call = 0;
    while (call != kCallExit && WaitForSingleObject(callEvent, INFINITE) == WAIT_OBJECT_0) {
        cursor = base;
        call = TakeWord();
        if (call == 0) {
            ReadOptions();
        }
        EndOrHang(call);
        if (call < kCallExit) {
            Answer(call);
        }
        SetEvent(resultEvent);
    }
    return 0;
}
