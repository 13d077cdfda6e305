// The registry as a test sees it: its file as bytes, its log as text, its clock at will.
#pragma once

#include "support/recording_log.h"

#include <nuv/bits.h>
#include <nuv/registry_layout.h>
#include <nuv/shm_manager.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace registry_test {

using Lines = std::vector<std::string>;

constexpr char REGION_FILE[] = "/dev/shm/nuv_device_shmem";
constexpr unsigned int LOG_BITS = NUV_BIT_LOG_SEM_ACCESS | NUV_BIT_LOG_SHM_MANAGER;

// Where fields lie in the file.
constexpr long AT_VERSION = 0;
constexpr long AT_OPENCOUNT = 2;
constexpr long AT_TIME_STAMP = 8;
constexpr long AT_SEM_RW = 16;
constexpr long AT_SEM_UPDATE = 48;
constexpr long AT_PROCESSID = 80;
constexpr long AT_DEVICES = 84;
constexpr long AT_IF_OPENCOUNT = 21076;
constexpr long AT_NUM_LIST = 21204;
constexpr long AT_ID_COUNTER = 21460;

bool region_exists();
std::vector<unsigned char> region_bytes();
void read_region(long offset, void* bytes, std::size_t size);
void write_region(long offset, const void* bytes, std::size_t size);
template <class Value>
Value peek(long offset) {
    Value value{};
    read_region(offset, &value, sizeof value);
    return value;
}
template <class Value>
void poke(long offset, Value value) {
    write_region(offset, &value, sizeof value);
}
inline int opencount() {
    return peek<std::int16_t>(AT_OPENCOUNT);
}
inline std::int64_t time_stamp() {
    return peek<std::int64_t>(AT_TIME_STAMP);
}
inline void set_time_stamp(std::int64_t seconds) {
    poke(AT_TIME_STAMP, seconds);
}
/// What is left of the semaphore behind a wrapper.
int value_of(const CNuv_sem_access& access);

/// The wall clock of this process stands at NOW while this object lives.
constexpr std::int64_t NOW = 2'000'000'000;
struct Stopped_clock {
    Stopped_clock();
    ~Stopped_clock();
};

/// A line as "M2 create_shm: mmap done PTR": M for the manager's source word and prefix, S for a
/// semaphore wrapper's source word, else the source word; the level; and the text, in which what
/// differs from run to run has a name.
std::string rendered(const nuv_test::Log_line& line);

/// Blocks of lines that belong together.
Lines operator+(Lines first, const Lines& second);
Lines probe_of_nothing();
Lines creation();
Lines opening();
Lines counting_in(int opencount);
Lines detaching(int opencount);

class Registry_test : public testing::Test {
protected:
    std::unique_ptr<CNuv_shm_manager> make_manager(unsigned int bits = LOG_BITS) {
        return std::make_unique<CNuv_shm_manager>(log.get(), bits);
    }
    /// Attached, and its lines forgotten.
    std::unique_ptr<CNuv_shm_manager> attached_manager(unsigned int bits = LOG_BITS);
    /// The lines since the last call.
    Lines lines();

    nuv_test::Log_record record;
    std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
};

}  // namespace registry_test
