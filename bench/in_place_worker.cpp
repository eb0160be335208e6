#include "bench/classes_application.h"
#include "bench/worker.h"
#include "platform/copy_data.h"

namespace {

// An application that writes its input to the place from which it is sent or read, and reads its outputs in place. Here
// it copies both, which counts as the application's work. A real one computes its input and writes it with a loop, so
// this one does not use `memcpy`: that can be slow at the address of data in a message.
struct InPlaceApplication : Orvane::Bench::ClassesApplication {
    using ClassesApplication::ClassesApplication;

    void Infer(const uint8_t* input, uint8_t* output) {
        for (auto& [tensor, size] : inputs) {
            std::shared_ptr<void> memory;
            Check(tensor->GetMemory(size, memory));
            Orvane::Platform::CopyData(memory.get(), input, size);
            Check(tensor->CopyFrom(memory.get(), size));
            input += size;
        }
        Check(model.Invoke());
        for (auto& [tensor, size] : outputs) {
            const void* const data = tensor->GetData();
            if (data == nullptr) {
                throw std::runtime_error("there is no output");
            }
            Orvane::Platform::CopyData(output, data, size);
            output += size;
        }
    }
};

}  // namespace

// Times the classes without copies by the SDK: in this process, or through the host program that the argument names.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(argc, argv,
                                    Orvane::Bench::InferWith<InPlaceApplication, Orvane::Bench::Workload, std::string>);
}
