#include "story.h"

#include "bench.h"
#include "expect.h"
#include "member.h"
#include "registry_file.h"

#include <nuv/result.h>
#include <nuv/shm_manager.h>

#include <nuvkit/backend.h>

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <thread>

namespace demo {
namespace {

using Rows = std::vector<Camera_row>;

constexpr char PLUGGED_IN[] = "Gate";
constexpr char PULLED_OUT[] = "Conveyor";
constexpr char OPENED[] = "Left eye";
constexpr auto LONGEST_WAIT = std::chrono::seconds(10);
constexpr unsigned int SHORTEST_TOLERANCE = 4;  // seconds

std::string name_of_process(pid_t process) {
    return "process " + std::to_string(process);
}

__attribute__((format(printf, 1, 2))) void say(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    std::printf("\n");
    std::fflush(stdout);
}

bool eventually(const std::function<bool()>& holds) {
    const auto deadline = std::chrono::steady_clock::now() + LONGEST_WAIT;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

Bench bench_of_seven() {
    return Bench({{"USB2", 21001, OPENED, true},
                  {"USB3", 31001, PULLED_OUT, true},
                  {"ME4", 41001, "Line scan", true},
                  {"CLHS_SISO", 51001, "Overview", true},
                  {"CLHS_KAYA", 61001, "High speed", true},
                  {"GIGE", 71001, "Yard", true},
                  {"GIGE", 71002, PLUGGED_IN, false}});
}

/// What both processes see, which has to be the same.
Rows seen_by_both(Member& a, Member& b) {
    Rows rows = a.cameras();
    expect(rows == b.cameras(), "the two processes see different cameras");
    return rows;
}

const Camera_row& camera(const Rows& rows, const char* name) {
    const Camera_row* found = find(rows, name);
    expect(found != nullptr, std::string("camera ") + name + " is not there");
    return *found;
}

void show_all_interfaces(Member& a, Member& b) {
    const Rows rows = seen_by_both(a, b);
    std::set<unsigned int> ids;
    std::set<unsigned int> types;
    for (const Camera_row& row : rows) {
        ids.insert(row.id);
        types.insert(row.iftype);
    }
    expect(rows.size() == 6 && types.size() == 6, "there are not six cameras of six types");
    expect(ids.size() == 6 && ids.count(0) == 0, "the cameras have not got an id each");
    say("Both see the same cameras, one for each interface type, under the same ids:");
    print_table(rows, name_of_process);
}

void plug_and_pull(Bench& bench, Member& a, Member& b) {
    say("Camera \"%s\" is plugged in ...", PLUGGED_IN);
    bench.plug(PLUGGED_IN, true);
    const auto sees_new = [](Member& member) { return find(member.cameras(), PLUGGED_IN); };
    expect(eventually([&] { return sees_new(a) != nullptr && sees_new(b) != nullptr; }),
           "the new camera does not appear");
    say("... and camera \"%s\" is pulled out.", PULLED_OUT);
    bench.plug(PULLED_OUT, false);
    const auto sees_old = [](Member& member) { return find(member.cameras(), PULLED_OUT); };
    expect(eventually([&] { return sees_old(a) == nullptr && sees_old(b) == nullptr; }),
           "the camera that was pulled out does not go");
    say("Their next scans find out. Both see now:");
    print_table(seen_by_both(a, b), name_of_process);
}

void open_in(Member& member, unsigned int id) {
    const Open_results results = member.open(id);
    expect(results.grab == NUV_NOERROR && results.com == NUV_NOERROR,
           member.name() + " cannot open the camera");
}

void refuse_second_opener(Member& a, Member& b) {
    const unsigned int id = camera(a.cameras(), OPENED).id;
    say("%s opens grabber and communication of camera %u. %s sees who has it:", a.name().c_str(),
        id, b.name().c_str());
    open_in(a, id);
    const Rows rows = b.cameras();
    print_table(rows, name_of_process);
    expect(camera(rows, OPENED).is_open(), "the camera does not show as open");
    expect(camera(rows, OPENED).holder == a.pid(), "the camera shows the wrong holder");

    const Open_results refused = b.open(id);
    expect(refused.grab == NUV_BACKEND_BUSY && refused.com == NUV_BACKEND_BUSY,
           "the second opener is not refused as busy");
    say("%s wants it too and is refused: 0x%X, busy.", b.name().c_str(), refused.grab);

    const Open_results closed = a.close();
    expect(closed.grab == NUV_NOERROR && closed.com == NUV_NOERROR, "the camera does not close");
    expect(!camera(b.cameras(), OPENED).is_open(), "the camera still shows as open");
    open_in(b, id);
    b.close();
    say("%s closes it, and now %s can open it.\n", a.name().c_str(), b.name().c_str());
}

void free_what_the_dead_held(Member& a, Member& b) {
    const unsigned int id = camera(a.cameras(), OPENED).id;
    open_in(a, id);
    expect(camera(b.cameras(), OPENED).holder == a.pid(), "the camera shows the wrong holder");
    a.kill();
    say("%s opens camera %u again and is killed with SIGKILL.", a.name().c_str(), id);
    expect(eventually([&] { return !camera(b.cameras(), OPENED).is_open(); }),
           "the camera that a dead process held is not freed");
    say("The next scan of %s finds its holder dead and frees the camera:", b.name().c_str());
    print_table(b.cameras(), name_of_process);
    open_in(b, id);
    b.close();
}

// The count that decides who leaves last still has the dead process in it.
void leave_after_a_death(Member& b) {
    b.quit();
    auto registry = read_registry();
    expect(registry.has_value(), "the registry went although the dead are still counted");
    say("%s leaves. The killed one could not count itself out, so the registry stays for now,",
        b.name().c_str());
    say("but its heart has stopped. Whoever comes next will find out ...");
    expect(eventually([&] {
               registry = read_registry();
               return registry && heartbeat_age(*registry) > long{SHORTEST_TOLERANCE};
           }),
           "the registry's heart still beats");

    CNuv_shm_manager newcomer;
    newcomer.set_difftime(SHORTEST_TOLERANCE);
    expect(newcomer.Initialize() == NUV_DIFFTIME_OUT, "the newcomer does not find it stale");
    int cameras = -1;
    newcomer.get_nuvdevice_count(1, cameras);
    expect(cameras == 0, "the stale registry was not cleared");
    say("... after %u seconds without a beat, a newcomer clears it, and leaves as the last.",
        SHORTEST_TOLERANCE);
}

}  // namespace

void tell_story() {
    expect(!read_registry(),
           "there is a live device registry here; ./dev demo plays where there is none");
    Bench bench = bench_of_seven();
    Member a("Process A");
    Member b("Process B");
    say("Two processes start a device manager each: %s is %d, %s is %d.", a.name().c_str(), a.pid(),
        b.name().c_str(), b.pid());
    show_all_interfaces(a, b);
    plug_and_pull(bench, a, b);
    refuse_second_opener(a, b);
    free_what_the_dead_held(a, b);
    leave_after_a_death(b);
    expect(!read_registry(), "the registry is still there");
    say("All have left, and the registry is gone.");
}

}  // namespace demo
