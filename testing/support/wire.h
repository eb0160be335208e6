#pragma once

#include "ipc/shared_channel.h"
#include "testing/support/processes.h"

#include <cstddef>
#include <cstdint>
#include <string>

// The bytes of the call protocol, put together without the code that writes them, and a client that sends such bytes.
namespace Orvane::Testing::Wire {

std::string LittleEndian(uint64_t value, size_t size);
std::string Word(uint64_t value);      // a value of 32 bits
std::string LongWord(uint64_t value);  // a value of 64 bits
std::string Text(const std::string& text);

inline const std::string kSuccess = Word(0) + Text("");

// A request to load what `modelPath` says, with the options that there must be and perhaps one more text.
std::string InitRequest(const std::string& modelPath, const std::string& key = "", const std::string& text = "");

// A host program and the client's side of its channel.
class HostUnderTest {
 public:
    static constexpr uint32_t kSize = 8192;

    // With `from` in the arguments replaced by `to`.
    explicit HostUnderTest(const std::string& program, const std::string& from = "", const std::string& to = "");

    // Sends the request, with zeros behind it. False when the host ended instead of answering; it has 10 seconds.
    bool Answers(const std::string& request);

    // The same for a host that has to answer with these bytes, and to leave the rest of the section as it was.
    bool Answers(const std::string& request, const std::string& reply);

    std::string Region() const { return {reinterpret_cast<const char*>(channel.view.Data()), kSize}; }
    bool AnswersAgain() { return channel.resultEvent.Wait(0, Platform::Awaited::Result); }
    std::string End() const { return process.End(); }

 private:
    SharedChannel channel;
    Process process;
};

}  // namespace Orvane::Testing::Wire
