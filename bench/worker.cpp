#include "bench/worker.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <numeric>
#include <stdexcept>

namespace Orvane::Bench {

namespace {

using Clock = std::chrono::steady_clock;

// FNV-1a.
uint64_t Checksum(const std::vector<uint8_t>& bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), uint64_t{0xCBF29CE484222325},
                           [](uint64_t sum, uint8_t byte) { return (sum ^ byte) * 0x100000001B3; });
}

// The times of `count` inferences of each way, after `warmUp` others. Throws if the ways return different outputs.
std::vector<std::vector<int64_t>> TimeInferences(const std::vector<Way>& ways, const std::vector<uint8_t>& input,
                                                 std::vector<uint8_t>& output, size_t warmUp, size_t count) {
    std::vector<std::vector<uint8_t>> outputs(ways.size(), output);
    constexpr size_t kTurn = 50;  // enough for a host process to behave as in a long run
    std::vector<std::vector<int64_t>> nanoseconds(ways.size());
    for (auto& times : nanoseconds) {
        times.reserve(count);
    }
    for (size_t done = 0; done < warmUp + count; done += kTurn) {
        for (size_t way = 0; way < ways.size(); ++way) {
            for (size_t i = done; i < std::min(done + kTurn, warmUp + count); ++i) {
                const auto start = Clock::now();
                ways[way].infer(input.data(), outputs[way].data());
                const auto end = Clock::now();
                if (i >= warmUp) {
                    nanoseconds[way].push_back(std::chrono::nanoseconds(end - start).count());
                }
            }
        }
    }
    for (const std::vector<uint8_t>& other : outputs) {
        if (other != outputs[0]) {
            throw std::runtime_error("the ways did not do the same work");
        }
    }
    output = outputs[0];
    return nanoseconds;
}

void PrintList(const std::string& name, const std::vector<int64_t>& times) {
    std::printf("\"%s\": [", name.c_str());
    for (const int64_t& time : times) {
        std::printf("%s%lld", &time == times.data() ? "" : ", ", static_cast<long long>(time));
    }
    std::printf("]");
}

}  // namespace

int RunWorker(int argc, char** argv,
              const std::function<Infer(const Workload& workload, const std::string& argument)>& prepare) {
    return RunInTurns(argc, argv, [&prepare](const Workload& workload, const std::string& argument) {
        return std::vector<Way>{{"", prepare(workload, argument)}};
    });
}

int RunInTurns(int argc, char** argv,
               const std::function<std::vector<Way>(const Workload& workload, const std::string& argument)>& prepare) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 3 || arguments.size() > 4) {
        std::fprintf(stderr, "usage: %s WORKLOAD WARM_UP COUNT [ARGUMENT]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        const Workload workload = ParseWorkload(arguments[0]);
        const std::vector<Way> ways = prepare(workload, arguments.size() > 3 ? arguments[3] : "");
        const std::vector<uint8_t> input = InputData(workload);
        std::vector<uint8_t> output(workload.OutputBytes());
        const auto times = TimeInferences(ways, input, output, std::stoul(arguments[1]), std::stoul(arguments[2]));
        std::printf("{\"checksum\": \"%016llx\", ", static_cast<unsigned long long>(Checksum(output)));
        PrintList("nanoseconds", times[0]);
        std::printf(", \"beside\": {");
        for (size_t way = 1; way < ways.size(); ++way) {
            std::printf(way == 1 ? "" : ", ");
            PrintList(ways[way].name, times[way]);
        }
        std::printf("}}\n");
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}

int RunServer(int argc, char** argv, void (*serve)(const Workload& workload, const std::string& address)) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s WORKLOAD ADDRESS\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        serve(ParseWorkload(argv[1]), argv[2]);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}

}  // namespace Orvane::Bench
