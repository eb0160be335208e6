#pragma once

#include "bench/workload.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Orvane::Bench {

// Runs the workload's model once: reads all inputs from `input` and writes all outputs to `output`.
using Infer = std::function<void(const uint8_t* input, uint8_t* output)>;

// Returns the `Infer` of a client. The client is made from these arguments and lives as long as the result.
template <typename Client, typename... Arguments>
Infer InferWith(const Arguments&... arguments) {
    auto client = std::make_shared<Client>(arguments...);
    return [client](const uint8_t* input, uint8_t* output) { client->Infer(input, output); };
}

// The main function of a program that times one variant in a separate process:
//
//   WORKER WORKLOAD WARM_UP COUNT [ARGUMENT]
//
// Calls `prepare` to prepare the variant, runs it WARM_UP + COUNT times and prints one line of JSON: the time of each
// of the last COUNT inferences in nanoseconds, and a checksum of the outputs. All variants that do the same work have
// the same checksum. Returns the program's exit value, and prints an exception on the standard error.
int RunWorker(int argc, char** argv,
              const std::function<Infer(const Workload& workload, const std::string& argument)>& prepare);

// One of several variants that one process times.
struct Way {
    std::string name;  // empty for the first one
    Infer infer;
};

// The same for variants whose difference is smaller than that between two processes. They take turns, some inferences
// each. All must return the same outputs. "beside" has the times of the second and later variants under their names.
int RunInTurns(int argc, char** argv,
               const std::function<std::vector<Way>(const Workload& workload, const std::string& argument)>& prepare);

// The main function of a peer's server. It prints a line when it is ready, and serves until it is ended:
//
//   SERVER WORKLOAD ADDRESS
//
// Returns the program's exit value, and prints an exception on the standard error.
int RunServer(int argc, char** argv, void (*serve)(const Workload& workload, const std::string& address));

}  // namespace Orvane::Bench
