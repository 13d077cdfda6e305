#include "registry/registry_world.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <regex>

namespace registry_test {
namespace {

std::string with_names(std::string text) {
    const std::string thread = std::to_string(static_cast<unsigned int>(pthread_self()));
    const std::pair<std::string, std::string> names[] = {
        {NUV_SHM_NAME, "NAME"},
        {"0x[0-9a-f]{9,}", "PTR"},
        {"hMem [0-9]+", "hMem FD"},
        {"t_id " + thread, "t_id ME"},
        {"(processid|proc_id) " + std::to_string(getpid()) + "\\b", "$1 MINE"},
    };
    for (const auto& [pattern, name] : names) {
        text = std::regex_replace(text, std::regex(pattern), name);
    }
    return text;
}

std::string rendered(const nuv_test::Log_line& line) {
    static const std::string prefix = "CNuv_shm_manager::";
    const auto source = static_cast<unsigned int>(line.source);
    char level[16];
    std::snprintf(level, sizeof level, "%x ", line.level);
    if (source == NUV_BIT_LOG_SHM_MANAGER && line.text.rfind(prefix, 0) == 0) {
        return "M" + (level + with_names(line.text.substr(prefix.size()))) + "\n";
    }
    char word[16];
    std::snprintf(word, sizeof word, "%x ", source);
    const std::string head = source == NUV_BIT_LOG_SEM_ACCESS ? "S" : word;
    return head + level + with_names(line.text) + "\n";
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
