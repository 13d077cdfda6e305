/// \file
/// What the kit's back-ends share: how cameras that a source sees are kept in the registry.
#pragma once

#include <nuv/interface.h>

#include <memory>
#include <vector>

/// Result codes of the kit's back-ends beside those of the library.
/// The camera is open already: by this process or by the living process that its entry names.
constexpr unsigned int NUV_BACKEND_BUSY = 0x80004001;
/// The camera is in the registry but not there at the moment.
constexpr unsigned int NUV_BACKEND_UNPLUGGED = 0x80004002;
/// A handle that this back-end did not give out, or has closed; or a null address.
constexpr unsigned int NUV_BACKEND_BAD_HANDLE = 0x80004003;

namespace nuvkit {

class Camera_source;

/// A back-end over any source of cameras. Keeps one registry entry for each camera that the source
/// sees, counts itself among its type's users, marks a camera as open and by whom, refuses one that
/// is in use, and frees at a scan what a dead process left open.
///
/// The operations are those of the base class; any thread may call them. Beside the source's own
/// codes they answer `NUV_ERROR_NOMEMORY` when not attached, out of memory or with a full device
/// list; an open also `NUV_ERROR_NOT_FOUND`, `NUV_BACKEND_UNPLUGGED` or `NUV_BACKEND_BUSY`; open
/// and close `NUV_BACKEND_BAD_HANDLE`. The destructor closes what is open, and deletes the type's
/// entries when nobody else uses the type.
class NUV_EXPORT Backend : public CNuv_interface {
public:
    /// Attaches as the base class does; the source is asked nothing yet. `log` may be null and is
    /// not owned. \throws std::bad_alloc
    Backend(CNuv_Log* log, unsigned int general_bits, unsigned short iftype,
            std::unique_ptr<Camera_source> source);
    ~Backend() override;

    unsigned int initialize() override;
    unsigned int find_devices(std::vector<NUV_Device>& found) override;
    unsigned int update_devices_in_shmlist() override;
    unsigned int open_grab_device(unsigned int serialnumber, CNuv_grab** grab) override;
    unsigned int close_grab_device(CNuv_grab* grab) override;
    unsigned int open_com_device(unsigned int serialnumber, CNuv_com** com) override;
    unsigned int close_com_device(CNuv_com* com) override;

private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace nuvkit
