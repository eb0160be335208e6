#include "bench/worker.h"

#include <inference.grpc.pb.h>

#include <grpcpp/grpcpp.h>

#include <cstring>
#include <stdexcept>

namespace {

struct Client {
    explicit Client(const std::string& address) {
        grpc::ChannelArguments arguments;
        arguments.SetMaxReceiveMessageSize(-1);
        arguments.SetMaxSendMessageSize(-1);
        stub = orvane::bench::Inference::NewStub(
            grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
    }

    void Infer(const uint8_t* input, size_t inputBytes, uint8_t* output, size_t outputBytes) {
        inputs.set_data(input, inputBytes);
        grpc::ClientContext context;
        const grpc::Status status = stub->Run(&context, inputs, &outputs);
        if (!status.ok() || outputs.data().size() != outputBytes) {
            throw std::runtime_error("the server did not answer: " + status.error_message());
        }
        std::memcpy(output, outputs.data().data(), outputBytes);
    }

    std::unique_ptr<orvane::bench::Inference::Stub> stub;
    orvane::bench::Inputs inputs;  // kept, to reuse their memory
    orvane::bench::Outputs outputs;
};

}  // namespace

// Times a gRPC server; the argument is its address.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(
        argc, argv, [](const Orvane::Bench::Workload& workload, const std::string& address) {
            auto client = std::make_shared<Client>(address);
            return
                [client, inputBytes = workload.InputBytes(), outputBytes = workload.OutputBytes()](
                    const uint8_t* input, uint8_t* output) { client->Infer(input, inputBytes, output, outputBytes); };
        });
}
