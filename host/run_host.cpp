#include "host/run_host.h"

#include "core/errors.h"
#include "host/dispatcher.h"

namespace Orvane {

int RunHost(const std::string& arguments) {
    try {
        HostSession session;  // destroys its interpreter before its channel
        session.channel.Open(arguments);
        Serve(session);
        return 0;
    } catch (const SystemException&) {
        return -1;
    }
}

}  // namespace Orvane
