/// \file
/// One process-side attachment to the shared device registry, and the device list behind it.
#pragma once

#include <nuv/device.h>
#include <nuv/export.h>
#include <nuv/registry_layout.h>
#include <nuv/sem_access.h>

#include <cstdint>
#include <memory>
#include <vector>

class CNuv_Log;

namespace nuv {
class Attachment;
class Attempt;
}  // namespace nuv

/// Creates the registry or attaches to it, counts itself in and out, keeps the heartbeat, and
/// reads and changes the device list. A process usually has several, each counted on its own.
///
/// Unless an entry says otherwise: any thread may call it once attached; it holds `sem_rw` from
/// start to end and so is atomic for every process; records are copied whole, and pointers stay
/// the caller's. Call it while holding `sem_rw` through this object's own `sema_rw`, or not at
/// all; holding it through another manager's wrapper, it waits until the semaphore is taken for
/// lost, after the tolerance, and both then hold it. Not attached, it answers `NUV_ERROR_NOMEMORY`
/// and touches neither the region nor the caller's data.
///
/// A forked child's copy is not attached. `Initialize` answers `NUV_ERROR_INIT` there if it had
/// succeeded before the fork; the child makes a manager of its own.
class NUV_EXPORT CNuv_shm_manager {
public:
    /// Without a log and general bits.
    CNuv_shm_manager();
    /// Neither constructor touches the region. `log` may be null and is not owned.
    CNuv_shm_manager(CNuv_Log* log, unsigned int general_bits);
    CNuv_shm_manager(const CNuv_shm_manager&) = delete;
    CNuv_shm_manager& operator=(const CNuv_shm_manager&) = delete;
    /// Gives back semaphores that the calling thread still holds through this object, then
    /// detaches. The last manager on the machine removes the region. Controlling thread.
    ~CNuv_shm_manager();

    /// \name Set-up
    /// Take no lock and need no attachment. Controlling thread.
    /// @{

    /// Replaces the log of this object, not that of its semaphore wrappers. Null: no log.
    void SetLog(CNuv_Log* log);
    /// Replaces the general bits of this object, not of its wrappers. \return always 0
    int set_general_bits(unsigned int bits);
    /// Adds general bits, as `set_general_bits` does. \return always 0
    int add_general_bits(unsigned int bits);
    /// Clears general bits, as `set_general_bits` does. \return always 0
    int remove_general_bits(unsigned int bits);
    /// Staleness tolerance in seconds, limited to 4..3600. To be set before `Initialize`: it
    /// decides what counts as stale, and how long a lost `sem_rw` is waited for.
    void set_difftime(unsigned int seconds);
    /// @}

    /// \name Attaching and detaching
    /// Called without any semaphore held, by the controlling thread. They wait for `sem_rw`, and
    /// for other processes that are attaching or detaching, for at most the tolerance plus five
    /// seconds.
    /// @{

    /// Attaches to the registry, or creates it when there is none.
    /// \retval NUV_NOERROR        attached
    /// \retval NUV_DIFFTIME_OUT   attached; the heartbeat was stale, so the registry was cleared
    /// \retval NUV_ERROR_INIT     it has succeeded on this object before, or the first probe failed
    ///                            for another reason than the region's absence
    /// \retval NUV_ERROR_NOMEMORY a step failed; the object is as before and may try again
    unsigned int Initialize();
    /// Creates the registry, or attaches when it is alive. `Initialize` alone marks the object as
    /// initialised. Results as there; `NUV_NOERROR` at once when attached already.
    unsigned int create_shm();
    /// Attaches to the registry; fails when there is none, and builds it where its file is too
    /// short. Results as those of `create_shm`.
    unsigned int open_shm();
    /// Counts out and detaches; the last one removes the region. Nothing happens when the object
    /// is not attached. \return always 0
    unsigned int close_shm();
    /// @}

    /// \name Heartbeat and user counts
    /// @{

    /// Whether the heartbeat is older than the tolerance; stores the present time in any case.
    /// Takes no lock. Not attached: false.
    bool time_stamp_timeout();
    /// Stores the present wall-clock time, in seconds, as the heartbeat. Not attached: nothing.
    void update_time_stamp();
    /// Counts a user of an interface type in, over all processes.
    /// \return the new count; 0 when no slot is left; `NUV_COUNT_NOT_ATTACHED` when not attached
    unsigned short increase_opencount(unsigned short iftype);
    /// Counts a user of an interface type out, over all processes.
    /// \return the new count; 0 also when the type was not counted; `NUV_COUNT_NOT_ATTACHED` when
    ///         not attached
    unsigned short decrease_opencount(unsigned short iftype);
    /// @}

    /// \name Device list
    /// Searches run in index order and the first match wins. `NUV_NOERROR` and, where named,
    /// `NUV_ERROR_NOT_FOUND` are the results beside the one for not being attached.
    /// @{

    /// Counts entries by `mode`: 1 in use, 2 status bit 0x1, 3 status bit 0x8, 4 not in use; any
    /// other mode counts none.
    unsigned int get_nuvdevice_count(int mode, int& count);
    /// Hands out an id that no other process gets until the registry is created anew or cleared.
    unsigned int get_next_id(unsigned int& id);
    /// Stores the record, unchecked, in the first entry whose id and serial number are both 0.
    /// \retval NUV_ERROR_NOMEMORY all 128 entries are taken, or not attached
    unsigned int set_nuvdevice_to_free_listentry(NUV_Device device);

    /// Looks a device up. `out.status_bits` is set to 0 before the lock is taken, so `out` must not
    /// be shared with another thread. An entry that is not in use is copied all the same.
    /// \retval NUV_ERROR_NOT_FOUND no entry matches, or the first that matches is not in use
    unsigned int get_nuvdevice_from_id(unsigned int id, NUV_Device& out);
    /// \copydoc get_nuvdevice_from_id
    unsigned int get_nuvdevice_from_serialnumber(unsigned int serialnumber, NUV_Device& out);
    /// \copydoc get_nuvdevice_from_id
    unsigned int get_nuvdevice_from_extendedinfo(unsigned long extended_info, NUV_Device& out);

    /// Sets status bits of the first entry with that serial number, in use or not.
    /// \retval NUV_ERROR_NOT_FOUND no entry has it
    unsigned int add_status_bits_to_nuvdevice_from_serialnumber(unsigned int serialnumber,
                                                                unsigned int bits);
    /// Clears status bits of the first entry with that serial number, in use or not.
    /// \retval NUV_ERROR_NOT_FOUND no entry has it
    unsigned int remove_status_bits_to_nuvdevice_from_serialnumber(unsigned int serialnumber,
                                                                   unsigned int bits);

    /// Copies a name of 64 bytes into the first entry with that serial number. `name` is a writable
    /// buffer of at least 64 bytes; its byte 63 is set to NUL.
    /// \retval NUV_ERROR_NOT_FOUND no entry has the serial number, or `name` is null
    unsigned int update_interfacename_of_nuvdevice_from_serialnumber(unsigned int serialnumber,
                                                                     char* name);
    /// \copydoc update_interfacename_of_nuvdevice_from_serialnumber
    unsigned int update_cameraname_of_nuvdevice_from_serialnumber(unsigned int serialnumber,
                                                                  char* name);

    /// \return 1 when an entry has this type and serial number, whatever its status; else 0, also
    ///         when not attached
    int is_nuvdevice_in_devlist(unsigned int iftype, unsigned int serialnumber);
    /// Stores the key in the first entry with this type and serial number; ignores unknown ones.
    void set_extended_info(unsigned int iftype, unsigned int serialnumber,
                           unsigned long extended_info);

    /// Copies entry 0..127 whatever its state: the way to walk the whole list.
    /// \retval NUV_ERROR_NOT_FOUND `index` is out of range; no lock is taken then
    unsigned int get_nuvdevice_listentry(int index, NUV_Device& out);
    /// Finds a camera that is present and whose grabber is not open; type 0 means any type.
    /// `out` as for the look-ups. \retval NUV_ERROR_NOT_FOUND there is none
    unsigned int get_nuvdevice_unused(unsigned int iftype, NUV_Device& out);
    /// Appends a copy of every entry of the type, in index order and whatever its status. `list`
    /// keeps what it held; not attached, or out of memory, it stays as it was.
    void get_devlist_if(unsigned int iftype, std::vector<NUV_Device>& list);
    /// @}

    /// Writes a line when a log is set and bit 0x20000000 is. Any thread, no lock.
    void writelog(unsigned int level, const char* format, ...) NUV_PRINTF_FORMAT(3, 4);

    bool init_done = false;    ///< set by a successful `Initialize`, never cleared
    std::int32_t m_hMem = -1;  ///< the region's descriptor while attached
    std::int32_t proc_id = 0;  ///< process id at creation, traced only
    std::uint64_t m_difftime = NUV_SHM_DIFFTIME;   ///< staleness tolerance, seconds
    std::uint32_t general_bits = 0;                ///< those of <nuv/bits.h>
    std::unique_ptr<CNuv_sem_access> sema_rw;      ///< `sem_rw`, while attached
    std::unique_ptr<CNuv_sem_access> sema_update;  ///< `sem_update`, while attached
    NUV_Devlist_Shm* devlist_shm = nullptr;        ///< the mapped region while attached
    CNuv_Log* clog = nullptr;                      ///< not owned

private:
    friend class nuv::Attempt;
    std::unique_ptr<nuv::Attachment> attachment;
};
