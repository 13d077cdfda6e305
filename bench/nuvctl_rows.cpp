// `nuvctl list` as the operator starts it, beside a C program that prints the same table.
#include "fail.h"
#include "registry_world.h"
#include "round.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace nuv_bench {
namespace {

/// Its output goes nowhere.
void run(const std::vector<const char*>& words) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    std::vector<char*> arguments;
    for (const char* word : words) {
        arguments.push_back(const_cast<char*>(word));
    }
    arguments.push_back(nullptr);
    pid_t process = 0;
    int status = 0;
    require(posix_spawn(&process, words[0], &actions, nullptr, arguments.data(), environ) == 0 &&
                waitpid(process, &status, 0) == process && status == 0,
            "a program that lists the cameras has failed");
    posix_spawn_file_actions_destroy(&actions);
}

Comparison list() {
    const std::shared_ptr<CNuv_shm_manager> manager = manager_of_full_registry();
    const std::vector<const char*> tool = {NUV_BENCH_NUVCTL, "list"};
    const std::vector<const char*> by_hand = {NUV_BENCH_LIST_BY_HAND, "/dev/shm/nuv_device_shmem"};
    return {repeated(1,
                     [manager, tool] {
                         manager->update_time_stamp();
                         run(tool);
                     }),
            repeated(1, [by_hand] { run(by_hand); })};
}

}  // namespace

Rows nuvctl_rows() {
    Row row{"nuvctl list", "a C program that prints it", 1.5, list};
    row.rounds = 201;
    return {row};
}

}  // namespace nuv_bench
