#include "registry_view.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <thread>
#include <utility>

namespace nuvctl {
namespace {

using std::chrono::milliseconds;

std::string error_text(const char* what, int error) {
    return std::string("cannot ") + what + " the registry " + NUV_SHM_NAME + ": " +
           std::strerror(error);
}

/// By the clock that heartbeats are written by. `time` may still be in the second before it, and a
/// fresh heartbeat would seem to lie in the future.
std::time_t seconds_now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

Registry_view without_bytes(Registry_state state, std::string problem) {
    Registry_view view;
    view.state = state;
    view.problem = std::move(problem);
    view.looked_at = seconds_now();
    return view;
}

/// False when the file ends before a whole region was read.
bool copy_region(int descriptor, NUV_Devlist_Shm& copy) {
    auto* bytes = reinterpret_cast<char*>(&copy);
    std::size_t done = 0;
    while (done < NUV_SHM_SIZE) {
        const ssize_t count =
            pread(descriptor, bytes + done, NUV_SHM_SIZE - done, static_cast<off_t>(done));
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return false;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

/// The semaphores change with every look-up of any process and say nothing about the list: two
/// copies that differ only there agree.
bool agree(const NUV_Devlist_Shm& one, const NUV_Devlist_Shm& other) {
    constexpr std::size_t head = offsetof(NUV_Devlist_Shm, sem_rw);
    constexpr std::size_t rest = offsetof(NUV_Devlist_Shm, processid);
    const auto* a = reinterpret_cast<const char*>(&one);
    const auto* b = reinterpret_cast<const char*>(&other);
    return std::memcmp(a, b, head) == 0 &&
           std::memcmp(a + rest, b + rest, NUV_SHM_SIZE - rest) == 0;
}

/// Copies until two copies agree. After the last try a copy that was being changed is better than
/// none: whoever writes that busily will have changed it again in any case.
bool copy_settled_region(int descriptor, NUV_Devlist_Shm& copy) {
    NUV_Devlist_Shm earlier;
    if (!copy_region(descriptor, earlier)) {
        return false;
    }
    for (int tries = 0; tries < 50; ++tries) {
        if (!copy_region(descriptor, copy)) {
            return false;
        }
        if (agree(earlier, copy)) {
            return true;
        }
        earlier = copy;
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

std::string size_problem(off_t size) {
    return std::string("the registry ") + NUV_SHM_NAME + " has " + std::to_string(size) +
           " bytes, fewer than the " + std::to_string(NUV_SHM_SIZE) + " of a registry";
}

/// What was no whole region, as it is now: it may have shrunk since `file` was found out.
Registry_view without_whole_region(int descriptor, struct stat file) {
    fstat(descriptor, &file);
    const bool is_short = file.st_size < static_cast<off_t>(NUV_SHM_SIZE);
    Registry_view view = is_short
                             ? without_bytes(Registry_state::too_short, size_problem(file.st_size))
                             : without_bytes(Registry_state::unreadable,
                                             std::string("the registry ") + NUV_SHM_NAME +
                                                 " cannot be read to its end");
    view.file = file;
    return view;
}

void judge_heartbeat(Registry_view& view) {
    const std::int64_t age = heartbeat_age(view);
    view.state = Registry_state::live;
    if (age < 0) {
        view.state = Registry_state::stale;
        view.problem = "the registry is stale: its heartbeat lies in the future";
    } else if (static_cast<std::uint64_t>(age) > NUV_SHM_DIFFTIME) {
        view.state = Registry_state::stale;
        view.problem = "the registry is stale: its last heartbeat was " + std::to_string(age) +
                       " s ago; no manager keeps it fresh";
    }
}

Registry_view look_once() {
    const Descriptor descriptor = open_registry();
    if (descriptor.number >= 0) {
        return look_at_registry(descriptor.number);
    }
    if (errno == ENOENT) {
        return without_bytes(Registry_state::absent,
                             "there is no registry: no device manager is running");
    }
    const int error = errno;
    Registry_view view =
        without_bytes(error == EACCES ? Registry_state::no_permission : Registry_state::unreadable,
                      error_text("open", error));
    struct stat file;
    if (lstat(registry_path, &file) == 0) {
        view.file = file;
    }
    return view;
}

bool may_be_in_creation(const Registry_view& view) {
    return view.state == Registry_state::too_short || view.state == Registry_state::wrong_version;
}

}  // namespace

Descriptor open_registry() {
    // Without O_NONBLOCK a pipe under that name would keep us waiting for a writer.
    return Descriptor(shm_open(NUV_SHM_NAME, O_RDONLY | O_NONBLOCK, 0));
}

Registry_view look_at_registry() {
    Registry_view view = look_once();
    for (int tries = 0; tries < 20 && may_be_in_creation(view); ++tries) {
        std::this_thread::sleep_for(milliseconds(10));
        view = look_once();
    }
    return view;
}

Registry_view look_at_registry(int descriptor) {
    Registry_view view;
    view.looked_at = seconds_now();
    struct stat file;
    if (fstat(descriptor, &file) != 0) {
        return without_bytes(Registry_state::unreadable, error_text("examine", errno));
    }
    view.file = file;
    if (!S_ISREG(file.st_mode)) {
        view.problem = std::string("what lies under ") + NUV_SHM_NAME + " is no shared memory";
        return view;
    }
    view.bytes.emplace();
    const bool whole = file.st_size >= static_cast<off_t>(NUV_SHM_SIZE) &&
                       copy_settled_region(descriptor, *view.bytes);
    if (!whole) {
        return without_whole_region(descriptor, file);
    }
    view.looked_at = seconds_now();  // not before the copy: a heartbeat may have come meanwhile
    const std::uint16_t version = view.bytes->struct_version;
    if (version != NUV_SHM_VERSION) {
        view.bytes.reset();
        view.state = Registry_state::wrong_version;
        view.problem = "the registry has version " + std::to_string(version) +
                       ", this tool reads version " + std::to_string(NUV_SHM_VERSION);
        return view;
    }
    judge_heartbeat(view);
    return view;
}

bool is_no_file(const Registry_view& view) {
    return view.file && !S_ISREG(view.file->st_mode);
}

std::int64_t heartbeat_age(const Registry_view& view) {
    const auto stamp = static_cast<std::uint64_t>(view.bytes->time_stamp);
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(view.looked_at) - stamp);
}

bool may_attach() {
    const auto may = [](const char* path, int what) {
        return faccessat(AT_FDCWD, path, what, AT_EACCESS) == 0 ||
               (errno != EACCES && errno != EROFS);
    };
    struct stat file;
    const bool exists = lstat(registry_path, &file) == 0 || errno != ENOENT;
    return exists ? may(registry_path, R_OK | W_OK) : may("/dev/shm", W_OK | X_OK);
}

int value_of(sem_t copy) {
    int value = 0;
    sem_getvalue(&copy, &value);
    return value;
}

}  // namespace nuvctl
