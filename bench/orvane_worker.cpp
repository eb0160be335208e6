#include "bench/classes_application.h"
#include "bench/worker.h"

#include <memory>

// Times the SDK: in this process, or through the host program that the argument names.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(argc, argv, [](const Orvane::Bench::Workload& workload, const std::string& host) {
        auto application = std::make_shared<Orvane::Bench::ClassesApplication>(workload, host);
        return [application](const uint8_t* input, uint8_t* output) { application->Infer(input, output); };
    });
}
