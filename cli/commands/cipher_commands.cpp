#include "cli/command.h"
#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/model/key.h"
#include "cli/report/progress_bar.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/private_folder.h"

#include <orvane/orvane.hpp>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
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

// Transforms one file to another.
using Cipher = std::function<void(const std::string& in, const std::string& out, const std::vector<uint8_t>& key,
                                  const orvane::FileProgress& progress)>;

void RunWithProgress(const Cipher& cipher, const std::string& in, const std::string& out,
                     const std::vector<uint8_t>& key, const Platform::InterruptFlag& interrupt, std::ostream& err) {
    ProgressBar bar(err);
    try {
        cipher(in, out, key, [&](uint64_t done, uint64_t total) {
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

// Temporary files replace the standard streams. They exist only while Ctrl-C cannot end this process, and while it does
// not wait for another program.
void Run(const Cipher& cipher, const CipherOptions& options, std::ostream& out, std::ostream& err) {
    RefuseSecondStandardInput({options.input, options.key.file.value_or("")});
    const std::vector<uint8_t> key = ReadKey(options.key);
    if (key.empty()) {
        throw WrongUsage("--key K or --key-file FILE is required");
    }
    const bool isInputStandard = IsStandard(options.input);
    const bool isOutputStandard = IsStandard(options.output);
    std::string bytes = isInputStandard ? ReadInput("-") : "";
    {
        const Platform::InterruptFlag interrupt;
        const auto folder = isInputStandard || isOutputStandard ? TemporaryFolder() : nullptr;
        const auto inFolder = [&](const char* name) { return Platform::Utf8FromPath(folder->Path() / name); };
        const std::string in = isInputStandard ? inFolder("in") : options.input;
        const std::string result = isOutputStandard ? inFolder("out") : options.output;
        if (isInputStandard) {
            WriteFile(in, bytes);
        }
        RunWithProgress(cipher, in, result, key, interrupt, err);
        bytes = isOutputStandard ? ReadInput(result) : "";
    }
    out << bytes;
}

uint64_t SizeOf(const std::string& path) {
    std::error_code unknown;
    const auto bytes = std::filesystem::file_size(Platform::PathFromUtf8(path), unknown);
    return unknown ? 0 : bytes;
}

void Encrypt(const CipherOptions& options, std::ostream& out, std::ostream& err) {
    uint64_t padding = 0;
    const auto encrypt = [&](const auto& in, const auto& result, const auto& key, const auto& progress) {
        const uint64_t before = SizeOf(in);  // `result` may be the same file
        try {
            orvane::EncryptFile(in, result, key, options.pad, progress);
        } catch (const orvane::Error& error) {
            const uint64_t rest = before % kPieceBytes;
            if (error.GetReason() == orvane::Reason::Refused && rest > 0 && rest < kWholePiece) {
                throw Failure(error.what(), {"Give --pad."});
            }
            throw;
        }
        padding = std::max(SizeOf(result), before) - before;
    };
    Run(encrypt, options, out, err);
    if (padding > 0) {
        err << "appended " << padding << " bytes, which readers of models ignore\n";
    }
}

std::vector<Argument> ArgumentsForCipher(CipherOptions& options) {
    return Joined({{{"IN", &options.input, "", "The file to read", kRequiredFile},
                    {"OUT", &options.output, "", "The file to write; can be the same as IN", kRequiredFile}},
                   ArgumentsForKey(options.key, "The key, 1 to 4 bytes; give this or --key-file")});
}

}  // namespace

Command EncryptCommand() {
    const auto options = std::make_shared<CipherOptions>();
    const Argument pad = {"--pad", &options->pad, "",
                          "If the cipher cannot restore a file of this length, append up to 15 bytes"};
    return {"encrypt", "Encrypt a model file", "orvane encrypt --key-file key.txt model.onnx secret.onnx",
            Joined({ArgumentsForCipher(*options), {pad}}),
            [options](std::ostream& out, std::ostream& err) { Encrypt(*options, out, err); }};
}

Command DecryptCommand() {
    const auto options = std::make_shared<CipherOptions>();
    return {"decrypt", "Decrypt a file that orvane encrypt has written",
            "orvane decrypt --key-file key.txt secret.onnx model.onnx", ArgumentsForCipher(*options),
            [options](std::ostream& out, std::ostream& err) { Run(orvane::DecryptFile, *options, out, err); }};
}

}  // namespace Orvane::Cli
