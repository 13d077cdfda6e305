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
    NUV_Devlist_Shm registry = registry_with_update_held({camera(40, 8, 1, "seen"), unplugged});
    registry.opencount = 7;
    registry.processid = getpid();
    registry.id_counter = 42;
    registry.if_opencount[0] = {8, 2};
    registry.if_opencount[5] = {200, 1};
    return registry;
}

TEST(Status, JsonTellsWhatTheRegistryHolds) {
    publish(busy_registry());
    ASSERT_EQ(chmod(registry_path().c_str(), 0640), 0);
    const Outcome outcome = run_tool({"status", "--json"});
    EXPECT_EQ(outcome.code, 0);
    const nlohmann::json answer = outcome.json();
    EXPECT_EQ(answer["version"], 0x0101);
    EXPECT_EQ(answer["managers"], 7);
    ASSERT_EQ(answer["users"].size(), 2u);
    EXPECT_EQ(answer["users"][0]["count"], 2);
    EXPECT_EQ(answer["users"][0]["iftype"]["short_name"], "USB3");
    EXPECT_EQ(answer["users"][1]["iftype"]["code"], 200);
    EXPECT_EQ(answer["heartbeat"]["verdict"], "fresh");
    EXPECT_EQ(answer["entries"]["used"], 1);
    EXPECT_EQ(answer["entries"]["free"], 126);
    EXPECT_EQ(answer["next_id"], 42);
    EXPECT_EQ(answer["semaphores"]["sem_rw"]["state"], "free");
    EXPECT_EQ(answer["semaphores"]["sem_update"]["state"], "held");
    EXPECT_EQ(answer["last_attached"]["pid"], getpid());
    EXPECT_EQ(answer["region"]["size"], NUV_SHM_SIZE);
    EXPECT_EQ(answer["region"]["mode"], "0640");
    EXPECT_EQ(answer["region"]["owner"]["id"], getuid());
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
    const std::string before = published_bytes();
    for (const char* verb : {"list", "status"}) {
        EXPECT_EQ(run_tool({verb}).code, 7);
        EXPECT_EQ(run_tool({verb, "--json"}).code, 7);
    }
    EXPECT_EQ(published_bytes(), before);
}

}  // namespace
