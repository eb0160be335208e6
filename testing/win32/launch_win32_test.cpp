// How a client on Windows fails to start its host, what it leaves open then, how hosts end without a dialogue, and in
// which encoding the system's texts reach the user.
#include "host/dispatcher.h"
#include "ipc/call_protocol.h"
#include "ipc/shared_channel.h"
#include "platform/last_error.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/section.h"
#include "testing/support/host_fixture.h"
#include "testing/win32/spy.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <regex>

namespace Orvane {
namespace {

using namespace Testing;

using Kinds = std::vector<std::string>;

// The functions that can fail while a client makes a channel and starts a host, and those that close handles.
struct LaunchSpies {
    Spy<"CreateEventW", decltype(CreateEventW)> createEvent;
    Spy<"CreateFileMappingW", decltype(CreateFileMappingW)> createSection;
    Spy<"MapViewOfFile", decltype(MapViewOfFile)> mapView;
    Spy<"OpenProcessToken", decltype(OpenProcessToken)> openToken;
    Spy<"CreateJobObjectW", decltype(CreateJobObjectW)> createJob;
    Spy<"SetInformationJobObject", decltype(SetInformationJobObject)> limitJob;
    Spy<"CreateProcessAsUserW", decltype(CreateProcessAsUserW)> createProcess;
    Spy<"AssignProcessToJobObject", decltype(AssignProcessToJobObject)> assign;
    Spy<"UnmapViewOfFile", decltype(UnmapViewOfFile)> unmapView;
    Spy<"CloseHandle", decltype(CloseHandle)> closeHandle;
};

class Launch : public HostFixture {
 protected:
    void TearDown() override {
        Forget();
        HostFixture::TearDown();
    }

    static void Forget() {
        seenCount = 0;
        openHandles.clear();
        failingCall.clear();
    }

    std::string Init(const std::string& host = kStubHost) { return Shown(remote->Init(Params("echo 4", "", host))); }
};

TEST_F(Launch, ReportsTheTextAndTheSystemErrorOfEachFailure) {
    const struct {
        const char* call;
        const char* text;
        Kinds left;  // never closed
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
        EXPECT_EQ(Children().size(), left.size() > 1 ? 1U : 0U) << "a process that is in no job stays, deliberately";
        for (const uint32_t child : Children()) {
            const Process host(child);
            EXPECT_TRUE(host.Lives(std::chrono::milliseconds(100))) << "its main thread was never resumed";
            host.Kill();
            host.End();
        }
        EXPECT_EQ(Init(), kOk) << "after " << call;
        remote = CreateRemoteBackend();
        Kinds open;
        std::transform(openHandles.begin(), openHandles.end(), std::back_inserter(open),
                       [](const auto& handle) { return handle.second; });
        std::sort(open.begin(), open.end());
        EXPECT_EQ(open, left) << call;
        EXPECT_EQ(LeftBehind(), "");
    }
    EXPECT_EQ(Init(std::string(1000, 'x')), std::to_string(ERROR_FILENAME_EXCED_RANGE) + " CreateProcessAsUser error");
}

TEST_F(Launch, ReleaseWritesTheExitCall) {
    SharedChannel before;
    before.Create(4096);
    EXPECT_EQ(Init(), kOk);
    // The channel of the backend has the next number.
    std::smatch parts;
    std::regex_search(before.hostArguments, parts, std::regex(R"((Channel_\d+d_)(\d+))"));
    const std::string next = parts.str(1) + std::to_string(std::stoi(parts.str(2)) + 1);
    const Platform::View view = Platform::Section::Open(next).Map(0);
    ASSERT_TRUE(view);
    remote->Release();
    EXPECT_EQ(std::memcmp(view.Data(), "\4\0\0\0\x09\0\0\0", 8), 0);
}

TEST_F(Launch, HostHasNoConsole) {
    for (const char* host : {"stub_host", "orvane_host"}) {
        std::ifstream file(Platform::PathFromUtf8(Platform::ProgramBeside(host)), std::ios::binary);
        IMAGE_DOS_HEADER start{};
        IMAGE_NT_HEADERS64 headers{};
        file.read(reinterpret_cast<char*>(&start), sizeof start);
        file.seekg(start.e_lfanew).read(reinterpret_cast<char*>(&headers), sizeof headers);
        EXPECT_EQ(headers.OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI) << host;
    }
}

TEST_F(Launch, HostDiesWithoutADialog) {
    for (const std::string way : {"abort", "throw-in-a-thread", "write-nowhere", "close-no-file"}) {
        ASSERT_EQ(Shown(remote->Init(Params("echo 4", way))), kOk);
        const Process host(Children().at(0));
#ifdef __MINGW32__
        const bool returns = way == "close-no-file";  // with msvcrt.dll, MinGW never calls the handler
#else
        const bool returns = false;
#endif
        EXPECT_EQ(remote->Invoke().Ok(), returns) << way;
        EXPECT_TRUE(returns || host.End() == "failed fast") << way;
    }
}

BOOL WINAPI ReportAlive(HANDLE /*process*/, DWORD* exitCode) {
    *exitCode = STILL_ACTIVE;
    return TRUE;
}

TEST_F(Launch, ClientStopsWaitingAfter55Hours) {
    ASSERT_EQ(Shown(remote->Init(Params("echo 4", "sleep 50000"))), kOk);
    const Spy<"WaitForSingleObject", decltype(WaitForSingleObject)> wait;
    failingCall = "WaitForSingleObject";
    void** const import = ImportOf("GetExitCodeProcess");
    void* const real = *import;
    SetImport(import, reinterpret_cast<void*>(&ReportAlive));  // under Wine a million real calls take a minute
    EXPECT_EQ(Shown(remote->Invoke()), kHostExit);
    SetImport(import, real);
    EXPECT_EQ(seenCount, 1'000'001U);
    EXPECT_EQ(lastNumber, 200U) << "milliseconds";
}

TEST_F(Launch, HostReadsTheRequestAfterAFailedWait) {
    SharedChannel client;
    client.Create(4096);
    WriteRequest(client.message, CallExit);  // without setting the event
    HostSession session;
    session.channel.Open(client.hostArguments);
    {
        const Spy<"WaitForSingleObject", decltype(WaitForSingleObject)> wait;
        failingCall = "WaitForSingleObject";
        Serve(session);
        EXPECT_EQ(seenCount, 1U);
        EXPECT_EQ(lastNumber, INFINITE);
    }
    EXPECT_TRUE(client.resultEvent.Wait(0, Platform::Awaited::Result));
}

TEST(SystemMessage, IsUtf8InAnyLanguage) {
    EXPECT_EQ(Platform::SystemMessage(0xFFFF'0000), "error 4294901760");
    const LCID language = GetThreadLocale();
    ASSERT_NE(SetThreadLocale(MAKELCID(MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_SIMPLIFIED), SORT_DEFAULT)), FALSE);
    const std::string text = Platform::SystemMessage(ERROR_ACCESS_DENIED);
    SetThreadLocale(language);
    if (!text.empty() && static_cast<unsigned char>(text.front()) < 0x80) {
        GTEST_SKIP() << "this Windows has no Chinese texts: " << text;
    }
    EXPECT_NE(text.find("\xE6\x8B\x92\xE7\xBB\x9D"), std::string::npos) << "U+62D2 U+7EDD, refuse: " << text;
}

}  // namespace
}  // namespace Orvane
