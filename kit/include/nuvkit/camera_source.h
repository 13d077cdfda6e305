/// \file
/// Where a back-end's cameras come from.
#pragma once

#include <nuv/export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace nuvkit {

/// A camera as a source sees it.
struct Camera {
    /// Tells the physical camera from any other of its interface type, also from one with the same
    /// serial number; the same in every process, now and later.
    std::uint64_t key = 0;
    std::uint32_t serialnumber = 0;  ///< never 0
    std::string name;                ///< the registry keeps 63 bytes
    std::string interfacename;       ///< the registry keeps 63 bytes
};

/// The two devices of a camera that can be opened.
enum class Device_kind { grab, com };

/// What a back-end needs of the cameras of one interface type; it knows nothing of the registry.
/// Any thread, several at once. Neither the registry's `sem_rw` nor a lock of the back-end is held,
/// but mostly `sem_update` is: every scan, open and close of the machine waits meanwhile, and a
/// scan pass of more than 10 s makes the registry look stale. Each answers 0 or a code, which the
/// back-end passes on; what an open or find throws reaches the manager, which logs it. None may end
/// the process: the thread that it runs on could not be waited for.
class NUV_EXPORT Camera_source {
public:
    Camera_source() = default;
    Camera_source(const Camera_source&) = delete;
    Camera_source& operator=(const Camera_source&) = delete;
    virtual ~Camera_source();

    /// Once, before the others. Anything but 0: the back-end cannot be used.
    virtual unsigned int initialize() = 0;
    /// Appends every camera that is there. After any result but 0 the registry stays as it is.
    virtual unsigned int find(std::vector<Camera>& cameras) = 0;
    /// Opens a device of the camera with this key. Nothing is open after any result but 0.
    virtual unsigned int open(Device_kind kind, std::uint64_t key) = 0;
    /// Closes it, also when the camera has gone. After any result but 0, and when it throws, it is
    /// still open.
    virtual unsigned int close(Device_kind kind, std::uint64_t key) = 0;
    /// What the person who looks after the cameras should read in the log; each remark once.
    virtual std::vector<std::string> take_remarks() = 0;
};

}  // namespace nuvkit
