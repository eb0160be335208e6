#include "bench/direct_model.h"
#include "bench/worker.h"

// Times the runtime's own classes in this process.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(argc, argv, [](const Orvane::Bench::Workload& workload, const std::string&) {
        auto model = std::make_shared<Orvane::Bench::DirectModel>(workload);
        return [model](const uint8_t* input, uint8_t* output) { model->Run(input, output); };
    });
}
