#include "registry/registry_world.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <regex>
#include <sstream>

namespace registry_test {
namespace {

/// The line with names for what differs from run to run.
std::string rendered(const nuv_test::Log_line& line) {
    const std::string thread = std::to_string(static_cast<unsigned int>(pthread_self()));
    const std::pair<std::string, std::string> names[] = {
        {"^20000000 (\\w+) CNuv_shm_manager::", "M$1 "},
        {"^10000000 ", "S"},
        {NUV_SHM_NAME, "NAME"},
        {"0x[0-9a-f]{9,}", "PTR"},
        {"hMem [0-9]+", "hMem FD"},
        {"t_id " + thread, "t_id ME"},
        {"(processid|proc_id) " + std::to_string(getpid()) + "\\b", "$1 MINE"},
    };
    std::ostringstream text;
    text << std::hex << line.source << ' ' << line.level << ' ' << line.text << '\n';
    std::string named = text.str();
    for (const auto& [pattern, name] : names) {
        named = std::regex_replace(named, std::regex(pattern), name);
    }
    return named;
}

}  // namespace

bool region_exists() {
    return access(REGION_FILE, F_OK) == 0;
}

int value_of(const CNuv_sem_access& access) {
    int value = -1;
    EXPECT_EQ(sem_getvalue(access.sem, &value), 0);
    return value;
}

std::string counted(const std::string& op, int opencount) {
    std::ostringstream text;
    text << "M2 " << op << ": sem_wait 'sem_rw' done\n"
         << "M2 " << op << ": shm->opencount " << opencount << " processid MINE\n"
         << "M2 " << op << ": sem_post 'sem_rw' done\n";
    return text.str();
}

std::unique_ptr<CNuv_shm_manager> Registry_test::attached_manager(unsigned int bits) {
    auto manager = make_manager(bits);
    EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    record.clear();
    return manager;
}

std::string Registry_test::lines() {
    std::string text;
    for (const nuv_test::Log_line& line : record.lines()) {
        text += rendered(line);
    }
    record.clear();
    return text;
}

}  // namespace registry_test

// Comes before the system's in every library that is loaded.
extern "C" int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    *now = {registry_test::NOW, 0};
    return 0;
}
