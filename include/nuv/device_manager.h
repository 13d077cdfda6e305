/// \file
/// The process's device manager: configuration, back-ends, background threads, open and close.
#pragma once

#include <nuv/export.h>
#include <nuv/iftype.h>
#include <nuv/interface.h>
#include <nuv/shm_manager.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>

class CNuv_Log;
class CNuv_ini;

namespace nuv {
class Update_hold;
}

/// One object per process, usually kept in `nuv_dev_manager`: construct, preset log and general
/// bits if wanted, `Initialize`, open and close devices by registry id, destroy.
///
/// In a forked child the copy of a manager has no registry and no threads; the child may destroy
/// it, and makes a manager of its own.
///
/// Locks, always taken in this order: `mtx`, the registry's `sem_update`, its `sem_rw`. Call the
/// entries with none of them held, unless an entry says otherwise.
class NUV_EXPORT CNuv_device_manager {
public:
    /// Sets the defaults; allocates, logs and starts nothing.
    CNuv_device_manager();
    CNuv_device_manager(const CNuv_device_manager&) = delete;
    CNuv_device_manager& operator=(const CNuv_device_manager&) = delete;
    /// `Close`, but with a sleep of 100 ms where that sleeps 20 ms, then detaches from the registry
    /// and deletes the manager's own log. In any state. Controlling thread.
    ~CNuv_device_manager();

    /// \name Set-up
    /// Controlling thread, in any state, no lock taken.
    /// @{

    /// Stores a log that stays the caller's and is used while the manager has none of its own;
    /// it must outlive the manager. Null is stored, and nothing is written.
    void SetLog(CNuv_Log* log);
    /// Replaces the general bits of <nuv/bits.h>. What is made already keeps its bits.
    /// \return always 0
    unsigned int set_general_bits(unsigned int bits);
    /// Adds general bits, as `set_general_bits` does. \return always 0
    unsigned int add_general_bits(unsigned int bits);
    /// Clears general bits, as `set_general_bits` does. \return always 0
    unsigned int remove_general_bits(unsigned int bits);
    /// @}

    /// \name Start-up and shutdown
    /// Controlling thread; never at the same time as a device operation.
    /// @{

    /// Reads the INI file, attaches to the registry, creates the enabled back-ends and starts the
    /// background threads.
    /// \retval NUV_NOERROR    running, whatever back-ends or threads could not be started
    /// \retval NUV_ERROR_INIT initialised already (also after `Close`), or the registry's answer
    /// \retval NUV_ERROR_NOMEMORY the registry could not be attached; it may be tried again
    /// \throws whatever a back-end's constructor or `initialize` throws, or std::bad_alloc; the
    ///         manager may be initialised again or destroyed
    unsigned int Initialize();
    /// Stops the threads, closes what callers left open, deletes the back-ends. The registry stays
    /// attached, and what remains is to destroy the manager. May be called twice. Sleeps 20 ms, and
    /// 20 ms for each back-end. After 10 s of waiting for `sem_update` it closes without it.
    void Close();
    /// Reads the INI file into the fields; absent keys leave theirs as they are.
    /// While no background thread runs.
    /// \return 0, `NUV_ERROR_NO_INI_LOCATOR`, `NUV_ERROR_INI_LOAD`, or the locator's own code
    ///         when it finds no file
    /// \throws std::bad_alloc
    unsigned int get_parameter_from_inifile();
    /// @}

    /// \name Devices
    /// Any thread. They hold `sem_update` throughout, so they never overlap a scan pass, an open or
    /// a close of any process; the thread may hold it already through `shm_mgr`. Handles belong to
    /// the back-end. Not attached: `NUV_ERROR_NOMEMORY` and a line in the log.
    /// @{

    /// Opens the device of the camera with this registry id.
    /// \retval NUV_NOERROR         the handle is open, and recorded until it is closed
    /// \retval NUV_ERROR_NOT_FOUND no such camera is in use, its type has no back-end, or the
    ///                             address is null
    /// \retval NUV_ERROR_NOMEMORY  not attached, out of memory, or the back-end threw
    /// \return else the back-end's code
    unsigned int open_grab_device_from_id(unsigned int id, CNuv_grab** grab);
    /// \copydoc open_grab_device_from_id
    unsigned int open_com_device_from_id(unsigned int id, CNuv_com** com);
    /// Closes a handle that the open operation gave out.
    /// \retval NUV_ERROR_NOT_FOUND never recorded, closed already, or its type has no back-end
    /// \return else 0, or the back-end's code (`NUV_ERROR_NOMEMORY` when it threw), after which the
    ///         handle stays recorded
    unsigned int close_grab_device(CNuv_grab* grab);
    /// \copydoc close_grab_device
    unsigned int close_com_device(CNuv_com* com);
    /// @}

    /// \name Background threads
    /// @{

    /// Starts the thread unless it runs. Controlling thread, attached.
    /// \return 0 when it runs; `NUV_ERROR_THREAD` when it can't be made, or not attached
    unsigned int start_scan_thread();
    /// \copydoc start_scan_thread
    unsigned int start_time_thread();
    /// Stops both; returns when they have ended, within the running pass plus a few milliseconds. A
    /// pass that still waits for `sem_update` gives up after two seconds.
    /// Controlling thread. \return always 0
    unsigned int stop_threads();
    /// Asks one back-end for an update at once, on the calling thread, with no lock taken and
    /// whatever its options say. Any thread, not during `Close`.
    /// \return the back-end's code; `NUV_ERROR_NOT_FOUND` without one; `NUV_ERROR_NOMEMORY` when it
    ///         threw
    unsigned int scan_interface(unsigned int iftype);
    /// Body of the scan thread; `start_scan_thread` runs it.
    void scan_interfaces_thread();
    /// Body of the time-stamp thread; `start_time_thread` runs it.
    void time_stamp_thread();
    /// @}

    /// \name Interface options
    /// Any thread. Types outside 0..15 have no word: they read as 0 and change nothing.
    /// @{

    /// The option bits of a type, as <nuv/bits.h> has them.
    unsigned int get_interface_options(int iftype);
    /// Adding `DEVMGR_IF_OPTION_DISABLE_SCAN` also waits for `sem_update` once, so that no pass of
    /// this process still scans the type on return. Not attached: no wait. \return always 0
    unsigned int add_interface_option(int iftype, unsigned int bits);
    /// Clears option bits; waits for nothing. \return always 0
    unsigned int remove_interface_option(int iftype, unsigned int bits);
    /// @}

    /// Writes a line to `cdevlog` or, with bit 0x80000000, to `clog`. Any thread, no lock.
    void writelog(unsigned int level, const char* format, ...) NUV_PRINTF_FORMAT(3, 4);

    /// \name State
    /// Public since the kit's other libraries read it. Left to the manager, which guards it as
    /// docs/architecture.md says.
    /// @{

    bool init_done = false;            ///< set by a successful `Initialize`, never cleared
    std::uint32_t m_general_bits = 0;  ///< the bits of <nuv/bits.h>
    std::uint32_t scantime = 5000;     ///< milliseconds between scan passes
    std::uint64_t difftime = 10;       ///< seconds; decides whether the time-stamp thread is needed
    std::uint32_t interface_options[NUV_IFTYPE_COUNT] = {};  ///< by interface type code
    std::mutex mtx;                                          ///< held for a whole scan pass
    std::condition_variable cv;                 ///< wakes the threads when they are to stop
    std::thread thread_scan;                    ///< the scan thread
    std::atomic<bool> thread_scan_run{false};   ///< false: the scan thread is to end
    std::thread thread_time;                    ///< the time-stamp thread
    std::atomic<bool> thread_time_run{false};   ///< false: the time-stamp thread is to end
    std::unique_ptr<CNuv_shm_manager> shm_mgr;  ///< the manager's own attachment to the registry
    /// The back-ends that run, by interface type code.
    std::unordered_map<std::uint16_t, std::unique_ptr<CNuv_interface>> interface_list;
    /// Open grabbers with their interface type; guarded by `sem_update`.
    std::unordered_map<CNuv_grab*, std::uint16_t> grabdev_list;
    /// Open communication devices with their interface type; guarded by `sem_update`.
    std::unordered_map<CNuv_com*, std::uint16_t> comdev_list;
    CNuv_Log* clog = nullptr;        ///< the caller's
    CNuv_Log* cdevlog = nullptr;     ///< the manager's own, deleted by the destructor
    std::unique_ptr<CNuv_ini> cini;  ///< made by the first `Initialize`
    /// @}

private:
    friend class nuv::Update_hold;
    /// When closing what was left open no longer waits for `sem_update`.
    std::atomic<std::chrono::steady_clock::time_point> shutdown_due{
        std::chrono::steady_clock::time_point::max()};
    std::atomic<int> threads_alive{0};  ///< threads that have not written their last line yet
    int threads_process = 0;            ///< the process that started them; a forked child has none
};

/// The process's device manager. Empty when the library is loaded; a caller fills it, and process
/// exit destroys what it holds.
extern NUV_EXPORT std::unique_ptr<CNuv_device_manager> nuv_dev_manager;
