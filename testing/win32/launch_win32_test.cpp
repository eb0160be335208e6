// How a client starts its host: the calls that it makes, what the host sees of them, and what is left when one fails.
#include <orvane/interpreter.h>

#include "core/backend_factory.h"
#include "core/system_exception.h"
#include "ipc/shared_channel.h"
#include "platform/path.h"
#include "testing/round_trips.h"
#include "testing/temporary_folder.h"
#include "testing/win32/processes.h"
#include "testing/win32/spy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <unordered_map>

namespace Orvane {
namespace {

using namespace Testing;

const std::string kScriptedHost = Platform::ProgramBeside("scripted_host");

// Rights as the spies show them.
const std::string kEventAccess = std::to_string(0x00100002);
const std::string kSectionAccess = std::to_string(0x000F001F);
const std::string kTokenAccess = std::to_string(0x000F01FF);

// All calls that making a channel and starting a host take.
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
};

// What stands in the text between the first `from` and the `to` that follows.
std::string Between(const std::string& text, const std::string& from, const std::string& to) {
    const size_t first = text.find(from) + from.size();
    return text.substr(first, text.find(to, first) - first);
}

class Launch : public testing::Test {
 protected:
    void SetUp() override {
        seenCalls.clear();
        failingCall.clear();
    }
    void TearDown() override {
        backend.reset();
        EXPECT_TRUE(NoChildren());
    }

    std::string Init(const std::string& host) { return Shown(backend->Init(Params("answer", "", host))); }

    std::unique_ptr<IOrvane> backend = CreateRemoteBackend();

 private:
    Watchdog watchdog;
};

TEST_F(Launch, MakesTheseCalls) {
    constexpr UINT kOwnErrorMode = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX;
    const UINT before = SetErrorMode(kOwnErrorMode);
    {
        const LaunchSpies spies;
        EXPECT_EQ(Init(kScriptedHost), kOk);
    }
    EXPECT_EQ(GetErrorMode(), kOwnErrorMode);
    SetErrorMode(before);

    const std::string suffix = Between(seenCalls.at(0), "Result", ")");
    const auto moduleWord = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(GetModuleHandleW(nullptr)));
    EXPECT_EQ(suffix.find("_" + std::to_string(moduleWord) + "d_"), 0U) << suffix;
    const std::string commandLine =
        "\"" + kScriptedHost + "\" Result" + suffix + "|Call" + suffix + "|Channel" + suffix + "|22021120";
    // `OpenProcessToken` gets this process, whose pseudo-handle has the value of an invalid handle. `ResumeThread`
    // gives the count of suspensions before: the host had not run until now.
    const std::vector<std::string> expected = {
        "CreateEventW(null, 0, 0, Result" + suffix + ") = *",
        "CreateEventW(null, 0, 0, Call" + suffix + ") = *",
        "CreateFileMappingW(invalid, null, 4, 0, 22021120, Channel" + suffix + ") = *",
        "MapViewOfFile(*, " + kSectionAccess + ", 0, 0, 22021120) = *",
        "OpenProcessToken(invalid, " + kTokenAccess + ", *) = 1",
        "CreateJobObjectW(null, null) = *",
        "SetInformationJobObject(*, 9, *, 144) = 1",
        "SetErrorMode(1) = 3",
        "CreateProcessAsUserW(*, null, " + commandLine + ", null, null, 0, 4, null, null, *, *) = 1",
        "SetErrorMode(3) = 1",
        "AssignProcessToJobObject(*, *) = 1",
        "ResumeThread(*) = 1",
    };
    EXPECT_EQ(seenCalls, expected);

    std::unordered_map<std::string, std::string> report = backend->GetExtraInfo();
    if (UnderWine()) {
        report["error mode"] = "1";  // Wine does not hand it on
    }
    const std::unordered_map<std::string, std::string> expectedReport = {
        {"command line", commandLine}, {"in a job", "yes"}, {"has a console", "no"}, {"error mode", "1"}};
    EXPECT_EQ(report, expectedReport);
}

TEST_F(Launch, EachFailureHasItsTextAndTheSystemsError) {
    const std::pair<const char*, const char*> cases[] = {
        {"CreateEventW", "CreateEvent result error "},
        {"CreateFileMappingW", "CreateFileMapping error"},
        {"MapViewOfFile", "MapViewOfFile error"},
        {"OpenProcessToken", "OpenProcessToken error"},
        {"CreateJobObjectW", "CreateJobObject error"},
        {"SetInformationJobObject", "SetInformationJobObject error"},
        {"CreateProcessAsUserW", "CreateProcessAsUser error"},
        {"AssignProcessToJobObject", "AssignProcessToJobObject error"},
    };
    const UINT errorMode = GetErrorMode();
    for (const auto& [call, text] : cases) {
        {
            const LaunchSpies spies;
            failingCall = call;
            EXPECT_EQ(Init(kScriptedHost), std::to_string(kForcedError) + " " + text);
        }
        EXPECT_EQ(GetErrorMode(), errorMode) << call;
        for (const DWORD child : Children()) {
            EXPECT_STREQ(call, "AssignProcessToJobObject") << "only what is in no job is left behind, deliberately";
            const Handle host = OpenProcessToEnd(child);
            EXPECT_TRUE(Lives(host, 100)) << "it never ran";
            TerminateProcess(host.Get(), 1);
            End(host);
        }
        EXPECT_EQ(Init(kScriptedHost), kOk) << "after " << call;
        backend->Release();
        EXPECT_TRUE(NoChildren());
    }
}

TEST_F(Launch, AStartThatWindowsRefusesHasItsError) {
    const TemporaryFolder folder;
    const std::string text = folder.Write("文本.exe", std::string("no program"));
    const std::pair<std::string, std::vector<DWORD>> cases[] = {
        {folder.Path("missing.exe"), {ERROR_FILE_NOT_FOUND}},
        {folder.Path("missing/host.exe"), {ERROR_PATH_NOT_FOUND, ERROR_FILE_NOT_FOUND}},  // the latter is Wine's
        {text, {ERROR_BAD_EXE_FORMAT}},
        {std::string(1000, 'x'), {ERROR_FILENAME_EXCED_RANGE}},
    };
    const UINT errorMode = GetErrorMode();
    for (const auto& [host, errors] : cases) {
        const std::string outcome = Init(host);
        EXPECT_TRUE(
            std::any_of(errors.begin(), errors.end(),
                        [&](DWORD error) { return outcome == std::to_string(error) + " CreateProcessAsUser error"; }))
            << outcome << ": " << host;
        EXPECT_EQ(GetErrorMode(), errorMode);
    }
}

TEST_F(Launch, FindsAProgramUnderAnyName) {
    const TemporaryFolder folder;
    const std::string copy = folder.Path("主机 100% 'x' & y.exe");
    std::filesystem::copy_file(Platform::PathFromUtf8(kScriptedHost), Platform::PathFromUtf8(copy));
    EXPECT_EQ(Init(copy), kOk);
    const std::string commandLine = backend->GetExtraInfo()["command line"];
    EXPECT_EQ(commandLine.substr(0, copy.size() + 3), "\"" + copy + "\" ");
    const Handle host = OpenProcessToEnd(Children().at(0));
    backend->Release();
    End(host);  // or the folder could not be removed
}

// A pipe whose writing end a child process would inherit.
struct InheritablePipe {
    InheritablePipe() {
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        HANDLE ends[2]{};
        CreatePipe(&ends[0], &ends[1], &inheritable, 0);
        reading = Handle(ends[0]);
        writing = Handle(ends[1]);
    }

    // True when nobody can write into it any more.
    bool IsBroken() const {
        return PeekNamedPipe(reading.Get(), nullptr, 0, nullptr, nullptr, nullptr) == 0 &&
               GetLastError() == ERROR_BROKEN_PIPE;
    }

    Handle reading;
    Handle writing;
};

TEST_F(Launch, HandsOnNoHandle) {
    InheritablePipe any;
    InheritablePipe output;
    HANDLE before = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, output.writing.Get());
    EXPECT_EQ(Init(kScriptedHost), kOk);
    SetStdHandle(STD_OUTPUT_HANDLE, before);
    EXPECT_FALSE(any.IsBroken());
    any.writing.Close();
    output.writing.Close();
    EXPECT_TRUE(any.IsBroken());
    // Wine gives the standard three to every program, Windows only to one for the console, which a host is not.
    EXPECT_TRUE(output.IsBroken() || UnderWine());
}

// --- The objects ---

// "5 text" of the exception that this throws, or "made".
template <typename Action>
std::string Failure(Action action) {
    try {
        action();
        return "made";
    } catch (const SystemException& error) {
        return std::to_string(error.Code()) + " " + error.what();
    }
}

// The name that the next channel of this process gives to one of its objects.
std::string NextName(const std::string& prefix) {
    SharedChannel channel;
    channel.Create(4096);
    const std::string number = Between(channel.hostArguments, "d_", "|");
    return prefix + Between(channel.hostArguments, "Result", "d_") + "d_" + std::to_string(std::stoi(number) + 1);
}

TEST(Channel, FindsItsNamesTaken) {
    const auto create = [] {
        SharedChannel channel;
        channel.Create(4096);
    };
    const struct {
        const char* prefix;
        bool byEvent;
        const char* failure;
    } cases[] = {
        {"Result", false, "6 CreateEvent result error "},
        {"Call", false, "6 CreateEvent call error"},
        {"Channel", true, "6 CreateFileMapping error"},
        {"Result", true, "made"},
        {"Call", true, "made"},
    };
    for (const auto& [prefix, byEvent, failure] : cases) {
        const std::string name = NextName(prefix);
        const Platform::Event event = byEvent ? Platform::Event::Create(name) : Platform::Event();
        const Platform::Section section = byEvent ? Platform::Section() : Platform::Section::Create(name, 4096);
        EXPECT_EQ(Failure(create), failure) << name;
    }
    const Platform::Section smaller = Platform::Section::Create(NextName("Channel"), 1);
    EXPECT_EQ(Failure([] { SharedChannel().Create(4097); }), "5 MapViewOfFile error");
}

TEST(Channel, OpensWithTheseCalls) {
    SharedChannel client;
    client.Create(4096);
    const std::string& arguments = client.hostArguments;
    const std::string suffix = Between(arguments, "Result", "|");
    seenCalls.clear();
    {
        const Spy<"OpenEventW", decltype(OpenEventW)> openEvent;
        const Spy<"OpenFileMappingW", decltype(OpenFileMappingW)> openSection;
        const Spy<"MapViewOfFile", decltype(MapViewOfFile)> mapView;
        SharedChannel().Open(arguments);
    }
    const std::vector<std::string> expected = {
        "OpenEventW(" + kEventAccess + ", 0, Result" + suffix + ") = *",
        "OpenEventW(" + kEventAccess + ", 0, Call" + suffix + ") = *",
        "OpenFileMappingW(" + kSectionAccess + ", 0, Channel" + suffix + ") = *",
        "MapViewOfFile(*, " + kSectionAccess + ", 0, 0, 4096) = *",
    };
    EXPECT_EQ(seenCalls, expected);

    const auto open = [&](const std::string& from, const std::string& to) {
        return Failure([&] { SharedChannel().Open(std::string(arguments).replace(arguments.rfind(from), 1, to)); });
    };
    EXPECT_EQ(open("Result", "x"), "2 OpenEvent result error");
    EXPECT_EQ(open("Call", "x"), "2 OpenEvent call error");
    EXPECT_EQ(open("Channel", "x"), "2 OpenFileMapping error");
    EXPECT_EQ(open("4096", "5"), "5 MapViewOfFile error");
}

TEST(Channel, EventsReleaseOneWaitAndAreShared) {
    Platform::Event event = Platform::Event::Create("OrvaneTestEvent");
    Platform::Event again = Platform::Event::Create("OrvaneTestEvent");
    Platform::Event opened = Platform::Event::Open("OrvaneTestEvent");
    event.Set();
    again.Set();
    EXPECT_TRUE(opened.Wait(0, Platform::Awaited::Work));
    EXPECT_FALSE(event.Wait(0, Platform::Awaited::Work));
    EXPECT_FALSE(again.Wait(10, Platform::Awaited::Work));
    event = Platform::Event();
    again = Platform::Event();
    opened = Platform::Event();
    EXPECT_FALSE(Platform::Event::Open("OrvaneTestEvent"));
}

TEST(Channel, ViewsOutliveTheirSection) {
    Platform::Section section = Platform::Section::Create("OrvaneTestSection", 4096);
    Platform::Section again = Platform::Section::Create("OrvaneTestSection", 8192);
    const Platform::View view = section.Map(4096);
    const Platform::View whole = again.Map(0);
    ASSERT_TRUE(view && whole);
    EXPECT_FALSE(again.Map(8192)) << "it has the size that it was made with";
    section = Platform::Section();
    again = Platform::Section();
    view.Data()[4095] = 7;
    EXPECT_EQ(whole.Data()[4095], 7);
    EXPECT_FALSE(Platform::Section::Open("OrvaneTestSection"));
}

}  // namespace
}  // namespace Orvane
