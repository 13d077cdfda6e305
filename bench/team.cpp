#include "team.h"

#include "fail.h"
#include "registry_world.h"
#include "round.h"

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <ctime>
#include <new>
#include <thread>

namespace nuv_bench {
namespace {

constexpr int most_members = 8;

void use_every_core() {
    cpu_set_t all;
    CPU_ZERO(&all);
    for (std::size_t core = 0; core < CPU_SETSIZE; ++core) {
        CPU_SET(core, &all);
    }
    sched_setaffinity(0, sizeof all, &all);
}

/// \return how many were done
template <class Operation>
long repeat_while(const std::atomic<bool>& running, Operation operation) {
    long count = 0;
    while (running.load(std::memory_order_relaxed)) {
        operation();
        ++count;
    }
    return count;
}

void wait_for(sem_t& semaphore) {
    timespec end{};
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += 30;
    require(sem_timedwait(&semaphore, &end) == 0, "a process of the team has died");
}

}  // namespace

struct Team::Board {
    std::atomic<Task> task{Task::floor};
    std::atomic<bool> running{false};
    sem_t go[most_members];
    sem_t done;
    long counts[most_members] = {};
};

Team::Team(int size) : keeper(manager_of_full_registry()), floor(*keeper->devlist_shm) {
    void* const shared =
        mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(shared != MAP_FAILED && size <= most_members, "cannot make a team of processes");
    board = new (shared) Board;
    sem_init(&board->done, 1, 0);
    for (int number = 0; number < size; ++number) {
        sem_init(&board->go[number], 1, 0);
        const pid_t process = fork();
        require(process >= 0, "cannot fork");
        if (process == 0) {
            run_member(number);
            _exit(0);
        }
        members.push_back(process);
    }
}

Team::~Team() {
    start(Task::leave);
    for (const pid_t process : members) {
        waitpid(process, nullptr, 0);
    }
    munmap(board, sizeof(Board));
}

void Team::start(Task task) {
    board->task = task;
    board->running = true;
    for (std::size_t number = 0; number < members.size(); ++number) {
        sem_post(&board->go[number]);
    }
}

std::vector<double> Team::work(Task task, std::chrono::milliseconds duration) {
    const auto started = std::chrono::steady_clock::now();
    start(task);
    std::this_thread::sleep_for(duration);
    board->running = false;
    const double seconds = seconds_since(started);
    std::vector<double> rates;
    for (std::size_t number = 0; number < members.size(); ++number) {
        wait_for(board->done);
    }
    for (std::size_t number = 0; number < members.size(); ++number) {
        rates.push_back(static_cast<double>(board->counts[number]) / seconds);
    }
    return rates;
}

void Team::run_member(int number) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    use_every_core();
    const std::unique_ptr<CNuv_shm_manager> manager = attached_manager();
    NUV_Device found;
    for (;;) {
        sem_wait(&board->go[number]);
        const Task task = board->task;
        if (task == Task::leave) {
            return;
        }
        board->counts[number] = repeat_while(board->running, [&] {
            if (task == Task::library) {
                manager->get_nuvdevice_from_id(last_id, found);
            } else {
                floor.look_up(last_id, found);
            }
            benchmark::DoNotOptimize(found);
        });
        sem_post(&board->done);
    }
}

}  // namespace nuv_bench
