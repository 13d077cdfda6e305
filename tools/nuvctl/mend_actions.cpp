#include "mend_actions.h"

#include "descriptor.h"
#include "joined.h"
#include "process_text.h"
#include "registry_view.h"
#include "result_text.h"
#include "suspects.h"

#include <nuv/result.h>
#include <nuv/shm_manager.h>

#include <nuvkit/holder.h>

#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <thread>
#include <utility>

namespace nuvctl {
namespace {

bool is_attached(unsigned int initialized) {
    return initialized == NUV_NOERROR || initialized == NUV_DIFFTIME_OUT;
}

std::string refusal(unsigned int initialized) {
    return "cannot attach to the registry: " + result_text(initialized);
}

/// This process attached to the registry, and alone in it while it lives.
class Registry_hold {
public:
    Registry_hold() : code(manager.Initialize()) {
        if (is_attached(code)) {
            acquired = manager.sema_rw->wait() == 0;
        }
    }
    Registry_hold(const Registry_hold&) = delete;
    Registry_hold& operator=(const Registry_hold&) = delete;
    ~Registry_hold() {
        if (acquired) {
            manager.sema_rw->post();
        }
    }

    bool has_cleared() const { return code == NUV_DIFFTIME_OUT; }
    NUV_Devlist_Shm& region() const { return *manager.devlist_shm; }
    /// Empty when it is held.
    std::string problem() const { return acquired ? "" : refusal(code); }

private:
    CNuv_shm_manager manager;  // detaches after the destructor has given the semaphore back
    const unsigned int code;
    bool acquired = false;
};

/// While nobody can count in or out: a manager is mapped before it counts in and until after it
/// has counted out, so what is counted beyond the mapped ones has died. The other way round only
/// a clear explains the difference: it forgets those that live.
/// \return what went wrong
std::string set_count(const Registry_hold& hold) {
    const Region_users found = find_region_users();
    if (found.incomplete) {
        return "the system is short of descriptors or memory: not every process could be examined";
    }
    constexpr int this_process = 1;
    const int living = managers_on(found, look_at_registry()) + this_process;
    const int counted = hold.region().opencount;
    if (counted > living || hold.has_cleared()) {
        hold.region().opencount = static_cast<std::int16_t>(
            std::min<int>(living, std::numeric_limits<std::int16_t>::max()));
    }
    return "";
}

std::string end_process(const Process& process) {
    const Descriptor handle(static_cast<int>(syscall(SYS_pidfd_open, process.id, 0)));
    const int open_error = errno;
    const auto now = find_process(process.id);
    const bool has_ended = handle.number < 0 && open_error == ESRCH;
    if (has_ended || !now || now->start_ticks != process.start_ticks) {
        return "";
    }
    if (handle.number < 0) {
        return process_text(process) + " cannot be ended: " + std::strerror(open_error);
    }
    if (syscall(SYS_pidfd_send_signal, handle.number, SIGTERM, nullptr, 0) != 0) {
        return process_text(process) + " cannot be ended: " + std::strerror(errno);
    }
    // A stopped one takes no notice of the request before it goes on.
    syscall(SYS_pidfd_send_signal, handle.number, SIGCONT, nullptr, 0);
    constexpr int patience_ms = 10000;
    pollfd end = {handle.number, POLLIN, 0};
    return poll(&end, 1, patience_ms) == 1 ? "" : process_text(process) + " does not end";
}

}  // namespace

std::string remove_odd_file() {
    const std::string failure = std::string("cannot remove ") + registry_path + ": ";
    struct stat file;
    if (lstat(registry_path, &file) != 0) {
        return errno == ENOENT ? "" : failure + std::strerror(errno);
    }
    if (S_ISREG(file.st_mode) || S_ISDIR(file.st_mode)) {
        return failure + "it is something else by now";
    }
    return unlink(registry_path) == 0 ? "" : failure + std::strerror(errno);
}

std::string replace_registry() {
    std::string problem;
    {
        const Registry_hold hold;
        problem = hold.problem();
        if (problem.empty()) {
            problem = set_count(hold);
        }
    }
    // Attaching fails on another version, but has removed it then.
    return look_at_registry().state == Registry_state::absent ? "" : problem;
}

std::string correct_count() {
    const Registry_hold hold;
    return hold.problem().empty() ? set_count(hold) : hold.problem();
}

std::string await_sem_rw() {
    for (int tries = 0; tries < 300; ++tries) {
        const Registry_view view = look_at_registry();
        if (!view.bytes || value_of(view.bytes->sem_rw) > 0) {
            return "";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return "no manager frees sem_rw: end the processes that `nuvctl who` lists, then try again";
}

std::string settle_semaphores() {
    CNuv_shm_manager manager;
    if (const unsigned int code = manager.Initialize(); !is_attached(code)) {
        return refusal(code);
    }
    if (manager.sema_update->wait() != 0) {
        return "cannot wait for sem_update";
    }
    int surplus = 0;
    while (surplus < 1000 && manager.sema_update->trywait() == 0) {
        ++surplus;
    }
    manager.sema_update->post();
    return surplus < 1000 ? "" : "more posts than anybody can take away: sem_update is damaged";
}

std::string release_cameras_of_the_dead() {
    const Registry_hold hold;
    for (int index = 0; hold.problem().empty() && index < NUV_DEVICE_COUNT; ++index) {
        if (is_held_by_the_dead(hold.region().nuvdevice[index])) {
            nuvkit::release_camera(hold.region(), index);
        }
    }
    return hold.problem();
}

std::string end_processes(const std::vector<Region_user>& users) {
    std::vector<std::string> problems;
    for (const Region_user& user : users) {
        if (std::string problem = end_process(user.process); !problem.empty()) {
            problems.push_back(std::move(problem));
        }
    }
    return joined(problems, ", ");
}

}  // namespace nuvctl
