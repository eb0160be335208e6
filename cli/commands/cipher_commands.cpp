#include "cli/command.h"
#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/model/key.h"
#include "cli/report/progress_bar.h"
#include "platform/file.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/private_folder.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

namespace Orvane::Cli {
namespace {

constexpr uint64_t kPieceBytes = 4 << 20;  // the cipher transforms pieces of 4 MiB
constexpr uint64_t kWholePiece = 16;       // and cannot restore a shorter piece

struct CipherOptions {
    KeyOptions key;
    std::string input;
    std::string output;
    bool pad = false;
};

// Returns the key, after all checks of the options.
std::vector<uint8_t> CheckedKey(const CipherOptions& options) {
    RefuseSecondStandardInput({options.input, options.key.file.value_or("")});
    std::vector<uint8_t> key = ReadKey(options.key);
    if (key.empty()) {
        throw WrongUsage("--key K or --key-file FILE is required");
    }
    return key;
}

// The files of a command, or temporary files that replace the standard streams.
class CipherFiles {
 public:
    explicit CipherFiles(const CipherOptions& options) : in(options.input), out(options.output) {
        if (!IsStandard(in) && !IsStandard(out)) {
            return;
        }
        folder.emplace(std::filesystem::temp_directory_path() / "orvane");
        if (IsStandard(in)) {
            in = Platform::Utf8FromPath(folder->Path() / "in");
            WriteFile(in, ReadInput("-"));
        }
        if (IsStandard(out)) {
            out = Platform::Utf8FromPath(folder->Path() / "out");
            printsResult = true;
        }
    }

    uint64_t InputBytes() const { return Bytes(in); }
    uint64_t OutputBytes() const { return Bytes(out); }

    void PrintResult(std::ostream& standard) const {
        if (printsResult) {
            standard << Platform::OpenInputFile(out).rdbuf();
        }
    }

    std::string in;
    std::string out;

 private:
    static uint64_t Bytes(const std::string& path) {
        std::error_code unknown;
        const auto bytes = std::filesystem::file_size(Platform::PathFromUtf8(path), unknown);
        return unknown ? 0 : bytes;
    }

    std::optional<Platform::PrivateFolder> folder;
    bool printsResult = false;
};

// Calls `transform` with a progress callback for the SDK. Ctrl-C cancels the call.
template <typename Transform>
void WithProgress(std::ostream& err, Transform transform) {
    const Platform::InterruptFlag interrupt;
    ProgressBar bar(err);
    try {
        transform([&](uint64_t done, uint64_t total) {
            bar.Show(static_cast<double>(done), static_cast<double>(total));
            return !interrupt.IsSet();
        });
    } catch (const orvane::Error& error) {
        if (error.GetReason() == orvane::Reason::Cancelled) {
            throw Failure("interrupted; nothing was written");
        }
        throw;
    }
}

void Encrypt(const CipherOptions& options, std::ostream& out, std::ostream& err) {
    const std::vector<uint8_t> key = CheckedKey(options);
    const CipherFiles files(options);
    const uint64_t before = files.InputBytes();
    try {
        WithProgress(
            err, [&](const auto& progress) { orvane::EncryptFile(files.in, files.out, key, options.pad, progress); });
    } catch (const orvane::Error& error) {
        const uint64_t rest = before % kPieceBytes;
        const bool needsPad = error.GetReason() == orvane::Reason::Refused && rest > 0 && rest < kWholePiece;
        throw Failure(error.what(), needsPad ? std::vector<std::string>{"Give --pad."} : std::vector<std::string>());
    }
    files.PrintResult(out);
    if (const uint64_t after = files.OutputBytes(); after > before) {
        err << "appended " << after - before << " bytes, which readers of models ignore\n";
    }
}

void Decrypt(const CipherOptions& options, std::ostream& out, std::ostream& err) {
    const std::vector<uint8_t> key = CheckedKey(options);
    const CipherFiles files(options);
    WithProgress(err, [&](const auto& progress) { orvane::DecryptFile(files.in, files.out, key, progress); });
    files.PrintResult(out);
}

std::vector<Argument> ArgumentsForCipher(CipherOptions& options) {
    return Joined({{{"IN", &options.input, "", "The file to read", kRequiredFile},
                    {"OUT", &options.output, "", "The file to write; can be the same as IN", kRequiredFile}},
                   ArgumentsForKey(options.key, "The key, 1 to 4 bytes")});
}

}  // namespace

Command EncryptCommand() {
    const auto options = std::make_shared<CipherOptions>();
    const Argument pad = {"--pad", &options->pad, "",
                          "Pad a file whose length the cipher cannot restore, with up to 15 bytes"};
    return {"encrypt", "Encrypt a model file", "orvane encrypt --key-file key.txt model.onnx secret.onnx",
            Joined({ArgumentsForCipher(*options), {pad}}),
            [options](std::ostream& out, std::ostream& err) { Encrypt(*options, out, err); }};
}

Command DecryptCommand() {
    const auto options = std::make_shared<CipherOptions>();
    return {"decrypt", "Decrypt a file that orvane encrypt has written",
            "orvane decrypt --key-file key.txt secret.onnx model.onnx", ArgumentsForCipher(*options),
            [options](std::ostream& out, std::ostream& err) { Decrypt(*options, out, err); }};
}

}  // namespace Orvane::Cli
