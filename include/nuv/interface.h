/// \file
/// The base class of every interface back-end. docs/writing-a-backend.md shows how to derive one.
#pragma once

#include <nuv/device.h>
#include <nuv/export.h>
#include <nuv/shm_manager.h>

#include <cstdint>
#include <memory>
#include <vector>

class CNuv_Log;
class CNuv_ini;
class CNuv_grab;  ///< a grabber handle: opaque, owned by the back-end that made it
class CNuv_com;   ///< a communication handle: opaque, owned by the back-end that made it

/// One kind of camera connection. The device manager makes one object for each enabled interface
/// type, drives it through the virtual operations, and deletes it; the back-end keeps its cameras
/// in the registry through `shm_mgr`. Other libraries are compiled against the order of the
/// members and of the virtual operations: neither ever changes.
class NUV_EXPORT CNuv_interface {
public:
    /// Attaches a registry manager of its own; whether that worked, `shm_valid` tells. Bit
    /// 0x01000000 of `general_bits` becomes `difftime_out`. `log` may be null and is not owned.
    CNuv_interface(CNuv_Log* log, unsigned int general_bits);
    CNuv_interface(const CNuv_interface&) = delete;
    CNuv_interface& operator=(const CNuv_interface&) = delete;

    /// \name What the device manager calls
    /// Each answers 0 for success or a code of the back-end's own, which the manager passes on. An
    /// exception that leaves `initialize` leaves the manager's `Initialize`; elsewhere the manager
    /// turns it into `NUV_ERROR_NOMEMORY`.
    /// @{

    /// Detaches the registry manager and deletes `cini`; never the logs. May be called at any time
    /// after construction.
    virtual ~CNuv_interface();
    /// Once, right after construction, by the controlling thread with no lock held. Anything but 0
    /// has the back-end deleted.
    virtual unsigned int initialize() = 0;
    /// Appends what the back-end sees at this moment to `found`, without touching the registry.
    /// Never called by the library.
    virtual unsigned int find_devices(std::vector<NUV_Device>& found) = 0;
    /// Brings the registry entries of this type up to date. Called by the scan thread with the
    /// manager's `mtx` and `sem_update` held, and by `scan_interface` on any thread with nothing
    /// held.
    virtual unsigned int update_devices_in_shmlist() = 0;
    /// Opens a device by the serial number of its registry entry. A handle is stored at the address
    /// exactly when the result is 0. Any thread, `sem_update` held but where the system refuses it.
    virtual unsigned int open_grab_device(unsigned int serialnumber, CNuv_grab** grab) = 0;
    /// Closes a handle that this back-end's own open operation gave out. Any thread, `sem_update`
    /// held but in a shutdown that has waited 10 s for it. After any result but 0 the handle stays
    /// open and may be closed again.
    virtual unsigned int close_grab_device(CNuv_grab* grab) = 0;
    /// \copydoc open_grab_device
    virtual unsigned int open_com_device(unsigned int serialnumber, CNuv_com** com) = 0;
    /// \copydoc close_grab_device
    virtual unsigned int close_com_device(CNuv_com* com) = 0;
    /// @}

    /// \name What a back-end calls
    /// Any thread, unless it says otherwise.
    /// @{

    /// Stores `log`, and writes a line with its level bits where `writelogb` would; null is stored
    /// and nothing is written. The registry manager keeps its own log. Controlling thread.
    void SetLog(CNuv_Log* log);
    /// Replaces the general bits of this object alone. \return always 0
    int set_general_bits(unsigned int bits);
    /// Whether the registry is mapped.
    bool shm_valid();
    /// Takes the registry's `sem_rw` for an update of several steps. Nests, also around the
    /// operations of `shm_mgr`. \return 0; -1 when the wait failed or nothing is attached
    int shm_wait();
    /// Gives back what one `shm_wait` took. The holder only.
    /// \return 0; -1 when nothing is attached
    int shm_post();
    /// Counts a user of an interface type in: see `CNuv_shm_manager::increase_opencount`.
    unsigned short shm_increase_opencount(unsigned short iftype);
    /// Counts a user of an interface type out: see `CNuv_shm_manager::decrease_opencount`.
    unsigned short shm_decrease_opencount(unsigned short iftype);
    /// Removes every registry entry of this back-end's `if_type`, and its device number, under one
    /// hold of `sem_rw`. Not attached: writes its end line only. \return always 0
    int delete_devices_in_shmlist();
    /// Writes a line to `ciflog` and `clog`. Without `ciflog` it needs bit 0x40000000.
    void writelogb(unsigned int level, const char* format, ...) NUV_PRINTF_FORMAT(3, 4);
    /// @}

    std::uint8_t backend_byte = 0;   ///< the back-end's own
    std::uint16_t if_type = 0;       ///< interface type code; the derived constructor sets it
    char backend_text_a[64] = {};    ///< the back-end's own
    char backend_text_b[64] = {};    ///< the back-end's own
    bool difftime_out;               ///< the registry was stale when the device manager attached
    CNuv_Log* clog;                  ///< not owned
    CNuv_Log* ciflog = nullptr;      ///< a back-end's own log; not owned by this class
    std::unique_ptr<CNuv_ini> cini;  ///< null unless the back-end makes one
    std::uint32_t general_bits;      ///< those of <nuv/bits.h>
    std::unique_ptr<CNuv_shm_manager> shm_mgr;  ///< this back-end's own attachment
};
