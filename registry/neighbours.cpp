#include "registry/neighbours.h"

#include <nuv/registry_layout.h>

#include <dirent.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

namespace nuv {
namespace {

struct Closer {
    void operator()(DIR* folder) const { closedir(folder); }
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Folder = std::unique_ptr<DIR, Closer>;
using File = std::unique_ptr<std::FILE, Closer>;

constexpr std::size_t path_size = 96;

bool is_number(const char* name) {
    return std::isdigit(static_cast<unsigned char>(*name)) != 0;
}

/// Whether the line of a descriptor's information, which ends with the range of a lock, speaks of
/// the presence lock: "lock: 1: OFDLCK ADVISORY READ -1 00:19:5 1 1".
bool is_presence_lock(const char* line) {
    long first = 0;
    long last = 0;
    return std::strncmp(line, "lock:", 5) == 0 &&
           std::sscanf(line, "lock: %*s OFDLCK %*s %*s %*s %*s %ld %ld", &first, &last) == 2 &&
           first <= NUV_SHM_PRESENCE_BYTE && last >= NUV_SHM_PRESENCE_BYTE;
}

bool has_presence_lock(const char* process, const char* descriptor) {
    char path[path_size];
    std::snprintf(path, sizeof path, "/proc/%.50s/fdinfo/%.20s", process, descriptor);
    const File information(std::fopen(path, "re"));
    char line[256];
    while (information != nullptr && std::fgets(line, sizeof line, information.get()) != nullptr) {
        if (is_presence_lock(line)) {
            return true;
        }
    }
    return false;
}

/// The process has ended meanwhile, or the descriptor was closed; any other error hides something.
bool is_gone(int error) {
    return error == ENOENT || error == ESRCH;
}

/// A manager opens the region for writing; who merely looks at it holds no semaphore. The mode of
/// the link is that of the descriptor.
bool is_writable(int folder, const char* descriptor) {
    struct stat link {};
    return fstatat(folder, descriptor, &link, AT_SYMLINK_NOFOLLOW) != 0 ||
           (link.st_mode & S_IWUSR) != 0;
}

enum class Sight { something_else, the_region, hidden };

/// What a descriptor leads to. The link's text is looked at first: asking for the file itself could
/// block on a dead server.
Sight look_at(int folder, const char* descriptor, const struct stat& region) {
    char target[512];
    const ssize_t length = readlinkat(folder, descriptor, target, sizeof target - 1);
    if (length < 0) {
        return is_gone(errno) ? Sight::something_else : Sight::hidden;
    }
    target[length] = '\0';
    struct stat file {};
    const bool same = std::strstr(target, NUV_SHM_NAME) != nullptr &&
                      fstatat(folder, descriptor, &file, 0) == 0 && file.st_ino == region.st_ino &&
                      file.st_dev == region.st_dev && is_writable(folder, descriptor);
    return same ? Sight::the_region : Sight::something_else;
}

/// A line of the process's status. Nothing, with the reason in `errno`, when it can't be read.
std::optional<unsigned long> status_of(const char* process, const char* format) {
    char path[path_size];
    std::snprintf(path, sizeof path, "/proc/%.50s/status", process);
    const File status(std::fopen(path, "re"));
    if (status == nullptr) {
        return std::nullopt;
    }
    char line[256];
    while (std::fgets(line, sizeof line, status.get()) != nullptr) {
        unsigned long number = 0;
        if (std::sscanf(line, format, &number) == 1) {
            return number;
        }
    }
    return 0;
}

/// Root may lack the rights to look into others, as in many containers: to open their folders, and
/// to follow what lies in them.
bool may_look_into_all() {
    const unsigned long rights = status_of("self", "CapEff: %lx").value_or(0);
    const auto has = [rights](unsigned int capability) { return (rights >> capability & 1) != 0; };
    return has(CAP_SYS_PTRACE) && (has(CAP_DAC_READ_SEARCH) || has(CAP_DAC_OVERRIDE));
}

/// Of a process that cannot be looked into. Whoever is attached has touched the region, which
/// counts as a shared-memory page. What is hidden from the almighty is outside their container.
bool may_share_memory(const char* process) {
    if (may_look_into_all()) {
        return false;
    }
    const auto kilobytes = status_of(process, "RssShmem: %lu");
    return kilobytes.has_value() ? *kilobytes > 0 : !is_gone(errno);
}

/// The next numbered entry; null at the end, with `errno` set when it could not be read.
const dirent* next_number(DIR* folder) {
    errno = 0;
    const dirent* entry = readdir(folder);
    while (entry != nullptr && !is_number(entry->d_name)) {
        entry = readdir(folder);
    }
    return entry;
}

/// A process whose first thread has ended shows neither descriptors nor memory, but may live on in
/// the others.
bool lives_without_first_thread(const char* process) {
    return status_of(process, "Threads: %lu").value_or(0) > 1 &&
           status_of(process, "VmSize: %lu").value_or(1) == 0;
}

/// Whether the line of a process's memory map is the beginning of the region, where the semaphores
/// are, and can be written to:
/// "7f6d0a400000-7f6d0a406000 rw-s 00000000 00:19 5    /dev/shm/nuv_device_shmem".
bool maps_semaphores(const char* line, const struct stat& region) {
    unsigned long offset = 0;
    unsigned int device_major = 0;
    unsigned int device_minor = 0;
    unsigned long inode = 0;
    return std::sscanf(line, "%*s rw%*[-x]s %lx %x:%x %lu", &offset, &device_major, &device_minor,
                       &inode) == 4 &&
           offset == 0 && inode == region.st_ino &&
           makedev(device_major, device_minor) == region.st_dev;
}

/// A manager has one mapping for each descriptor; one more is somebody's who has closed his.
bool may_map_more_often(const char* process, const struct stat& region, int descriptors) {
    char path[path_size];
    std::snprintf(path, sizeof path, "/proc/%.50s/maps", process);
    const File map(std::fopen(path, "re"));
    if (map == nullptr) {
        const bool may_not = errno == EACCES || errno == EPERM;
        return may_not ? may_share_memory(process) : !is_gone(errno);
    }
    int mappings = 0;
    char line[512];
    while (std::fgets(line, sizeof line, map.get()) != nullptr) {
        mappings += maps_semaphores(line, region) ? 1 : 0;
    }
    return mappings > descriptors || (std::ferror(map.get()) != 0 && !is_gone(errno));
}

/// The process by its number, or one of its threads as "number/task/number".
bool may_use_region(const char* process, const struct stat& region) {
    char path[path_size];
    std::snprintf(path, sizeof path, "/proc/%.50s/fd", process);
    const Folder descriptors(opendir(path));
    if (descriptors == nullptr) {
        return !is_gone(errno) && may_share_memory(process);
    }
    int with_lock = 0;
    while (const dirent* const entry = next_number(descriptors.get())) {
        const Sight sight = look_at(dirfd(descriptors.get()), entry->d_name, region);
        if (sight == Sight::hidden) {
            return may_share_memory(process);
        }
        if (sight == Sight::the_region) {
            if (!has_presence_lock(process, entry->d_name)) {
                return true;
            }
            ++with_lock;
        }
    }
    if (errno != 0) {
        return !is_gone(errno);
    }
    return may_map_more_often(process, region, with_lock);
}

bool may_be_old_neighbour(const char* process, const struct stat& region) {
    if (!lives_without_first_thread(process)) {
        return may_use_region(process, region);
    }
    char text[path_size];
    std::snprintf(text, sizeof text, "/proc/%.20s/task", process);
    const Folder threads(opendir(text));
    if (threads == nullptr) {
        return !is_gone(errno);
    }
    while (const dirent* const entry = next_number(threads.get())) {
        std::snprintf(text, sizeof text, "%.20s/task/%.20s", process, entry->d_name);
        if (may_use_region(text, region)) {
            return true;
        }
    }
    return errno != 0 && !is_gone(errno);
}

}  // namespace

bool may_have_old_neighbours(int region_fd) {
    struct stat region {};
    const Folder processes(opendir("/proc"));
    // Every system has a first process: where it is not to be seen, others are hidden as well.
    const bool sees_all = access("/proc/1", F_OK) == 0;
    if (processes == nullptr || !sees_all || fstat(region_fd, &region) != 0) {
        return true;
    }
    while (const dirent* const entry = next_number(processes.get())) {
        if (may_be_old_neighbour(entry->d_name, region)) {
            return true;
        }
    }
    return errno != 0;
}

}  // namespace nuv
