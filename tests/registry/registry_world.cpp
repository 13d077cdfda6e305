#include "registry/registry_world.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <sstream>

namespace registry_test {
namespace {

std::atomic<std::int64_t> stopped_at{0};

class Region_file {
public:
    Region_file() : fd(open(REGION_FILE, O_RDWR | O_CLOEXEC)) { EXPECT_GE(fd, 0); }
    Region_file(const Region_file&) = delete;
    Region_file& operator=(const Region_file&) = delete;
    ~Region_file() { close(fd); }
    const int fd;
};

/// A name for a word that differs from run to run, known by itself or by the word before it.
std::string name_of(const std::string& word, const std::string& before) {
    constexpr std::size_t shortest_address = 11;
    if (word == NUV_SHM_NAME) {
        return "NAME";
    }
    if (word.rfind("0x", 0) == 0 && word.size() >= shortest_address) {
        return word.back() == ',' ? "PTR," : "PTR";
    }
    if (before == "hMem" && word.find_first_not_of("0123456789") == std::string::npos) {
        return "FD";
    }
    if (before == "t_id" && word == std::to_string(static_cast<unsigned int>(pthread_self()))) {
        return "ME";
    }
    if ((before == "processid" || before == "proc_id") && word == std::to_string(getpid())) {
        return "MINE";
    }
    return word;
}

std::string with_names(const std::string& text) {
    std::istringstream words(text);
    std::string named;
    std::string before;
    for (std::string word; std::getline(words, word, ' '); before = word) {
        named += (named.empty() ? "" : " ") + name_of(word, before);
    }
    return named;
}

}  // namespace

bool region_exists() {
    return access(REGION_FILE, F_OK) == 0;
}

void read_region(long offset, void* bytes, std::size_t size) {
    const Region_file file;
    EXPECT_EQ(pread(file.fd, bytes, size, offset), static_cast<ssize_t>(size));
}

void write_region(long offset, const void* bytes, std::size_t size) {
    const Region_file file;
    EXPECT_EQ(pwrite(file.fd, bytes, size, offset), static_cast<ssize_t>(size));
}

std::vector<unsigned char> region_bytes() {
    struct stat status {};
    EXPECT_EQ(stat(REGION_FILE, &status), 0);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(status.st_size));
    read_region(0, bytes.data(), bytes.size());
    return bytes;
}

int value_of(const CNuv_sem_access& access) {
    int value = -1;
    EXPECT_EQ(sem_getvalue(access.sem, &value), 0);
    return value;
}

Stopped_clock::Stopped_clock() {
    stopped_at = NOW;
}

Stopped_clock::~Stopped_clock() {
    stopped_at = 0;
}

std::string rendered(const nuv_test::Log_line& line) {
    static const std::string manager_prefix = "CNuv_shm_manager::";
    const auto source = static_cast<unsigned int>(line.source);
    char head[32];
    std::string text = line.text;
    if (source == NUV_BIT_LOG_SHM_MANAGER && text.rfind(manager_prefix, 0) == 0) {
        std::snprintf(head, sizeof head, "M%x ", line.level);
        text.erase(0, manager_prefix.size());
    } else if (source == NUV_BIT_LOG_SEM_ACCESS) {
        std::snprintf(head, sizeof head, "S%x ", line.level);
    } else {
        std::snprintf(head, sizeof head, "%x %x ", source, line.level);
    }
    return head + with_names(text);
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Lines probe_of_nothing() {
    return {"M2 Initialize: general_bits found 0x30000000",
            "M2 Initialize: OpenFileMapping NAME failed No such file or directory",
            "M2 Initialize: OpenFileMapping NAME does not exist call create"};
}

Lines creation() {
    return {"M2 create_shm: mmap done PTR",
            "M2 create_shm: ftruncate size 21464 done",
            "M2 create_shm: mmap done opencount 0 devlist_shm PTR",
            "M2 create_shm: proc_id MINE",
            "M2 create_shm: sem_init/sem_open 'sem_rw' done",
            "M2 create_shm: sem_init/sem_open 'sem_update' done",
            "M2 create_shm: create: sem_rw: PTR, sem_update: PTR",
            "M2 create_shm: shm opencount 1 processid MINE id_counter 1",
            "M2 create_shm: sem_post 'sem_rw' done",
            "M2 create_shm: sem_post 'sem_update' done"};
}

Lines opening() {
    return {"M2 Initialize: general_bits found 0x30000000",
            "M2 open_shm: OpenFileMapping NAME size 21464 done hMem FD",
            "M2 open_shm: mmap done PTR"};
}

Lines counting_in(int opencount) {
    return {"M2 open_shm: sem_wait 'sem_rw' done",
            "M2 open_shm: shm->opencount " + std::to_string(opencount) + " processid MINE",
            "M2 open_shm: sem_post 'sem_rw' done"};
}

Lines detaching(int opencount) {
    const Lines count_out = {
        "M2 ~CNuv_shm_manager:", "M2 close_shm: sem_wait 'sem_rw' done",
        "M2 close_shm: shm->opencount " + std::to_string(opencount) + " processid MINE",
        "M2 close_shm: sem_post 'sem_rw' done"};
    const Lines leaving = {"M2 close_shm: munmap done", "M2 close_shm: close m_hMem done"};
    if (opencount > 0) {
        return count_out + leaving;
    }
    return count_out +
           Lines{"M2 close_shm: sem_destroy 'sem_rw' done",
                 "M2 close_shm: sem_destroy 'sem_update' done"} +
           leaving + Lines{"M2 close_shm: shm_unlink done"};
}

std::unique_ptr<CNuv_shm_manager> Registry_test::attached_manager(unsigned int bits) {
    auto manager = make_manager(bits);
    EXPECT_EQ(manager->Initialize(), 0U);
    record.clear();
    return manager;
}

Lines Registry_test::lines() {
    Lines texts;
    for (const nuv_test::Log_line& line : record.lines()) {
        texts.push_back(rendered(line));
    }
    record.clear();
    return texts;
}

}  // namespace registry_test

// Comes before the system's in every library that is loaded.
extern "C" int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    const std::int64_t stopped = registry_test::stopped_at;
    now->tv_sec = stopped != 0 ? stopped : time.tv_sec;
    now->tv_usec = time.tv_nsec / 1000;
    return 0;
}
