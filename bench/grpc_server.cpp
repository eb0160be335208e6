#include "bench/direct_model.h"
#include "bench/worker.h"

#include <inference.grpc.pb.h>

#include <grpcpp/grpcpp.h>

#include <cstdio>
#include <limits>
#include <memory>
#include <stdexcept>

namespace {

// Serves a workload's model in the natural way: one call carries all inputs and returns all outputs. The SDK makes one
// call for each step, so this favours the peer.
class Service final : public orvane::bench::Inference::Service {
 public:
    explicit Service(const Orvane::Bench::Workload& workload) : model(workload), outputBytes(workload.OutputBytes()) {}

    grpc::Status Run(grpc::ServerContext* /*context*/, const orvane::bench::Inputs* inputs,
                     orvane::bench::Outputs* outputs) override {
        std::string& data = *outputs->mutable_data();
        data.resize(outputBytes);
        model.Run(reinterpret_cast<const uint8_t*>(inputs->data().data()), reinterpret_cast<uint8_t*>(data.data()));
        return grpc::Status::OK;
    }

 private:
    Orvane::Bench::DirectModel model;
    size_t outputBytes;
};

void Serve(const Orvane::Bench::Workload& workload, const std::string& address) {
    Service service(workload);
    int port = 0;
    grpc::ServerBuilder builder;
    builder.AddListeningPort(address, grpc::InsecureServerCredentials(), &port);
    builder.SetMaxReceiveMessageSize(std::numeric_limits<int>::max());
    builder.RegisterService(&service);
    const std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
    if (server == nullptr) {
        throw std::runtime_error("cannot listen at " + address);
    }
    std::printf("%d\n", port);
    std::fflush(stdout);
    server->Wait();
}

}  // namespace

// Prints its port when it is ready.
int main(int argc, char** argv) {
    return Orvane::Bench::RunServer(argc, argv, Serve);
}
