#include "service_notice.h"

#include "descriptor.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace nuvctl {

void tell_service_manager(const char* assignment) {
    const char* const name = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    const std::size_t length = name != nullptr ? std::strlen(name) : 0;
    if (length < 2 || length >= sizeof address.sun_path) {
        return;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name, length);
    if (address.sun_path[0] == '@') {
        address.sun_path[0] = '\0';  // a name without a file
    }
    const Descriptor channel(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    // An abstract name is as long as its address says, and may not have a zero behind it.
    sendto(channel.number, assignment, std::strlen(assignment), MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&address),
           static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
}

}  // namespace nuvctl
