#include "region_users.h"

#include "lock_look.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <utility>

namespace nuvctl {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view region_name = NUV_SHM_NAME;
constexpr std::string_view deleted_mark = " (deleted)";

bool ends_with(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// From another mount namespace a path may begin anywhere: only its last name is sure.
bool is_region(std::string_view path) {
    if (ends_with(path, deleted_mark)) {
        path.remove_suffix(deleted_mark.size());
    }
    return ends_with(path, region_name);
}

bool is_refused(int error) {
    return error == EACCES || error == EPERM;
}

bool is_shortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

/// What is found out about one process.
class Examination {
public:
    explicit Examination(const fs::path& of_process) : folder(of_process) {}

    /// False when the process may not be examined.
    bool look() { return look_at_descriptors() && look_at_mappings(); }
    std::vector<Region_user> found;
    bool incomplete = false;

private:
    bool is_admitted(int error);
    Region_user& on_region(dev_t device, ino_t inode, bool deleted);
    bool look_at_descriptors();
    void add_descriptor(const std::string& number);
    bool look_at_mappings();
    void add_mapping(const std::string& line);

    const std::string folder;
};

bool Examination::is_admitted(int error) {
    incomplete = incomplete || is_shortage(error);
    return !is_refused(error);
}

Region_user& Examination::on_region(dev_t device, ino_t inode, bool deleted) {
    for (Region_user& user : found) {
        if (user.device == device && user.inode == inode) {
            user.deleted = user.deleted || deleted;
            return user;
        }
    }
    Region_user user;
    user.device = device;
    user.inode = inode;
    user.deleted = deleted;
    found.push_back(user);
    return found.back();
}

bool Examination::look_at_descriptors() {
    std::error_code error;
    for (fs::directory_iterator entry(folder + "/fd", error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unreadable;
        const std::string target = fs::read_symlink(entry->path(), unreadable);
        if (is_refused(unreadable.value())) {
            return false;
        }
        if (is_region(target)) {
            add_descriptor(entry->path().filename());
        }
    }
    return is_admitted(error.value());
}

void Examination::add_descriptor(const std::string& number) {
    struct stat file;
    if (stat((folder + "/fd/" + number).c_str(), &file) != 0 || !S_ISREG(file.st_mode)) {
        return;
    }
    Region_user& user = on_region(file.st_dev, file.st_ino, file.st_nlink == 0);
    ++user.descriptors;
    std::ifstream information(folder + "/fdinfo/" + number);
    for (std::string line; std::getline(information, line);) {
        off_t first = 0;
        off_t last = 0;
        // "lock: 1: OFDLCK ADVISORY READ -1 00:19:5 1 1"
        if (std::sscanf(line.c_str(), "lock: %*s OFDLCK %*s %*s %*s %*s %ld %ld", &first, &last) ==
            2) {
            user.presence_locks += first <= NUV_SHM_PRESENCE_BYTE && last >= NUV_SHM_PRESENCE_BYTE;
            user.has_update_lock = user.has_update_lock ||
                                   (first <= NUV_SHM_UPDATE_BYTE && last >= NUV_SHM_UPDATE_BYTE);
        }
    }
}

bool Examination::look_at_mappings() {
    errno = 0;
    std::ifstream mappings(folder + "/maps");
    if (!mappings) {
        return is_admitted(errno);
    }
    for (std::string line; std::getline(mappings, line);) {
        if (is_region(line)) {
            add_mapping(line);
        }
    }
    return true;
}

/// "7f2a44000000-7f2a44006000 rw-s 00000000 00:1b 3    /dev/shm/nuv_device_shmem (deleted)"
void Examination::add_mapping(const std::string& line) {
    char access[8] = "";
    unsigned int device_major = 0;
    unsigned int device_minor = 0;
    unsigned long inode = 0;
    if (std::sscanf(line.c_str(), "%*s %7s %*s %x:%x %lu", access, &device_major, &device_minor,
                    &inode) != 4) {
        return;
    }
    Region_user& user =
        on_region(makedev(device_major, device_minor), inode, ends_with(line, deleted_mark));
    user.managers += std::string_view(access).substr(0, 2) == "rw" && access[3] == 's';
}

std::vector<std::string> other_namespaces(const fs::path& folder) {
    std::vector<std::string> others;
    for (const char* const kind : {"mnt", "ipc", "pid"}) {
        std::error_code error;
        const fs::path ours = fs::read_symlink(std::string("/proc/self/ns/") + kind, error);
        const fs::path theirs = fs::read_symlink(folder / "ns" / kind, error);
        if (!error && ours != theirs) {
            others.emplace_back(kind);
        }
    }
    return others;
}

void examine(pid_t id, dev_t our_shm, Region_users& result) {
    const fs::path folder = folder_of(id);
    Examination examination(folder);
    const bool examined = examination.look();
    result.incomplete = result.incomplete || examination.incomplete;
    if (examined && examination.found.empty()) {
        return;
    }
    const auto process = find_process(id);
    if (!process) {
        const bool is_there = access(("/proc/" + std::to_string(id)).c_str(), F_OK) == 0;
        result.incomplete = result.incomplete || (is_there && !examination.found.empty());
        return;
    }
    if (!examined && process->in_user_space) {
        ++result.unexamined;
        result.unexamined_sharing += process->shares_memory;
    }
    for (Region_user& user : examination.found) {
        user.process = *process;
        user.elsewhere = user.device != our_shm;
        user.other_namespaces = other_namespaces(folder);
        result.users.push_back(std::move(user));
    }
}

}  // namespace

Region_users find_region_users() {
    Region_users result;
    struct stat shm = {};
    stat("/dev/shm", &shm);
    const std::vector<pid_t> ids = process_ids();
    result.incomplete = !std::binary_search(ids.begin(), ids.end(), getpid());
    for (const pid_t id : ids) {
        if (id != getpid()) {
            examine(id, shm.st_dev, result);
        }
    }
    result.some_hidden = access("/proc/1", F_OK) != 0;
    return result;
}

bool is_on(const Region_user& user, const Registry_view& view) {
    return view.file && user.device == view.file->st_dev && user.inode == view.file->st_ino;
}

bool is_cut_off(const Region_user& user, const Registry_view& view) {
    const bool name_is_known = view.file || view.state == Registry_state::absent;
    return !user.elsewhere && !is_on(user, view) && (user.deleted || name_is_known);
}

int managers_on(const Region_users& found, const Registry_view& view) {
    int managers = 0;
    for (const Region_user& user : found.users) {
        managers += is_on(user, view) ? user.managers : 0;
    }
    return managers;
}

}  // namespace nuvctl
