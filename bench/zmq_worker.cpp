#include "bench/worker.h"

#include <zmq.h>

#include <stdexcept>

// Times a ZeroMQ server; the argument is its address.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(
        argc, argv, [](const Orvane::Bench::Workload& workload, const std::string& address) {
            void* const socket = zmq_socket(zmq_ctx_new(), ZMQ_REQ);
            if (socket == nullptr || zmq_connect(socket, address.c_str()) != 0) {
                throw std::runtime_error(zmq_strerror(zmq_errno()));
            }
            return [socket, workload](const uint8_t* input, uint8_t* output) {
                const int received = zmq_send(socket, input, workload.InputBytes(), 0) < 0
                                         ? -1
                                         : zmq_recv(socket, output, workload.OutputBytes(), 0);
                if (received != static_cast<int>(workload.OutputBytes())) {
                    throw std::runtime_error(std::string("the server did not answer: ") + zmq_strerror(zmq_errno()));
                }
            };
        });
}
