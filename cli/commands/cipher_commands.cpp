#include "cli/commands/commands.h"

#include "cli/failure.h"
#include "cli/model/key.h"
#include "cli/report/progress_bar.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/whole_file.h"

#include <orvane/model_file_cipher.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace Orvane::Cli {
namespace {

struct CipherOptions {
    KeyOptions key;
    std::string input;
    std::string output;
    bool pad = false;
};

using Chunk = std::vector<uint8_t>;

ModelFileCipher MakeCipher(const KeyOptions& options) {
    ModelFileCipher cipher;
    const std::optional<std::string> given = ReadKey(options);
    if (!given) {
        throw WrongUsage("--key K or --key-file FILE is required");
    }
    const std::string& key = *given;
    if (key.empty() || key.size() > cipher.key.size()) {
        throw WrongUsage("--key takes 1 to 4 bytes, not " + std::to_string(key.size()));
    }
    std::copy(key.begin(), key.end(), cipher.key.begin());
    return cipher;
}

// What was done to a last chunk that was filled up, for the user.
std::string Appended(uint32_t count, const Chunk& chunk) {
    return count == 0 ? ""
                      : "appended " + std::to_string(count) + (chunk.back() == ' ' ? " blanks\n" : " zero bytes\n");
}

void Encrypt(const ModelFileCipher& cipher, Chunk& chunk, const std::string& path) {
    if (!cipher.EncryptIfItComesBack(chunk)) {
        throw Failure(
            path + " would not come back whole: its last 4 MiB chunk has only " + std::to_string(chunk.size()) +
                " bytes, and the format loses bits of a chunk of 1 to 15 bytes",
            {"Give --pad: it fills that up to 16 bytes with blanks or zeros, which a reader of models skips."});
    }
}

void CheckUsage(const CipherOptions& options) {
    RefuseEmpty("IN", options.input, "the file to read");
    RefuseEmpty("OUT", options.output, "the file to write");
}

// The file's chunks one after another through `transform`, until Ctrl-C.
template <typename Transform>
void TransformFile(const CipherOptions& options, std::ostream& err, Transform transform) {
    std::error_code unknown;
    const auto size = std::filesystem::file_size(Platform::PathFromUtf8(options.input), unknown);
    const Platform::InterruptFlag interrupt;
    ProgressBar progress(err);
    double done = 0;
    Platform::TransformFile(options.input, options.output, ModelFileCipher::kChunkSize, [&](Chunk& chunk) {
        if (interrupt.IsSet()) {
            throw Failure("interrupted; nothing was written");
        }
        done += static_cast<double>(chunk.size());
        progress.Show(done, unknown ? 0 : static_cast<double>(size));
        transform(chunk);
    });
}

std::vector<Argument> ArgumentsForCipher(CipherOptions& options) {
    return Joined(ArgumentsForKey(options.key, "Key of 1 to 4 bytes"),
                  {{"IN", &options.input, "", "File to read", {.isRequired = true}},
                   {"OUT", &options.output, "", "File to write; may be IN", {.isRequired = true}}});
}

}  // namespace

Command EncryptCommand() {
    const auto options = std::make_shared<CipherOptions>();
    const Argument pad = {"--pad", &options->pad, "",
                          "Append the few bytes without which some lengths do not come back"};
    return {"encrypt", "Encrypt a model file", Joined(ArgumentsForCipher(*options), {pad}),
            [options](std::ostream& out, std::ostream& err) {
                CheckUsage(*options);
                const ModelFileCipher cipher = MakeCipher(options->key);
                std::string padding;  // of the last chunk: only that can be too short
                TransformFile(*options, err, [&](Chunk& chunk) {
                    if (options->pad) {
                        padding = Appended(ModelFileCipher::Pad(chunk), chunk);
                    }
                    Encrypt(cipher, chunk, options->input);
                });
                out << padding;
            }};
}

Command DecryptCommand() {
    const auto options = std::make_shared<CipherOptions>();
    return {"decrypt", "Decrypt a file that encrypt made", ArgumentsForCipher(*options),
            [options](std::ostream&, std::ostream& err) {
                CheckUsage(*options);
                const ModelFileCipher cipher = MakeCipher(options->key);
                TransformFile(*options, err,
                              [&](Chunk& chunk) { cipher.Decrypt(chunk.data(), static_cast<uint32_t>(chunk.size())); });
            }};
}

}  // namespace Orvane::Cli
