#include "bench/direct_model.h"

#include <inference.grpc.pb.h>

#include <grpcpp/grpcpp.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <memory>

namespace {

// Serves a workload's model in the way that comes naturally: one call carries all inputs and brings all outputs, where
// the SDK makes a call for each step. That is in the peer's favour.
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

void Serve(const std::string& workload, const std::string& address) {
    Service service(Orvane::Bench::ParseWorkload(workload));
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

// grpc_server WORKLOAD ADDRESS: serves until it is ended. Prints its port when it is ready.
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s WORKLOAD ADDRESS\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        Serve(argv[1], argv[2]);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}
