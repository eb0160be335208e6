#include "bench/direct_model.h"
#include "bench/worker.h"

#include <zmq.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

void Check(bool done) {
    if (!done) {
        throw std::runtime_error(zmq_strerror(zmq_errno()));
    }
}

// Serves a workload's model in the natural way: one request carries all inputs, one reply all outputs. The SDK makes
// one call for each step, so this favours the peer.
[[noreturn]] void Serve(const Orvane::Bench::Workload& workload, const std::string& address) {
    Orvane::Bench::DirectModel model(workload);
    void* const socket = zmq_socket(zmq_ctx_new(), ZMQ_REP);
    Check(socket != nullptr && zmq_bind(socket, address.c_str()) == 0);
    std::printf("0\n");
    std::fflush(stdout);
    for (;;) {
        zmq_msg_t request;
        zmq_msg_t reply;
        Check(zmq_msg_init(&request) == 0 && zmq_msg_recv(&request, socket, 0) >= 0);
        Check(zmq_msg_init_size(&reply, workload.OutputBytes()) == 0);
        model.Run(static_cast<const uint8_t*>(zmq_msg_data(&request)), static_cast<uint8_t*>(zmq_msg_data(&reply)));
        zmq_msg_close(&request);
        Check(zmq_msg_send(&reply, socket, 0) >= 0);
    }
}

}  // namespace

int main(int argc, char** argv) {
    return Orvane::Bench::RunServer(argc, argv, Serve);
}
