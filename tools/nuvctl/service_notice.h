// Word to the service manager that started this process, if one did.
#pragma once

namespace nuvctl {

/// Sends an assignment such as "READY=1" to the datagram socket that NOTIFY_SOCKET names. Without
/// one, or when nobody listens there, nothing happens.
void tell_service_manager(const char* assignment);

}  // namespace nuvctl
