// What a client on Windows asks of the system to start, call and leave its host, and what is left when that fails.
#include "host/dispatcher.h"
#include "ipc/call_protocol.h"
#include "ipc/shared_channel.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/win32/handle.h"
#include "testing/support/host_fixture.h"
#include "testing/win32/spy.h"

#include <algorithm>
#include <cstring>
#include <fstream>

namespace Orvane {
namespace {

using namespace Testing;

// Rights as the spies show them.
const std::string kEventAccess = std::to_string(0x00100002);
const std::string kSectionAccess = std::to_string(0x000F001F);
const std::string kTokenAccess = std::to_string(0x000F01FF);

using Calls = std::vector<std::string>;

// All calls that making a channel, starting a host and leaving it take.
struct LaunchSpies {
    Spy<"CreateEventW", decltype(CreateEventW)> createEvent;
    Spy<"CreateFileMappingW", decltype(CreateFileMappingW)> createSection;
    Spy<"MapViewOfFile", decltype(MapViewOfFile)> mapView;
    Spy<"OpenProcessToken", decltype(OpenProcessToken)> openToken;
    Spy<"CreateJobObjectW", decltype(CreateJobObjectW)> createJob;
    Spy<"SetInformationJobObject", decltype(SetInformationJobObject)> limitJob;
    Spy<"SetErrorMode", decltype(SetErrorMode)> setErrorMode;
    Spy<"CreateProcessAsUserW", decltype(CreateProcessAsUserW)> createProcess;
    Spy<"AssignProcessToJobObject", decltype(AssignProcessToJobObject)> assign;
    Spy<"ResumeThread", decltype(ResumeThread)> resume;
    Spy<"SetEvent", decltype(SetEvent)> setEvent;
    Spy<"UnmapViewOfFile", decltype(UnmapViewOfFile)> unmapView;
    Spy<"CloseHandle", decltype(CloseHandle)> closeHandle;
};

// What stands in the text between the first `from` and the `to` that follows.
std::string Between(const std::string& text, const std::string& from, const std::string& to) {
    const size_t first = text.find(from) + from.size();
    return text.substr(first, text.find(to, first) - first);
}

class Launch : public HostFixture {
 protected:
    void TearDown() override {
        Forget();
        HostFixture::TearDown();
    }

    static void Forget() {
        seenCalls.clear();
        seenCount = 0;
        openHandles.clear();
        failingCall.clear();
    }

    std::string Init(const std::string& host = kStubHost) { return Shown(remote->Init(Params("echo 4", "", host))); }
};

TEST_F(Launch, MakesTheseCallsAndReleasesInThisOrder) {
    constexpr UINT kOwnErrorMode = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX;
    const UINT before = SetErrorMode(kOwnErrorMode);
    const LaunchSpies spies;
    EXPECT_EQ(Init(), kOk);
    EXPECT_EQ(GetErrorMode(), kOwnErrorMode);
    const Calls launch = std::exchange(seenCalls, {});
    SetErrorMode(before);

    const std::string suffix = Between(launch.at(0), "Result", ")");
    const auto moduleWord = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(GetModuleHandleW(nullptr)));
    EXPECT_EQ(suffix.find("_" + std::to_string(moduleWord) + "d_"), 0U) << suffix;
    const std::string commandLine =
        "\"" + kStubHost + "\" Result" + suffix + "|Call" + suffix + "|Channel" + suffix + "|22021120";
    // `OpenProcessToken` gets this process, whose pseudo-handle has the value of an invalid handle. `ResumeThread`
    // gives the count of suspensions before: the host had not run until now.
    const Calls expected = {
        "CreateEventW(null, 0, 0, Result" + suffix + ") = Result",
        "CreateEventW(null, 0, 0, Call" + suffix + ") = Call",
        "CreateFileMappingW(invalid, null, 4, 0, 22021120, Channel" + suffix + ") = Channel",
        "MapViewOfFile(Channel, " + kSectionAccess + ", 0, 0, 22021120) = view",
        "OpenProcessToken(invalid, " + kTokenAccess + ", *) = 1",
        "CreateJobObjectW(null, null) = job",
        "SetInformationJobObject(job, 9, *, 144) = 1",
        "SetErrorMode(1) = 3",
        "CreateProcessAsUserW(token, null, " + commandLine + ", null, null, 0, 4, null, null, *, *) = 1",
        "SetErrorMode(3) = 1",
        "AssignProcessToJobObject(job, process) = 1",
        "ResumeThread(thread) = 1",
        "CloseHandle(thread) = 1",
        "CloseHandle(token) = 1",
        "SetEvent(Call) = 1",
    };
    EXPECT_EQ(launch, expected);

    const std::wstring name = Platform::WideFromUtf8("Channel" + suffix);
    const Platform::Handle section(OpenFileMappingW(FILE_MAP_READ, FALSE, name.c_str()));
    const void* const view = MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 8);
    ASSERT_NE(view, nullptr);
    seenCalls.clear();
    remote->Release();
    const Calls released = {"CloseHandle(job) = 1", "CloseHandle(process) = 1", "UnmapViewOfFile(view) = 1",
                            "CloseHandle(Channel) = 1"};
    EXPECT_EQ(seenCalls, released) << "nobody is told, and the events stay open";
    EXPECT_EQ(std::memcmp(view, "\4\0\0\0\x09\0\0\0", 8), 0) << "the exit call is written";
    UnmapViewOfFile(view);
    seenCalls.clear();
    remote.reset();
    EXPECT_EQ(seenCalls, (Calls{"CloseHandle(Call) = 1", "CloseHandle(Result) = 1"}));
}

TEST_F(Launch, EachFailureHasItsTextAndTheSystemsError) {
    const struct {
        const char* call;
        const char* text;
        Calls left;  // open for good
    } cases[] = {
        {"CreateEventW", "CreateEvent result error ", {}},
        {"CreateFileMappingW", "CreateFileMapping error", {}},
        {"MapViewOfFile", "MapViewOfFile error", {}},
        {"OpenProcessToken", "OpenProcessToken error", {}},
        {"CreateJobObjectW", "CreateJobObject error", {"token"}},
        {"SetInformationJobObject", "SetInformationJobObject error", {"token"}},
        {"CreateProcessAsUserW", "CreateProcessAsUser error", {"token"}},
        {"AssignProcessToJobObject", "AssignProcessToJobObject error", {"process", "thread", "token"}},
    };
    const UINT errorMode = GetErrorMode();
    const LaunchSpies spies;
    for (const auto& [call, text, left] : cases) {
        Forget();
        failingCall = call;
        EXPECT_EQ(Init(), std::to_string(kForcedError) + " " + text);
        failingCall.clear();
        EXPECT_EQ(GetErrorMode(), errorMode) << call;
        const bool released = std::none_of(openHandles.begin(), openHandles.end(),
                                           [](const auto& handle) { return handle.second == "view"; });
        EXPECT_TRUE(released) << call;
        EXPECT_EQ(Children().size(), left.size() > 1 ? 1U : 0U)
            << "only what is in no job is left behind, deliberately";
        for (const uint32_t child : Children()) {
            const Process host(child);
            EXPECT_TRUE(host.Lives(std::chrono::milliseconds(100))) << "it never ran";
            host.Kill();
            host.End();
        }
        EXPECT_EQ(Init(), kOk) << "after " << call;
        remote = CreateRemoteBackend();
        Calls open;
        std::transform(openHandles.begin(), openHandles.end(), std::back_inserter(open),
                       [](const auto& handle) { return handle.second; });
        std::sort(open.begin(), open.end());
        EXPECT_EQ(open, left) << call;
        EXPECT_EQ(LeftBehind(), "");
    }
    EXPECT_EQ(Init(std::string(1000, 'x')), std::to_string(ERROR_FILENAME_EXCED_RANGE) + " CreateProcessAsUser error");
}

TEST_F(Launch, TheHostIsAProgramWithoutAConsole) {
    for (const char* host : {"stub_host", "orvane_host"}) {
        std::ifstream file(Platform::PathFromUtf8(Platform::ProgramBeside(host)), std::ios::binary);
        IMAGE_DOS_HEADER start{};
        IMAGE_NT_HEADERS64 headers{};
        file.read(reinterpret_cast<char*>(&start), sizeof start);
        file.seekg(start.e_lfanew).read(reinterpret_cast<char*>(&headers), sizeof headers);
        EXPECT_EQ(headers.OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI) << host;
    }
}

TEST_F(Launch, AHostDiesWithoutADialogue) {
    for (const std::string way : {"abort", "throw-in-a-thread", "write-nowhere", "close-no-file"}) {
        ASSERT_EQ(Shown(remote->Init(Params("echo 4", way))), kOk);
        const Process host(Children().at(0));
#ifdef __MINGW32__
        const bool returns = way == "close-no-file";  // over msvcrt.dll MinGW keeps the handler for itself
#else
        const bool returns = false;
#endif
        EXPECT_EQ(remote->Invoke().Ok(), returns) << way;
        EXPECT_TRUE(returns || host.End() == "failed fast") << way;
    }
}

TEST_F(Launch, ALivingHostIsGivenUpAfter55Hours) {
    ASSERT_EQ(Shown(remote->Init(Params("echo 4", "sleep 50000"))), kOk);
    const Spy<"WaitForSingleObject", decltype(WaitForSingleObject)> wait;
    failingCall = "WaitForSingleObject";
    EXPECT_EQ(Shown(remote->Invoke()), kHostExit);
    EXPECT_EQ(seenCount, 1'000'001U);
    EXPECT_EQ(seenCalls.at(0), "WaitForSingleObject(*, 200) = 4294967295");
}

TEST_F(Launch, AHostLooksAtTheRequestWhateverItsWaitReturns) {
    SharedChannel client;
    client.Create(4096);
    WriteRequest(client.message, CallExit);  // and not signalled
    HostSession session;
    session.channel.Open(client.hostArguments);
    {
        const Spy<"WaitForSingleObject", decltype(WaitForSingleObject)> wait;
        failingCall = "WaitForSingleObject";
        Serve(session);
        EXPECT_EQ(seenCalls, Calls{"WaitForSingleObject(*, 4294967295) = 4294967295"});
    }
    EXPECT_TRUE(client.resultEvent.Wait(0, Platform::Awaited::Result));
}

TEST_F(Launch, AHostOpensItsChannelWithTheseCalls) {
    SharedChannel client;
    client.Create(4096);
    const std::string suffix = Between(client.hostArguments, "Result", "|");
    seenCalls.clear();
    {
        const Spy<"OpenEventW", decltype(OpenEventW)> openEvent;
        const Spy<"OpenFileMappingW", decltype(OpenFileMappingW)> openSection;
        const Spy<"MapViewOfFile", decltype(MapViewOfFile)> mapView;
        const Spy<"CloseHandle", decltype(CloseHandle)> closeHandle;
        SharedChannel host;
        host.Open(client.hostArguments);
        const Calls expected = {
            "OpenEventW(" + kEventAccess + ", 0, Result" + suffix + ") = Result",
            "OpenEventW(" + kEventAccess + ", 0, Call" + suffix + ") = Call",
            "OpenFileMappingW(" + kSectionAccess + ", 0, Channel" + suffix + ") = Channel",
            "MapViewOfFile(Channel, " + kSectionAccess + ", 0, 0, 4096) = view",
            "CloseHandle(Channel) = 1",
        };
        EXPECT_EQ(seenCalls, expected);
    }
}

}  // namespace
}  // namespace Orvane
