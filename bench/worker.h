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

// That of a client, which is made of these arguments and lives as long as what is returned.
template <typename Client, typename... Arguments>
Infer InferWith(const Arguments&... arguments) {
    auto client = std::make_shared<Client>(arguments...);
    return [client](const uint8_t* input, uint8_t* output) { client->Infer(input, output); };
}

// The main function of a program that times one variant in a process of its own:
//
//   WORKER WORKLOAD WARM_UP COUNT [ARGUMENT]
//
// Lets `prepare` make the variant ready, runs it WARM_UP + COUNT times and prints one line of JSON: the time of
// each of the last COUNT inferences in nanoseconds, and a checksum of all that they gave, which is the same for every
// variant that does the same work. Returns the program's exit value; an exception is said on standard error.
int RunWorker(int argc, char** argv,
              const std::function<Infer(const Workload& workload, const std::string& argument)>& prepare);

// One of several variants that are timed in one process.
struct Way {
    std::string name;  // empty for the first one
    Infer infer;
};

// The same for variants whose difference is smaller than that of two processes: they take turns, some inferences each.
// All must give the same outputs. The times of the second and later ones stand under their names in "beside".
int RunInTurns(int argc, char** argv,
               const std::function<std::vector<Way>(const Workload& workload, const std::string& argument)>& prepare);

// The main function of a peer's server, which prints a line when it is ready and serves until it is ended:
//
//   SERVER WORKLOAD ADDRESS
//
// Returns the program's exit value; an exception is said on standard error.
int RunServer(int argc, char** argv, void (*serve)(const Workload& workload, const std::string& address));

}  // namespace Orvane::Bench
