// A client of the host program in plain C. It shares no code with the project: both sides have to keep to the protocol
// as it is written down, or this program and the host do not understand each other.
//   scripted_client HOST stub    drives a host program that serves the tests' stub models
//   scripted_client HOST model   drives one that runs real models
// Prints what is not as it should be, and exits with 0 when all checks were made and passed.
#include <windows.h>

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum {
    kSectionSize = 8192,
    kLimit = 30000,  // milliseconds: far above what any step takes
    kAnswered = WAIT_OBJECT_0,
    kEnded = WAIT_OBJECT_0 + 1,
};

static int checks;
static int failures;

static void Check(bool passed, const char* what) {
    ++checks;
    if (!passed) {
        ++failures;
        printf("FAILED: %s\n", what);
    }
}

// --- Bytes ---

typedef struct {
    uint8_t data[1024];
    size_t size;
} Bytes;

static void Append(Bytes* bytes, const void* data, size_t size) {
    if (size > sizeof bytes->data - bytes->size) {
        printf("FAILED: a message of this program is too long\n");
        exit(1);
    }
    memcpy(bytes->data + bytes->size, data, size);
    bytes->size += size;
}

static void AppendInteger(Bytes* bytes, uint64_t value, size_t size) {
    for (; size > 0; --size, value >>= 8) {
        const uint8_t low = (uint8_t)(value & 0xFF);
        Append(bytes, &low, 1);
    }
}

// The bytes that a text describes. Its values stand apart by blanks:
//   u5      5 as the protocol sends 32 bits: the size 4 and the value, both in 4 bytes
//   q5      5 as the protocol sends 64 bits: the size 8 in 4 bytes, the value in 8
//   s'ab'   a string: the size 1 of a character, the length, the characters
//   'ab'    these characters alone
//   2=5     5 in 2 bytes
static Bytes Of(const char* text) {
    Bytes bytes = {{0}, 0};
    while (*text != '\0') {
        const char kind = *text;
        if (kind == ' ') {
            ++text;
        } else if (kind == '\'' || kind == 's') {
            const char* const first = strchr(text, '\'') + 1;
            const char* const last = strchr(first, '\'');
            const size_t length = (size_t)(last - first);
            if (kind == 's') {
                AppendInteger(&bytes, 1, 4);
                AppendInteger(&bytes, length, 4);
            }
            Append(&bytes, first, length);
            text = last + 1;
        } else {
            size_t size = kind == 'u' ? 4 : 8;
            if (kind == 'u' || kind == 'q') {
                AppendInteger(&bytes, size, 4);
            } else {
                size = (size_t)(kind - '0');
                ++text;
            }
            char* end = NULL;
            AppendInteger(&bytes, (uint64_t)strtoll(text + 1, &end, 10), size);
            text = end;
        }
    }
    return bytes;
}

// The request to load a model, with the two options that it needs.
static Bytes InitRequest(const char* modelPath) {
    const size_t length = strlen(modelPath);
    char text[200];
    snprintf(text, sizeof text, "u0 u%u 8=2 8=21 'OptionCommonFramework' 1=3 4=5 8=21 'OptionCommonModelPath' 1=5 8=%u",
             (unsigned)(80 + length), (unsigned)length);
    Bytes request = Of(text);
    Append(&request, modelPath, length);
    return request;
}

// --- A host and this side of its channel ---

typedef struct {
    HANDLE result, call, section, job, process;
    uint8_t* view;
} Host;

// Starts a host with four tokens in this form: two event names, the section's name and its size.
static Host Start(const wchar_t* program, const wchar_t* form) {
    static int channelNumber;
    ++channelNumber;
    const unsigned moduleWord = (unsigned)(uintptr_t)GetModuleHandleW(NULL);
    wchar_t resultName[64], callName[64], sectionName[64];
    swprintf(resultName, 64, L"Result_%ud_%d", moduleWord, channelNumber);
    swprintf(callName, 64, L"Call_%ud_%d", moduleWord, channelNumber);
    swprintf(sectionName, 64, L"Channel_%ud_%d", moduleWord, channelNumber);

    Host host = {0};
    host.result = CreateEventW(NULL, FALSE, FALSE, resultName);
    host.call = CreateEventW(NULL, FALSE, FALSE, callName);
    host.section = CreateFileMappingW(INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, kSectionSize, sectionName);
    host.view = MapViewOfFile(host.section, FILE_MAP_ALL_ACCESS, 0, 0, kSectionSize);

    wchar_t arguments[256];
    wchar_t commandLine[1048];
    swprintf(arguments, 256, form, resultName, callName, sectionName, (unsigned)kSectionSize);
    swprintf(commandLine, 1048, L"\"%ls\" %ls", program, arguments);

    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {0};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    STARTUPINFOW startup = {0};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {0};
    host.job = CreateJobObjectW(NULL, NULL);
    if (host.view == NULL ||
        !SetInformationJobObject(host.job, JobObjectExtendedLimitInformation, &limits, sizeof limits) ||
        !CreateProcessW(NULL, commandLine, NULL, NULL, FALSE, CREATE_SUSPENDED, NULL, NULL, &startup, &process)) {
        printf("FAILED: no host process, error %lu: %ls\n", GetLastError(), commandLine);
        exit(1);
    }
    Check(AssignProcessToJobObject(host.job, process.hProcess) != 0, "the host takes its place in a job");
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    host.process = process.hProcess;
    return host;
}

static const wchar_t* const kUsual = L"%ls|%ls|%ls|%u";

// Ends the host, if it still lives, by closing its job.
static void Stop(Host* host) {
    CloseHandle(host->job);
    Check(WaitForSingleObject(host->process, kLimit) == WAIT_OBJECT_0, "closing the job ends the host");
    UnmapViewOfFile(host->view);
    CloseHandle(host->section);
    CloseHandle(host->process);
    CloseHandle(host->call);
    CloseHandle(host->result);
}

// Puts the request into the section, with zeros behind it. Returns kAnswered or kEnded.
static DWORD Exchange(Host* host, const Bytes* request) {
    memset(host->view, 0, kSectionSize);
    memcpy(host->view, request->data, request->size);
    SetEvent(host->call);
    HANDLE either[2];
    either[0] = host->result;
    either[1] = host->process;
    return WaitForMultipleObjects(2, either, FALSE, kLimit);
}

// The host has to answer with these bytes, and to leave the rest of the section as it is.
static void Answers(Host* host, Bytes request, Bytes reply, const char* what) {
    uint8_t expected[kSectionSize] = {0};
    memcpy(expected, request.data, request.size);
    memcpy(expected, reply.data, reply.size);
    const bool answered = Exchange(host, &request) == kAnswered;
    Check(answered && memcmp(host->view, expected, kSectionSize) == 0, what);
}

static DWORD ExitCode(HANDLE process) {
    DWORD code = STILL_ACTIVE;
    WaitForSingleObject(process, kLimit);
    GetExitCodeProcess(process, &code);
    return code;
}

static bool EndsAbnormally(HANDLE process) {
    const DWORD code = ExitCode(process);
    return code != STILL_ACTIVE && code != 0 && code != (DWORD)-1;
}

// The exit call is answered once, with nothing, and is the host's last.
static void Exits(Host* host) {
    Answers(host, Of("u9 'as it was'"), Of(""), "the exit call leaves the section as it is");
    Check(ExitCode(host->process) == 0, "the exit value after the exit call is 0");
    Check(WaitForSingleObject(host->result, 0) == WAIT_TIMEOUT, "the exit call is answered once");
}

// --- What a host with stub models has to do ---

static const struct {
    const char* load;  // the model to load, or the request
    const char* request;
    const char* reply;
} kCalls[] = {
    {"echo 4 1 2", NULL, "u0 s''"},
    {NULL, "u1 u0", "u2"},
    {NULL, "u1 u1", "u1"},
    {NULL, "u1 u7", "u1"},
    {NULL, "u2 u0 u1", "s'x1' u4 u1 u1 u4"},
    {NULL, "u3 u0 u4 'abcd'", "u0 s''"},
    {NULL, "u3 u1 u5 'abcde'", "u-1 s'refused'"},
    {NULL, "u4", "u0 s''"},
    {NULL, "u5 u0 u4", "u4 'abcd' u0 s''"},
    {NULL, "u5 u0 u3", "u3 3=4 u-1 s'refused'"},  // the three bytes that stood there
    {NULL, "u6 u0", "u4 'abcd' u0 s''"},
    {NULL, "u7", "u1 s'kind' s'stub'"},
    {NULL, "u8 u1 u0 u2 u5 u7", "u0 s''"},
    {NULL, "u2 u1 u0", "s'y0' u4 u1 u4 u0 u0 u5 u7"},  // zeros stand before the dimensions that were sent
    {NULL, "u8 u1 u0 u0", "u0 s''"},
    {NULL, "u2 u1 u0", "s'y0' u4 u1 u0"},
    {NULL, "u8 u1 u1 u0", "u-1 s'refused'"},
    {NULL, "u10 'as it was'", ""},
    {NULL, "u-1 'as it was'", ""},
    {"fail for a reason", NULL, "u-1 s' for a reason'"},
    {NULL, "u1 u0", "u0"},
    {NULL, "u4", "u-1 s'Not Init success!'"},
    {NULL, "u7", "u0"},
    {"echo 4", NULL, "u0 s''"},
    {NULL, "u1 u0", "u1"},
};

static void CheckCalls(const wchar_t* program) {
    Host host = Start(program, kUsual);
    for (size_t i = 0; i < sizeof kCalls / sizeof *kCalls; ++i) {
        const bool loads = kCalls[i].load != NULL;
        const char* const shown = loads ? kCalls[i].load : kCalls[i].request;
        Answers(&host, loads ? InitRequest(shown) : Of(shown), Of(kCalls[i].reply), shown);
    }
    Exits(&host);
    Stop(&host);
}

static void CheckUnknownNames(const wchar_t* program) {
    static const wchar_t* const kForms[] = {
        L"x%ls|%ls|%ls|%u", L"%ls|x%ls|%ls|%u", L"%ls|%ls|x%ls|%u", L"%ls|%ls|%ls|9%u", L"%ls", L"",
    };
    for (size_t i = 0; i < sizeof kForms / sizeof *kForms; ++i) {
        Host host = Start(program, kForms[i]);
        Check(ExitCode(host.process) == (DWORD)-1, "the exit value without a channel is -1");
        Stop(&host);
    }
}

// Without a size the section is mapped, but no reply fits. A number that is no call has none.
static void CheckNoRoom(const wchar_t* program) {
    static const wchar_t* const kForms[] = {L"%ls|%ls|%ls|x%u", L"%ls|%ls|%ls"};
    for (size_t i = 0; i < sizeof kForms / sizeof *kForms; ++i) {
        Host host = Start(program, kForms[i]);
        Answers(&host, Of("u10"), Of(""), "a host without room waits for its first call");
        const Bytes load = InitRequest("echo 4");
        Check(Exchange(&host, &load) == kEnded && EndsAbnormally(host.process), "a reply without room ends the host");
        Stop(&host);
    }
}

// A request that a host cannot serve ends it. It is neither answered nor an orderly end.
static void CheckFatalRequests(const wchar_t* program) {
    static const struct {
        const char* load;  // the model, or none
        const char* request;
    } kFatal[] = {
        {NULL, "u1 u0"},
        {NULL, "u2 u0 u0"},
        {NULL, "u3 u0 u0"},
        {NULL, "u4"},
        {NULL, "u5 u0 u0"},
        {NULL, "u6 u0"},
        {NULL, "u7"},
        {NULL, "u8 u0 u0 u0"},
        {"fail", "u3 u0 u0"},
        {"echo 4", "q4"},
        {"echo 4", "u8 u1 u0 u2 q5 q7"},
        {"echo 8192", "u6 u0"},
        {"echo 8169", "u6 u0"},  // one byte more than fits with its status
    };
    for (size_t i = 0; i < sizeof kFatal / sizeof *kFatal; ++i) {
        Host host = Start(program, kUsual);
        if (kFatal[i].load != NULL) {
            const Bytes load = InitRequest(kFatal[i].load);
            Check(Exchange(&host, &load) == kAnswered, kFatal[i].load);
        }
        const Bytes request = Of(kFatal[i].request);
        Check(Exchange(&host, &request) == kEnded && EndsAbnormally(host.process), kFatal[i].request);
        Stop(&host);
    }
}

static void CheckKillOnClose(const wchar_t* program) {
    Host host = Start(program, kUsual);
    const Bytes load = InitRequest("echo 4");
    Check(Exchange(&host, &load) == kAnswered, "a host waits for further calls");
    Check(WaitForSingleObject(host.process, 300) == WAIT_TIMEOUT, "a host stays without a call");
    Stop(&host);
}

// --- What a host with real models has to do ---

// y = x + the three floats in the file beside it, for x and y of shape [1, 3].
static const char kModel[] =
    "<?xml version=\"1.0\"?><net name=\"sum\" version=\"11\"><layers>"
    "<layer id=\"0\" name=\"input\" type=\"Parameter\" version=\"opset1\"><data shape=\"1,3\" element_type=\"f32\"/>"
    "<output><port id=\"0\" precision=\"FP32\" names=\"x\"><dim>1</dim><dim>3</dim></port></output></layer>"
    "<layer id=\"1\" name=\"addend\" type=\"Const\" version=\"opset1\">"
    "<data element_type=\"f32\" shape=\"1,3\" offset=\"0\" size=\"12\"/>"
    "<output><port id=\"0\" precision=\"FP32\"><dim>1</dim><dim>3</dim></port></output></layer>"
    "<layer id=\"2\" name=\"sum\" type=\"Add\" version=\"opset1\"><data auto_broadcast=\"numpy\"/>"
    "<input><port id=\"0\"><dim>1</dim><dim>3</dim></port><port id=\"1\"><dim>1</dim><dim>3</dim></port></input>"
    "<output><port id=\"2\" precision=\"FP32\" names=\"y\"><dim>1</dim><dim>3</dim></port></output></layer>"
    "<layer id=\"3\" name=\"result\" type=\"Result\" version=\"opset1\">"
    "<input><port id=\"0\"><dim>1</dim><dim>3</dim></port></input></layer></layers><edges>"
    "<edge from-layer=\"0\" from-port=\"0\" to-layer=\"2\" to-port=\"0\"/>"
    "<edge from-layer=\"1\" from-port=\"0\" to-layer=\"2\" to-port=\"1\"/>"
    "<edge from-layer=\"2\" from-port=\"2\" to-layer=\"3\" to-port=\"0\"/></edges></net>";

static const float kAddends[] = {0.5F, -2.0F, 100.0F};
static const float kInputs[] = {1.0F, 2.0F, 3.0F};
static const float kSums[] = {1.5F, 0.0F, 103.0F};

static void WriteWholeFile(const wchar_t* path, const void* data, DWORD size) {
    DWORD written = 0;
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    if (file == INVALID_HANDLE_VALUE || !WriteFile(file, data, size, &written, NULL) || written != size) {
        printf("FAILED: cannot write %ls, error %lu\n", path, GetLastError());
        exit(1);
    }
    CloseHandle(file);
}

static void CheckModel(Host* host, const char* modelPath) {
    Bytes reply = Of("u12");
    Append(&reply, kSums, sizeof kSums);
    const Bytes success = Of("u0 s''");
    Append(&reply, success.data, success.size);
    Bytes input = Of("u3 u0 u12");
    Append(&input, kInputs, sizeof kInputs);

    const Bytes missing = InitRequest("no such model.xml");
    const Bytes failure = Of("u-1 4=1");
    Check(Exchange(host, &missing) == kAnswered && memcmp(host->view, failure.data, failure.size) == 0 &&
              host->view[failure.size] != 0,
          "a missing model is a failure with a text");
    Answers(host, Of("u1 u0"), Of("u0"), "no input without a model");
    Answers(host, Of("u4"), Of("u-1 s'Not Init success!'"), "no inference without a model");
    Answers(host, InitRequest(modelPath), success, "the model is loaded");
    Answers(host, Of("u1 u0"), Of("u1"), "one input");
    Answers(host, Of("u1 u1"), Of("u1"), "one output");
    Answers(host, Of("u2 u0 u0"), Of("s'x' u1 u1 u2 u1 u3"), "the input's description");
    Answers(host, Of("u2 u1 u0"), Of("s'y' u1 u1 u2 u1 u3"), "the output's description");
    Answers(host, input, success, "the input is copied in");
    Answers(host, Of("u3 u0 u13 'one too large'"), Of("u-1 s'数据大小错误'"), "a larger input is refused");
    Answers(host, Of("u4"), success, "the model is run");
    Answers(host, Of("u5 u0 u12"), reply, "the sums are copied out");
    Answers(host, Of("u6 u0"), reply, "the sums are copied out whole");
    Answers(host, Of("u7"), Of("u0"), "no extra information");
    Exits(host);
}

// In the temporary folder, under a name with Chinese letters, as users have them.
static void CheckRealHost(const wchar_t* program) {
    Host host = Start(program, kUsual);
    wchar_t folder[MAX_PATH];
    wchar_t description[MAX_PATH + 64], weights[MAX_PATH + 64];
    GetTempPathW(MAX_PATH, folder);
    swprintf(description, MAX_PATH + 64, L"%lsorvane-\u6a21\u578b-%lu.xml", folder, GetCurrentProcessId());
    swprintf(weights, MAX_PATH + 64, L"%lsorvane-\u6a21\u578b-%lu.bin", folder, GetCurrentProcessId());
    WriteWholeFile(description, kModel, sizeof kModel - 1);
    WriteWholeFile(weights, kAddends, sizeof kAddends);
    char modelPath[4 * (MAX_PATH + 64)];
    WideCharToMultiByte(CP_UTF8, 0, description, -1, modelPath, sizeof modelPath, NULL, NULL);

    CheckModel(&host, modelPath);
    Stop(&host);
    DeleteFileW(description);
    DeleteFileW(weights);
}

int wmain(int argc, wchar_t** argv) {
    int intended = 0;
    if (argc == 3 && wcscmp(argv[2], L"stub") == 0) {
        CheckCalls(argv[1]);
        CheckUnknownNames(argv[1]);
        CheckNoRoom(argv[1]);
        CheckFatalRequests(argv[1]);
        CheckKillOnClose(argv[1]);
        intended = 104;
    } else if (argc == 3 && wcscmp(argv[2], L"model") == 0) {
        CheckRealHost(argv[1]);
        intended = 19;
    } else {
        fprintf(stderr, "usage: scripted_client HOST stub|model\n");
        return 2;
    }
    printf("%d checks of %d, %d failed\n", checks, intended, failures);
    return checks == intended && failures == 0 ? 0 : 1;
}
