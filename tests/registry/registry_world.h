// The registry as a test sees it: its file, its log as text, and a clock that stands still.
#pragma once

#include "support/recording_log.h"
#include "support/region_file.h"

#include <nuv/bits.h>
#include <nuv/registry_layout.h>
#include <nuv/result.h>
#include <nuv/shm_manager.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace registry_test {

using nuv_test::region_exists;
using nuv_test::region_file;

constexpr unsigned int LOG_BITS = NUV_BIT_LOG_SEM_ACCESS | NUV_BIT_LOG_SHM_MANAGER;

/// The wall clock of every process of these tests.
constexpr std::int64_t NOW = 2'000'000'000;

/// What is left of the semaphore behind a wrapper.
inline int value_of(const CNuv_sem_access& access) {
    return nuv_test::value_of(access.sem);
}

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

class Registry_test : public testing::Test {
protected:
    std::unique_ptr<CNuv_shm_manager> make_manager(unsigned int bits = LOG_BITS) {
        return std::make_unique<CNuv_shm_manager>(log.get(), bits);
    }
    /// Attached, and its lines forgotten.
    std::unique_ptr<CNuv_shm_manager> attached_manager(unsigned int bits = LOG_BITS);
    /// The lines since the last call, each as "M2 create_shm: mmap done PTR": M for the manager's
    /// source word and prefix, S for a wrapper's source word, else the source word; the level; and
    /// the text, in which what differs from run to run has a name.
    std::string lines();

    nuv_test::Log_record record;
    std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
};

}  // namespace registry_test
