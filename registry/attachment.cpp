#include "registry/attachment.h"

#include "registry/region_locks.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <mutex>

namespace nuv {
namespace {

/// Guards the list, and every step between the kernel's answer and its record in the list: no fork
/// falls between the two.
std::mutex list_mutex;
Attachment* first = nullptr;

int open_name(int flags) {
    constexpr mode_t everybody = 0666;
    return shm_open(NUV_SHM_NAME, flags, everybody);
}

}  // namespace

const int Attachment::registered =
    pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);

Attachment::Attachment() : process(getpid()) {
    const std::lock_guard<std::mutex> lock(list_mutex);
    next = first;
    if (first != nullptr) {
        first->previous = this;
    }
    first = this;
}

Attachment::~Attachment() {
    unmap();
    if (descriptor >= 0) {
        close(belongs_to_this_process() ? Locks::own : Locks::of_another_process);
    }
    const std::lock_guard<std::mutex> lock(list_mutex);
    (previous != nullptr ? previous->next : first) = next;
    if (next != nullptr) {
        next->previous = previous;
    }
}

bool Attachment::can_open() {
    const std::lock_guard<std::mutex> lock(list_mutex);
    const int probe = open_name(O_RDWR);
    if (probe < 0) {
        return false;
    }
    ::close(probe);
    return true;
}

bool Attachment::open(int flags) {
    const std::lock_guard<std::mutex> lock(list_mutex);
    descriptor = open_name(flags);
    return descriptor >= 0;
}

bool Attachment::map() {
    const std::lock_guard<std::mutex> lock(list_mutex);
    void* const address =
        mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (address == MAP_FAILED) {
        return false;
    }
    mapping = static_cast<NUV_Devlist_Shm*>(address);
    return true;
}

void Attachment::unmap() {
    const std::lock_guard<std::mutex> lock(list_mutex);
    if (mapping != nullptr) {
        munmap(mapping, NUV_SHM_SIZE);
        mapping = nullptr;
    }
}

void Attachment::close(Locks locks) {
    const std::lock_guard<std::mutex> lock(list_mutex);
    if (descriptor >= 0) {
        if (locks == Locks::own) {
            drop_locks(descriptor);
        }
        ::close(descriptor);
        descriptor = -1;
    }
}

std::optional<std::size_t> Attachment::size_if_linked() const {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || status.st_nlink == 0) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(status.st_size);
}

unsigned int Attachment::version() const {
    std::uint16_t version = 0;
    const ssize_t count = pread(descriptor, &version, sizeof version, 0);
    return count == static_cast<ssize_t>(sizeof version) ? version : 0U;
}

void Attachment::set_manager(CNuv_shm_manager& attached) {
    const std::lock_guard<std::mutex> lock(list_mutex);
    manager = &attached;
    attached.m_hMem = descriptor;
    attached.devlist_shm = mapping;
    attached.sema_rw->guard = &rw_watch.emplace(attached);
    attached.sema_update->guard = &update_lock.emplace(descriptor);
}

bool Attachment::belongs_to_this_process() const {
    return process == getpid();
}

void Attachment::before_fork() {
    list_mutex.lock();
}

void Attachment::after_fork_in_parent() {
    list_mutex.unlock();
}

void Attachment::after_fork_in_child() {
    for (Attachment* held = first; held != nullptr; held = held->next) {
        held->forget_in_child();
    }
    list_mutex.unlock();
}

void Attachment::forget_in_child() {
    // The mapping holds on to the open file description, and so to its locks, as the descriptor
    // does. Unlocking here would unlock the parent.
    if (mapping != nullptr) {
        munmap(mapping, NUV_SHM_SIZE);
        mapping = nullptr;
    }
    if (descriptor >= 0) {
        ::close(descriptor);
        descriptor = -1;
    }
    if (manager == nullptr) {
        return;
    }
    manager->m_hMem = -1;
    manager->devlist_shm = nullptr;
    for (CNuv_sem_access* const access : {manager->sema_rw.get(), manager->sema_update.get()}) {
        if (access != nullptr) {
            access->sem = nullptr;
            access->guard = nullptr;
            access->wait_called = 0;
            access->t_id = 0;
        }
    }
}

}  // namespace nuv
