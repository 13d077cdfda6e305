#include "manager/update_hold.h"

#include "manager/listens.h"

#include <nuv/bits.h>

namespace nuv {
namespace {

using namespace std::chrono_literals;

constexpr auto first_line = 5s;
constexpr auto between_lines = 60s;

}  // namespace

Update_hold::Update_hold(CNuv_device_manager& for_manager, const char* operation,
                         Worth_waiting asked)
    : manager(for_manager),
      op(operation),
      worth_waiting(asked),
      next_line(first_line),
      acquired(wait_with_patience(*manager.shm_mgr->sema_update, *this) == 0) {}

void Update_hold::release() {
    if (acquired) {
        acquired = false;
        manager.shm_mgr->sema_update->post();
    }
}

bool Update_hold::until_shutdown_is_due(CNuv_device_manager& manager, std::chrono::milliseconds) {
    return std::chrono::steady_clock::now() < manager.shutdown_due.load();
}

bool Update_hold::go_on(std::chrono::milliseconds waited) {
    if (waited >= next_line) {
        next_line += between_lines;
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: sem_update has been taken for %d s, see nuvctl doctor",
                op, static_cast<int>(waited / 1s));
    }
    return worth_waiting(manager, waited);
}

void Update_hold::freed_from_dead_holder() {
    NUV_LOG(manager, NUV_LOG_ERROR, "%s: sem_update was held by a dead process and is free again",
            op);
}

}  // namespace nuv
