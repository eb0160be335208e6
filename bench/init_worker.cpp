#include <orvane/orvane.h>

#include <openvino/openvino.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Keeps what it loads, so that only the load is timed.
class Start {
 public:
    explicit Start(const std::vector<std::string>& arguments)
        : way(arguments.at(0)), file(arguments.at(1)), extra(arguments.size() > 2 ? arguments[2] : "") {
        options->SetInt(Orvane::OptionCommonFramework, Orvane::FrameworkTypeOpenvino);
        options->SetString(Orvane::OptionCommonModelPath, file.c_str());
        options->SetBool(Orvane::OptionOpenvinoMakeEncrypted, way == "encrypted");
        options->SetString(
            way == "encrypted" ? Orvane::OptionOpenvinoMakeEncryptedKey : Orvane::OptionOpenvinoCachePath,
            extra.c_str());
        options->SetBool(Orvane::OptionOpenvinoMakeCache, way == "cached");
    }

    void Run() {
        if (way == "direct") {
            compiled = core.emplace().compile_model(file, "CPU");
        } else if (way == "direct-import") {
            std::ifstream blob(file, std::ios::binary);
            compiled = core.emplace().import_model(blob, "CPU");
        } else if (way == "direct-export") {
            std::ofstream blob(extra, std::ios::binary);
            core.emplace().compile_model(file, "CPU").export_model(blob);
        } else if (way == "plain" || way == "cached" || way == "encrypted") {
            if (const Orvane::Status status = interpreter.Init(*options); !status.Ok()) {
                throw std::runtime_error(status.message);
            }
        } else {
            throw std::invalid_argument("no such way to start: " + way);
        }
    }

 private:
    std::string way;
    std::string file;
    std::string extra;
    Orvane::OptionHandle options = Orvane::CreateOption();
    Orvane::Interpreter interpreter;
    std::optional<ov::Core> core;
    ov::CompiledModel compiled;
};

}  // namespace

// Times the load of a model, in a process that does nothing else:
//
//   init_worker direct MODEL                with the runtime's classes
//   init_worker direct-export MODEL BLOB    the same, and writes the compiled model to a file
//   init_worker direct-import BLOB          reads that file
//   init_worker plain MODEL                 with the SDK
//   init_worker cached MODEL CACHE          from the cache file; writes the file if it is missing
//   init_worker encrypted MODEL KEY
int main(int argc, char** argv) {
    try {
        Start start(std::vector<std::string>(argv + 1, argv + argc));
        const auto begin = Clock::now();
        start.Run();
        const std::chrono::nanoseconds time = Clock::now() - begin;
        std::printf("{\"nanoseconds\": [%lld]}\n", static_cast<long long>(time.count()));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}
