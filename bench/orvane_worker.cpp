#include "bench/classes_application.h"
#include "bench/worker.h"

// Times the SDK: in this process, or through the host program that the argument names.
int main(int argc, char** argv) {
    using namespace Orvane::Bench;
    return RunWorker(argc, argv, InferWith<ClassesApplication, Workload, std::string>);
}
