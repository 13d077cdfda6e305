// Verbs that follow the registry.
#include "nuvctl/hand_made_registry.h"
#include "nuvctl/terminal.h"
#include "nuvctl/tool.h"
#include "support/child_process.h"

#include <nuvkit/holder.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>

namespace {

using namespace nuv_test;

/// Replaces the published registry, keeping its file.
void change(const NUV_Devlist_Shm& registry) {
    std::memcpy(published_region().get(), &registry, sizeof registry);
}

Child start(std::vector<std::string> words) {
    words.insert(words.end(), {"--interval", "0.02"});
    return start_tool(words);
}

/// Its next lines have these parts.
void expect_next(Child& tool, const std::vector<std::string>& parts) {
    for (const std::string& part : parts) {
        const auto line = tool.read_line();
        ASSERT_TRUE(line.has_value()) << part;
        EXPECT_NE(line->find(part), std::string::npos) << *line;
    }
}

nlohmann::json next_object(Child& tool) {
    return nlohmann::json::parse(tool.read_line().value_or(""));
}

TEST(Watch, EachEventIsALineAndANewRegistryIsFollowed) {
    NUV_Device belt = camera(3, 8, 77, "belt");
    publish(registry_with({belt}));
    Child watch = start({"watch"});
    expect_next(watch, {"watching; cameras: 1"});
    const NUV_Device left = camera(4, 5, 78, "left\nline");
    change(registry_with({belt, left}));
    expect_next(watch, {R"(camera 4 appeared: GIGE, serial number 78, "left\x0aline")"});
    belt.status_bits |= NUV_STATUS_GRAB_OPEN;
    nuvkit::set_holder(belt, {watch.pid(), 0});
    change(registry_with({belt, left}));
    expect_next(watch, {"camera 3 opened: grabber, by " + std::to_string(watch.pid()) + " nuvctl"});
    belt = camera(3, 8, 77, "band");
    change(registry_with({belt}));
    expect_next(watch, {"camera 4 gone", "camera 3 renamed", "camera 3 closed"});
    NUV_Devlist_Shm cleared = registry_with({camera(1, 8, 77, "band")});
    cleared.id_counter = 2;
    change(cleared);
    expect_next(watch, {"camera 3 gone", "registry cleared", "camera 1 appeared"});
    std::filesystem::remove(region_file);
    expect_next(watch, {"camera 1 gone", "registry gone"});
    publish(registry_with({belt}));
    expect_next(watch, {"registry back", "camera 3 appeared"});
    NUV_Devlist_Shm stale = registry_with({belt});
    stale.time_stamp -= 60;
    change(stale);
    expect_next(watch, {"registry stale"});
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait(), 0);
}

TEST(Watch, JsonStartsWithASnapshotAlsoOfNoRegistry) {
    Child watch = start({"watch", "--json"});
    expect_fields(next_object(watch),
                  R"({"event": "snapshot", "registry": "absent", "cameras": []})"_json);
    std::filesystem::create_directory(region_file);
    Child beside_no_file = start({"watch", "--json"});
    EXPECT_GT(next_object(beside_no_file)["time"], 0);
    std::filesystem::remove(region_file);
    publish(registry_with({camera(3, 8, 77, "\xff")}));
    EXPECT_EQ(next_object(watch)["event"], "registry back");
    expect_fields(next_object(watch), R"({
        "event": "appeared", "schema_version": 1,
        "camera": {"serial_number": 77, "name": "\ufffd"}})"_json);
    Child second = start({"watch", "--json"});
    EXPECT_EQ(next_object(second)["cameras"].size(), 1u);
}

TEST(Watch, EndsQuietlyWhenItsReaderLeavesAndWithAMessageOnAFullDisk) {
    publish(registry_with({}));
    const std::string messages = std::string(region_file) + ".messages";
    const std::string script =
        "exec 3>&1; { \"$0\" watch --json --interval 0.02 2>\"$1\"; echo $? >&3; } | head -n 1 >&2";
    Child shell({"/bin/sh", "-c", script, tool_path(), messages});
    EXPECT_EQ(shell.read_line(), "0");
    EXPECT_EQ(std::filesystem::file_size(messages), 0u);

    const Outcome watch =
        run_tool({"watch", "--json"}, {"/bin/sh", "-c", "exec \"$@\" >/dev/full", "sh"});
    EXPECT_EQ(watch.code, 1);
    EXPECT_NE(watch.messages.find("cannot write"), std::string::npos) << watch.messages;
}

TEST(Watch, TerminalIsRedrawnFittedToItsSizeAndGivenBack) {
    publish(registry_with({camera(3, 8, 77, std::string(64, 'x'), std::string(64, 'y'))}));
    Terminal terminal({tool_path(), "watch", "--interval", "600"}, 24, 80);
    ASSERT_TRUE(terminal.shows("\x1b[?25l")) << terminal.seen;
    ASSERT_TRUE(terminal.shows("present")) << terminal.seen;
    EXPECT_EQ(terminal.seen.find(std::string(40, 'x')), std::string::npos);
    // Nothing but the resizing makes it look before ten minutes have passed.
    change(registry_with({camera(4, 8, 78, "\x1b[2J")}));
    terminal.resize(30, 200);
    ASSERT_TRUE(terminal.shows("\x1b[H")) << terminal.seen;
    ASSERT_TRUE(terminal.shows("\\x1b[2J")) << terminal.seen;
    ASSERT_TRUE(terminal.shows("camera 4 appeared")) << terminal.seen;
    terminal.type("\x03");
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_NE(terminal.seen.find("\x1b[?25h\x1b[?1049l"), std::string::npos) << terminal.seen;
}

TEST(Wait, EndsWhenTheCameraIsThereOrGoneOrCannotBe) {
    Child wait = start({"wait", "sn:77", "--no-headings"});
    expect_next(wait, {"there is no registry"});
    NUV_Device unplugged = camera(3, 8, 77, "belt");
    unplugged.status_bits = 0;
    publish(registry_with({unplugged, camera(4, 8, 78, "left")}));
    Child gone = start({"wait", "LEFT", "--gone"});
    Child interface = start({"wait", "usb3", "--gone"});
    EXPECT_EQ(gone.wait(), 0);  // names are told apart by case, interfaces are not
    change(registry_with({camera(3, 8, 77, "belt")}));
    expect_next(wait, {"belt"});
    EXPECT_EQ(wait.wait(), 0);
    std::filesystem::remove(region_file);
    EXPECT_EQ(interface.wait(), 0);

    Child hopeless = start({"wait", "sn:77"});
    expect_next(hopeless, {"there is no registry"});
    publish("short");
    expect_next(hopeless, {"has 5 bytes"});
    EXPECT_EQ(hopeless.wait(), 1);
}

TEST(Wait, TimeEndsIt) {
    EXPECT_EQ(run_tool({"wait", "1", "--timeout", "0.05"}).code, 6);
    publish(registry_with({camera(3, 8, 77, "belt")}));
    const nlohmann::json late = answer(6, {"wait", "belt", "--gone", "--timeout", "0.05"});
    EXPECT_EQ(late["timed_out"], true);
    EXPECT_EQ(late["cameras"].size(), 1u);
    NUV_Devlist_Shm stale = registry_with({camera(3, 8, 77, "belt")});
    stale.time_stamp -= 60;
    publish(stale);
    EXPECT_EQ(run_tool({"wait", "belt", "--timeout", "0"}).code, 6);
    EXPECT_EQ(run_tool({"wait", "belt", "--gone", "--timeout", "0"}).code, 6);
}

TEST(Show, SelectsByIdSerialNumberNameAndInterface) {
    publish(registry_with(
        {camera(3, 8, 77, "belt", "usb-1"), camera(4, 8, 3, "USB3"), camera(77, 5, 78, "od\x07")}));
    const std::pair<const char*, int> rows[] = {{"3", 3},    {"77", 77},   {"sn:3", 4},
                                                {"belt", 3}, {"gige", 77}, {"od\\x07", 77}};
    for (const auto& [selector, id] : rows) {
        EXPECT_EQ(answer(0, {"show", selector})["cameras"][0]["id"], id) << selector;
    }
    EXPECT_EQ(run_tool({"show", "belt"}).lines.at(0), "Id              3");
    const Outcome ambiguous = run_tool({"show", "USB3"});
    EXPECT_EQ(ambiguous.code, 1);
    EXPECT_TRUE(ambiguous.lines.empty());
    EXPECT_NE(ambiguous.messages.find("\n  3  USB3, serial number 77"), std::string::npos);
    EXPECT_EQ(run_tool({"show", "sn:79"}).code, 3);
    const nlohmann::json unknown = answer(3, {"show", "nobody"});
    EXPECT_TRUE(unknown["cameras"].empty());
    EXPECT_TRUE(unknown["problem"].is_string());
}

}  // namespace
