// Starting and stopping the two background threads.
#include "manager/backends.h"
#include "manager/listens.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <exception>
#include <new>

namespace {

using namespace std::chrono_literals;

unsigned int handle_of(std::thread& thread) {
    return static_cast<unsigned int>(thread.native_handle());
}

const char* text_of(bool flag) {
    return flag ? "true" : "false";
}

/// For as long as it lives, threads that are started handle none of the process's signals: those
/// are for the program's own threads, and a handler that ends the process could not end a thread
/// that waits for itself. A thread's own faults stay its own.
class Signals_for_others {
public:
    Signals_for_others() {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT}) {
            sigdelset(&all, fault);
        }
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    Signals_for_others(const Signals_for_others&) = delete;
    Signals_for_others& operator=(const Signals_for_others&) = delete;
    ~Signals_for_others() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

private:
    sigset_t before;
};

/// Runs a thread body. Lowering the count is the thread's last act, after its last line.
bool launch(std::thread& thread, std::atomic<int>& alive, CNuv_device_manager& manager,
            void (CNuv_device_manager::*body)()) {
    ++alive;
    const Signals_for_others blocked;
    try {
        thread = std::thread([&manager, &alive, body] {
            (manager.*body)();
            --alive;
        });
        return true;
    } catch (const std::exception&) {
        --alive;
        return false;
    }
}

/// A notification that falls between a thread's flag test and its wait is lost, and one that is
/// meant for one thread may wake the other: so all are notified until none is left.
void wake_until_ended(std::condition_variable& cv, const std::atomic<int>& alive) {
    while (alive != 0) {
        cv.notify_all();
        std::this_thread::sleep_for(1ms);
    }
}

/// In a forked child: the objects are copies without threads behind them. Copies of a thread can be
/// neither joined nor detached, and the condition variable's destructor would wait for waiters
/// that do not exist here.
void forget_threads_of_parent(CNuv_device_manager& manager, std::atomic<int>& alive) {
    ::new (static_cast<void*>(&manager.thread_scan)) std::thread;
    ::new (static_cast<void*>(&manager.thread_time)) std::thread;
    ::new (static_cast<void*>(&manager.cv)) std::condition_variable;
    manager.thread_scan_run = false;
    manager.thread_time_run = false;
    alive = 0;
}

}  // namespace

unsigned int CNuv_device_manager::start_scan_thread() {
    static constexpr char op[] = "start_scan_thread";
    if (!nuv::check_registry(*this, op)) {
        return NUV_ERROR_THREAD;
    }
    if (thread_scan_run) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread_scan already running", op);
        return NUV_NOERROR;
    }
    thread_scan_run = true;
    threads_process = getpid();
    if (!launch(thread_scan, threads_alive, *this, &CNuv_device_manager::scan_interfaces_thread)) {
        NUV_LOG(*this, NUV_LOG_ERROR, "%s: create thread_scan failed", op);
        thread_scan_run = false;
        return NUV_ERROR_THREAD;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread_scan 0x%x created", op, handle_of(thread_scan));
    return NUV_NOERROR;
}

unsigned int CNuv_device_manager::start_time_thread() {
    static constexpr char op[] = "start_time_thread";
    if (!nuv::check_registry(*this, op)) {
        return NUV_ERROR_THREAD;
    }
    if (thread_time_run) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread_time already running", op);
        return NUV_NOERROR;
    }
    thread_time_run = true;
    threads_process = getpid();
    if (!launch(thread_time, threads_alive, *this, &CNuv_device_manager::time_stamp_thread)) {
        NUV_LOG(*this, NUV_LOG_ERROR, "%s: create thread time failed", op);
        thread_time_run = false;
        return NUV_ERROR_THREAD;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread time 0x%x created", op, handle_of(thread_time));
    return NUV_NOERROR;
}

void CNuv_device_manager::time_stamp_thread() {
    static constexpr char op[] = "time_stamp_thread";
    NUV_LOG(*this, NUV_LOG_THREAD, "%s: start", op);
    while (thread_time_run) {
        NUV_LOG(*this, NUV_LOG_CYCLE, "%s: vor wait", op);
        std::unique_lock<std::mutex> lock(mtx);
        cv.wait_for(lock, 1s);
        shm_mgr->update_time_stamp();
        NUV_LOG(*this, NUV_LOG_CYCLE, "%s: update_time_stamp done", op);
    }
    NUV_LOG(*this, NUV_LOG_THREAD, "%s: before return", op);
}

unsigned int CNuv_device_manager::stop_threads() {
    static constexpr char op[] = "stop_threads";
    const bool has_threads = threads_alive != 0 || thread_scan.joinable() || thread_time.joinable();
    if (has_threads && threads_process != getpid()) {
        forget_threads_of_parent(*this, threads_alive);
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread_scan_run %s", op, text_of(thread_scan_run));
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread_time_run %s", op, text_of(thread_time_run));
    if (thread_scan_run && thread_scan.joinable()) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: set thread_scan_run false and call notify one", op);
        thread_scan_run = false;
        cv.notify_one();
    }
    if (thread_time_run && thread_time.joinable()) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: set thread_time_run false and call notify one", op);
        thread_time_run = false;
        cv.notify_one();
    }
    if (thread_scan.joinable()) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: wait until thread 0x%x is closed", op,
                handle_of(thread_scan));
        wake_until_ended(cv, threads_alive);
        thread_scan.join();
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread scan join done", op);
    }
    if (thread_time.joinable()) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: wait until thread 0x%x is closed", op,
                handle_of(thread_time));
        wake_until_ended(cv, threads_alive);
        thread_time.join();
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread time join done", op);
    }
    return NUV_NOERROR;
}
