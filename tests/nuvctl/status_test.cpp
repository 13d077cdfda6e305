#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace nuv_test;

NUV_Devlist_Shm busy_registry() {
    NUV_Device unplugged = camera(41, 8, 2, "unplugged");
    unplugged.status_bits = 0;
    NUV_Devlist_Shm registry = registry_with({camera(40, 8, 1, "seen"), unplugged}, 0);
    registry.opencount = 7;
    registry.processid = getpid();
    registry.id_counter = 42;
    registry.if_opencount[0] = {8, 2};
    registry.if_opencount[5] = {200, 1};
    return registry;
}

TEST(Status, JsonTellsWhatTheRegistryHolds) {
    publish(busy_registry());
    ASSERT_EQ(chmod(region_file, 0640), 0);
    const nlohmann::json status = answer(0, {"status"});
    expect_fields(status, R"({
        "version": 257, "managers": 7, "next_id": 42, "heartbeat": {"verdict": "fresh"},
        "entries": {"total": 128, "used": 1, "free": 126},
        "semaphores": {"sem_rw": {"state": "free"}, "sem_update": {"state": "held"}},
        "region": {"size": 21464, "mode": "0640"}})"_json);
    ASSERT_EQ(status["users"].size(), 2u);
    expect_fields(status["users"][0], R"({"count": 2, "iftype": {"short_name": "USB3"}})"_json);
    EXPECT_EQ(status["users"][1]["iftype"]["code"], 200);
    EXPECT_EQ(status["last_attached"]["pid"], getpid());
    EXPECT_EQ(status["region"]["owner"]["id"], getuid());
}

TEST(Status, TextNamesHeldSemaphoresAndDisplayNames) {
    publish(busy_registry());
    const std::string text = run_tool({"status"}).text;
    for (const char* part :
         {"7 attached", "2  Interface USB3", "1  Interface type 200", "fresh",
          "sem_rw         free", "sem_update     held at every look", "1 used, 126 free"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
    }
}

TEST(Status, LookingChangesNothing) {
    NUV_Devlist_Shm registry = busy_registry();
    registry.sem_rw = registry.sem_update;  // held, and by nobody who would ever post it
    registry.time_stamp -= 60;
    publish(registry);
    const std::string before = text_of_file(region_file);
    for (const char* verb : {"list", "status"}) {
        EXPECT_EQ(run_tool({verb}).code, 7);
    }
    EXPECT_EQ(text_of_file(region_file), before);
}

}  // namespace
