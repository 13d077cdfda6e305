// The registry as a test sees it: its file, its log as text, and a clock that stands still.
#pragma once

#include "support/recording_log.h"

#include <nuv/bits.h>
#include <nuv/registry_layout.h>
#include <nuv/result.h>
#include <nuv/shm_manager.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace registry_test {

constexpr char REGION_FILE[] = "/dev/shm/nuv_device_shmem";
constexpr unsigned int LOG_BITS = NUV_BIT_LOG_SEM_ACCESS | NUV_BIT_LOG_SHM_MANAGER;

/// The wall clock of every process of these tests.
constexpr std::int64_t NOW = 2'000'000'000;

bool region_exists();
/// What is left of the semaphore behind a wrapper.
int value_of(const CNuv_sem_access& access);

inline NUV_Device device(unsigned int id, unsigned int serialnumber, std::uint16_t type = 8,
                         unsigned int status = NUV_STATUS_PRESENT) {
    NUV_Device made{};
    made.id = id;
    made.serialnumber = serialnumber;
    made.nuv_iftype = type;
    made.status_bits = status;
    return made;
}

/// Whether all bytes of two records are the same.
template <class Record>
bool same(const Record& one, const Record& other) {
    return std::memcmp(&one, &other, sizeof one) == 0;
}

inline bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
inline bool ends_with(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// What a manager writes, each line as "M2 create_shm: mmap done PTR": M for the manager's source
// word and prefix, S for a semaphore wrapper's source word, else the source word; the level; and
// the text, in which what differs from run to run has a name.

inline const std::string nothing_found =
    R"(M2 Initialize: general_bits found 0x30000000
M2 Initialize: OpenFileMapping NAME failed No such file or directory
M2 Initialize: OpenFileMapping NAME does not exist call create
M2 create_shm: CreateFileMapping NAME size 21464 done hMem FD
)";
inline const std::string built = R"(M2 create_shm: mmap done PTR
M2 create_shm: ftruncate size 21464 done
M2 create_shm: mmap done opencount 0 devlist_shm PTR
M2 create_shm: proc_id MINE
M2 create_shm: sem_init/sem_open 'sem_rw' done
M2 create_shm: sem_init/sem_open 'sem_update' done
M2 create_shm: create: sem_rw: PTR, sem_update: PTR
M2 create_shm: shm opencount 1 processid MINE id_counter 1
M2 create_shm: sem_post 'sem_rw' done
M2 create_shm: sem_post 'sem_update' done
)";
inline const std::string found = R"(M2 Initialize: general_bits found 0x30000000
M2 open_shm: OpenFileMapping NAME size 21464 done hMem FD
)";
inline const std::string mapped = "M2 open_shm: mmap done PTR\n";
inline const std::string waited = "S2 wait: sem_wait returned 0 wait_called 1 t_id ME\n";
inline const std::string posted = "S2 post: sem_post returned 0 wait_called 0\n";
/// What attaching and detaching write of the count.
std::string counted(const std::string& op, int opencount);

class Registry_test : public testing::Test {
protected:
    std::unique_ptr<CNuv_shm_manager> make_manager(unsigned int bits = LOG_BITS) {
        return std::make_unique<CNuv_shm_manager>(log.get(), bits);
    }
    /// Attached, and its lines forgotten.
    std::unique_ptr<CNuv_shm_manager> attached_manager(unsigned int bits = LOG_BITS);
    /// The lines since the last call.
    std::string lines();

    nuv_test::Log_record record;
    std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
};

}  // namespace registry_test
