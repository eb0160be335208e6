#include "cli/commands/commands.h"

#include "cli/failure.h"
#include "cli/model/key.h"
#include "cli/report/progress_bar.h"
#include "platform/input_file.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/whole_file.h"

#include <orvane/model_file_cipher.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace Orvane::Cli {
namespace {

constexpr std::size_t kSmallestSafeChunk = 16;

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

bool IsText(const Chunk& chunk) {
    return std::all_of(chunk.begin(), chunk.end(),
                       [](uint8_t byte) { return (byte >= 0x20 && byte != 0x7f) || (byte >= '\t' && byte <= '\r'); });
}

// Fills up a chunk that is too short; a reader of models skips blanks behind a text and zeros behind weights.
// Returns what it did, for the user; none where nothing was too short.
std::optional<std::string> Pad(Chunk& chunk) {
    if (chunk.empty() || chunk.size() >= kSmallestSafeChunk) {
        return std::nullopt;
    }
    const std::size_t missing = kSmallestSafeChunk - chunk.size();
    const bool isText = IsText(chunk);
    chunk.resize(kSmallestSafeChunk, isText ? ' ' : 0);
    return "appended " + std::to_string(missing) + (isText ? " blanks" : " zero bytes") + "\n";
}

void Encrypt(const ModelFileCipher& cipher, Chunk& chunk, const std::string& path) {
    const Chunk plain = chunk;
    const auto size = static_cast<uint32_t>(chunk.size());
    cipher.Encrypt(chunk.data(), size);
    Chunk back = chunk;
    cipher.Decrypt(back.data(), size);
    if (back != plain) {
        throw Failure(
            path + " would not come back whole: its last 4 MiB chunk has only " + std::to_string(size) +
                " bytes, and the format loses bits of a chunk of 1 to 15 bytes",
            {"Give --pad: it fills that up to 16 bytes with blanks or zeros, which a reader of models skips."});
    }
}

void CheckUsage(const CipherOptions& options) {
    RefuseEmpty("IN", options.input, "the file to read");
    RefuseEmpty("OUT", options.output, "the file to write");
}

// The file's chunks one after another through `transform`, so that memory stays small whatever the file's size.
template <typename Transform>
void TransformFile(const CipherOptions& options, std::ostream& err, Transform transform) {
    std::ifstream input = Platform::OpenInputFile(options.input);
    Platform::WholeFile output(options.output, options.input);
    std::error_code unknown;
    const auto size = std::filesystem::file_size(Platform::PathFromUtf8(options.input), unknown);
    const Platform::InterruptFlag interrupt;
    ProgressBar progress(err);
    double done = 0;
    Chunk chunk;
    do {
        if (interrupt.IsSet()) {
            throw Failure("interrupted; nothing was written");
        }
        chunk.resize(ModelFileCipher::kChunkSize);
        chunk.resize(Platform::ReadUpTo(input, options.input, chunk.data(), chunk.size()));
        done += static_cast<double>(chunk.size());
        progress.Show(done, unknown ? 0 : static_cast<double>(size));
        transform(chunk);
        output.Write(chunk.data(), chunk.size());
    } while (chunk.size() == ModelFileCipher::kChunkSize);
    input.close();  // the output may take the input's place
    output.Close();
    output.Commit();
}

CLI::App* AddCipherCommand(CLI::App& app, CipherOptions& options, const char* name, const char* description) {
    CLI::App* command = app.add_subcommand(name, description);
    AddKeyOptions(*command, options.key, "Key of 1 to 4 bytes");
    command->add_option("IN", options.input, "File to read")->required()->type_name("");
    command->add_option("OUT", options.output, "File to write; may be IN")->required()->type_name("");
    return command;
}

}  // namespace

Command AddEncryptCommand(CLI::App& app) {
    const auto options = std::make_shared<CipherOptions>();
    CLI::App* command = AddCipherCommand(app, *options, "encrypt", "Encrypt a model file");
    command->add_flag("--pad", options->pad, "Append the few bytes without which some lengths do not come back");
    return {command, [options](std::ostream& out, std::ostream& err) {
                CheckUsage(*options);
                const ModelFileCipher cipher = MakeCipher(options->key);
                std::optional<std::string> padding;  // of the last chunk: only that can be too short
                TransformFile(*options, err, [&](Chunk& chunk) {
                    if (options->pad) {
                        padding = Pad(chunk);
                    }
                    Encrypt(cipher, chunk, options->input);
                });
                out << padding.value_or("");
            }};
}

Command AddDecryptCommand(CLI::App& app) {
    const auto options = std::make_shared<CipherOptions>();
    const CLI::App* command = AddCipherCommand(app, *options, "decrypt", "Decrypt a file that encrypt made");
    return {command, [options](std::ostream&, std::ostream& err) {
                CheckUsage(*options);
                const ModelFileCipher cipher = MakeCipher(options->key);
                TransformFile(*options, err,
                              [&](Chunk& chunk) { cipher.Decrypt(chunk.data(), static_cast<uint32_t>(chunk.size())); });
            }};
}

}  // namespace Orvane::Cli
