#include "host/run_host.h"
#include "platform/process.h"

// The client passes the argument string as one word.
int main(int argc, char** argv) {
    Orvane::Platform::BeginHost();
    return Orvane::RunHost(argc > 1 ? argv[1] : "");
}
