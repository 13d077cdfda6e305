#include "registry/registry_world.h"

#include "support/recording_log.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

namespace registry_test {

std::unique_ptr<CNuv_shm_manager> Registry_test::attached_manager(unsigned int bits) {
    auto manager = make_manager(bits);
    EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    record.clear();
    return manager;
}

std::string Registry_test::lines() {
    const std::string me = std::to_string(static_cast<unsigned int>(pthread_self()));
    const std::string mine = std::to_string(getpid());
    std::string text = told(record, {{"^20000000 (\\w+) CNuv_shm_manager::", "M$1 "},
                                     {"^10000000 ", "S"},
                                     {NUV_SHM_NAME, "NAME"},
                                     {"0x[0-9a-f]{9,}", "PTR"},
                                     {"hMem \\d+", "hMem FD"},
                                     {"t_id " + me, "t_id ME"},
                                     {"(process|proc_)id " + mine + "\\b", "$1id MINE"}});
    record.clear();
    return text;
}

}  // namespace registry_test

// Comes before the system's in every library that is loaded.
extern "C" int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    *now = {registry_test::NOW, 0};
    return 0;
}
