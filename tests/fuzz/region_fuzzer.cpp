// Any bytes in the region, before or after managers attach to it, and every operation on them.
#include "fuzz/fuzz_world.h"
#include "fuzz/region_parts.h"
#include "support/region_file.h"
#include "support/stand_in_log.h"

#include <nuvkit/interface_gige.h>
#include <nuvkit/interface_usb3.h>

#include <sanitizer/asan_interface.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <fstream>
#include <memory>

namespace {

constexpr unsigned int all_log_bits = 0xF0000000;

constexpr char inventory[] =
    "[left]\ninterface=USB3\nserial=1\n"
    "[right]\ninterface=USB3\nserial=2\nname=Right\n"
    "[refuses]\ninterface=USB3\nserial=3\nopen_result=5\n"
    "[stays open]\ninterface=GIGE\nserial=1\nclose_result=6\n"
    "[unplugged]\ninterface=GIGE\nserial=5\nplugged=no\n";

/// Whoever reads on behind the region is seen, as behind any other object.
void fence(const CNuv_shm_manager& manager, bool set) {
    if (manager.devlist_shm == nullptr) {
        return;
    }
    const auto page = static_cast<std::size_t>(getpagesize());
    const std::size_t rest = page - NUV_SHM_SIZE % page;
    const void* const end = manager.devlist_shm + 1;
    if (set) {
        ASAN_POISON_MEMORY_REGION(end, rest);
    } else {
        ASAN_UNPOISON_MEMORY_REGION(end, rest);
    }
}

/// The one that comes first, so that a stale registry is cleared after 4 seconds.
class First_manager : public CNuv_shm_manager {
public:
    explicit First_manager(CNuv_Log* log) : CNuv_shm_manager(log, all_log_bits) {
        set_difftime(4);
        Initialize();
    }
};

/// All who are attached to the region.
struct Users {
    explicit Users(CNuv_Log* log) : manager(log), usb3(log, all_log_bits), gige(log, all_log_bits) {
        usb3.initialize();
        gige.initialize();
        for (CNuv_shm_manager* const one : managers()) {
            one->m_difftime = 0;  // or each of them would wait for a lost semaphore for so long
            fence(*one, true);
        }
    }
    ~Users() {
        for (const CNuv_shm_manager* const one : managers()) {
            fence(*one, false);
        }
    }

    std::array<CNuv_shm_manager*, 3> managers() {
        return {&manager, usb3.shm_mgr.get(), gige.shm_mgr.get()};
    }

    First_manager manager;
    CNuv_interface_usb3 usb3;
    CNuv_interface_gige gige;
};

/// A registry in use: cameras of two types, one of them open.
NUV_Devlist_Shm registry_in_use(CNuv_Log* log) {
    Users users(log);
    CNuv_grab* grab = nullptr;
    users.usb3.open_grab_device(1, &grab);
    nuv_fuzz::require(grab != nullptr && users.manager.devlist_shm->nuvdevice[3].id == 4,
                      "the bench cameras are in the registry");
    return *users.manager.devlist_shm;
}

struct World {
    const std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
    const NUV_Devlist_Shm in_use = registry_in_use(log.get());
};

World& world() {
    static World made;
    return made;
}

void leave_a_file(FuzzedDataProvider& input, bool takes_semaphores) {
    NUV_Devlist_Shm bytes = world().in_use;
    nuv_fuzz::distort(bytes, input, takes_semaphores);
    std::ofstream file(nuv_test::region_file, std::ios::binary);
    file.write(reinterpret_cast<const char*>(&bytes), sizeof bytes);
    nuv_fuzz::require(file.flush().good(), "the region's file can be written");
}

void run_everything(Users& users, FuzzedDataProvider& input) {
    nuv_fuzz::look_up(users.manager, input);
    nuv_fuzz::change(users.manager, input);
    nuv_fuzz::use_cameras(users.usb3, input);
    nuv_fuzz::use_cameras(users.gige, input);
    nuv_fuzz::delete_devices(users.gige, input);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    nuv_fuzz::enter_world(*argv);
    nuv_test::write_ini("nuv_cameras", inventory);
    world();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const bool takes_semaphores = nuv_fuzz::may_take_semaphores(data, size);
    FuzzedDataProvider input(data, size);
    std::remove(nuv_test::region_file);
    if (input.ConsumeBool()) {
        leave_a_file(input, takes_semaphores);
    }
    Users users(world().log.get());
    run_everything(users, input);
    if (users.manager.devlist_shm != nullptr) {
        nuv_fuzz::distort(*users.manager.devlist_shm, input, takes_semaphores);
        nuv_fuzz::look(input, world().in_use);
        run_everything(users, input);
    }
    return 0;
}
