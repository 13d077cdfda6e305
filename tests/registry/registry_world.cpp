#include "registry/registry_world.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

namespace registry_test {
namespace {

/// Puts a name wherever a word stands with at least so many of the characters behind it.
void name(std::string& text, const std::string& word, const char* characters, std::size_t least,
          const char* instead) {
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        const auto start = at + word.size();
        const auto end = std::min(text.find_first_not_of(characters, start), text.size());
        if (end - start >= least) {
            text.replace(at, end - at, instead);
        }
    }
}

std::string rendered(const nuv_test::Log_line& line) {
    constexpr char digits[] = "0123456789";
    const std::string me = std::to_string(static_cast<unsigned int>(pthread_self()));
    const std::string mine = std::to_string(getpid());
    std::ostringstream whole;
    whole << std::hex << line.source << ' ' << line.level << ' ' << line.text << '\n';
    std::string text = whole.str();
    name(text, "20000000 ", "", 0, "M");
    name(text, "10000000 ", "", 0, "S");
    name(text, "CNuv_shm_manager::", "", 0, "");
    name(text, NUV_SHM_NAME, "", 0, "NAME");
    name(text, "0x", "0123456789abcdef", 9, "PTR");
    name(text, "hMem ", digits, 1, "hMem FD");
    name(text, "t_id " + me, "", 0, "t_id ME");
    name(text, "processid " + mine, "", 0, "processid MINE");
    name(text, "proc_id " + mine, "", 0, "proc_id MINE");
    return text;
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
