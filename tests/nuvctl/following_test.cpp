// Verbs that follow the registry.
#include "nuvctl/hand_made_registry.h"
#include "nuvctl/terminal.h"
#include "nuvctl/tool.h"
#include "support/child_process.h"

#include <nuvkit/holder.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace {

using namespace nuv_test;

/// Replaces the published registry in one step, keeping its file.
void change(const NUV_Devlist_Shm& registry) {
    std::FILE* const file = std::fopen(registry_path().c_str(), "r+b");
    ASSERT_NE(file, nullptr);
    std::setvbuf(file, nullptr, _IONBF, 0);
    EXPECT_EQ(std::fwrite(&registry, sizeof registry, 1, file), 1u);
    std::fclose(file);
}

Child start(std::vector<std::string> words) {
    words.insert(words.begin(), {"/bin/sh", "-c", "exec \"$@\" 2>&1", "sh", tool_path()});
    words.insert(words.end(), {"--interval", "0.02"});
    return Child(words);
}

void expect_next(Child& tool, const std::string& part) {
    const auto line = tool.read_line();
    ASSERT_TRUE(line.has_value()) << part;
    EXPECT_NE(line->find(part), std::string::npos) << *line;
}

TEST(Watch, EachEventIsALineAndANewRegistryIsFollowed) {
    NUV_Device belt = camera(3, 8, 77, "belt");
    publish(registry_with({belt}));
    Child watch = start({"watch"});
    expect_next(watch, "watching; cameras: 1");
    const NUV_Device left = camera(4, 5, 78, "left\nline");
    change(registry_with({belt, left}));
    expect_next(watch, R"(camera 4 appeared: GIGE, serial number 78, "left\x0aline")");
    belt.status_bits |= NUV_STATUS_GRAB_OPEN;
    nuvkit::set_holder(belt, {watch.pid(), 0});
    change(registry_with({belt, left}));
    expect_next(watch, "camera 3 opened: grabber, by " + std::to_string(watch.pid()) + " nuvctl");
    belt = camera(3, 8, 77, "band");
    change(registry_with({belt, left}));
    expect_next(watch, "camera 3 renamed");
    expect_next(watch, "camera 3 closed");
    change(registry_with({belt}));
    expect_next(watch, "camera 4 gone");
    NUV_Devlist_Shm cleared = registry_with({camera(1, 8, 77, "band")});
    cleared.id_counter = 2;
    change(cleared);
    expect_next(watch, "camera 3 gone");
    expect_next(watch, "registry cleared");
    expect_next(watch, "camera 1 appeared");
    std::filesystem::remove(registry_path());
    expect_next(watch, "camera 1 gone");
    expect_next(watch, "registry gone");
    publish(registry_with({belt}));
    expect_next(watch, "registry back");
    expect_next(watch, "camera 3 appeared");
    NUV_Devlist_Shm stale = registry_with({belt});
    stale.time_stamp -= 60;
    change(stale);
    expect_next(watch, "registry stale");
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait(), 0);
}

TEST(Watch, JsonStartsWithASnapshotAlsoOfNoRegistry) {
    Child watch = start({"watch", "--json"});
    const auto next = [&watch] { return nlohmann::json::parse(watch.read_line().value_or("")); };
    const nlohmann::json nothing = next();
    EXPECT_EQ(nothing["event"], "snapshot");
    EXPECT_EQ(nothing["registry"], "absent");
    EXPECT_TRUE(nothing["cameras"].empty());
    std::filesystem::create_directory(registry_path());
    Child beside_no_file = start({"watch", "--json"});
    EXPECT_GT(nlohmann::json::parse(beside_no_file.read_line().value_or(""))["time"], 0);
    std::filesystem::remove(registry_path());
    publish(registry_with({camera(3, 8, 77, "\xff")}));
    EXPECT_EQ(next()["event"], "registry back");
    const nlohmann::json appeared = next();
    EXPECT_EQ(appeared["event"], "appeared");
    EXPECT_EQ(appeared["schema_version"], 1);
    EXPECT_EQ(appeared["camera"]["serial_number"], 77);
    EXPECT_EQ(appeared["camera"]["name"], "\xef\xbf\xbd");
    Child second = start({"watch", "--json"});
    EXPECT_EQ(nlohmann::json::parse(second.read_line().value_or(""))["cameras"].size(), 1u);
}

TEST(Watch, ReaderThatLeavesEndsItQuietly) {
    publish(registry_with({}));
    const std::string messages = registry_path() + ".messages";
    const std::string script =
        "exec 3>&1; { \"$0\" watch --json --interval 0.02 2>\"$1\"; echo $? >&3; } | head -n 1 >&2";
    Child shell({"/bin/sh", "-c", script, tool_path(), messages});
    EXPECT_EQ(shell.read_line(), "0");
    EXPECT_EQ(std::filesystem::file_size(messages), 0u);
}

TEST(Watch, LineThatCannotBeWrittenEndsItWithAMessage) {
    publish(registry_with({}));
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
    expect_next(wait, "there is no registry");
    NUV_Device unplugged = camera(3, 8, 77, "belt");
    unplugged.status_bits = 0;
    publish(registry_with({unplugged, camera(4, 8, 78, "left")}));
    Child gone = start({"wait", "LEFT", "--gone"});
    Child interface = start({"wait", "usb3", "--gone"});
    EXPECT_EQ(gone.wait(), 0);  // names are told apart by case, interfaces are not
    change(registry_with({camera(3, 8, 77, "belt")}));
    expect_next(wait, "belt");
    EXPECT_EQ(wait.wait(), 0);
    std::filesystem::remove(registry_path());
    EXPECT_EQ(interface.wait(), 0);

    Child hopeless = start({"wait", "sn:77"});
    expect_next(hopeless, "there is no registry");
    publish("short");
    expect_next(hopeless, "has 5 bytes");
    EXPECT_EQ(hopeless.wait(), 1);
}

TEST(Wait, TimeEndsIt) {
    EXPECT_EQ(run_tool({"wait", "1", "--timeout", "0.05"}).code, 6);
    publish(registry_with({camera(3, 8, 77, "belt")}));
    const Outcome late = run_tool({"wait", "belt", "--gone", "--timeout", "0.05", "--json"});
    EXPECT_EQ(late.code, 6);
    EXPECT_EQ(late.json()["timed_out"], true);
    EXPECT_EQ(late.json()["cameras"].size(), 1u);
    NUV_Devlist_Shm stale = registry_with({camera(3, 8, 77, "belt")});
    stale.time_stamp -= 60;
    publish(stale);
    EXPECT_EQ(run_tool({"wait", "belt", "--timeout", "0"}).code, 6);
    EXPECT_EQ(run_tool({"wait", "belt", "--gone", "--timeout", "0"}).code, 6);
}

TEST(Show, SelectsByIdSerialNumberNameAndInterface) {
    publish(registry_with(
        {camera(3, 8, 77, "belt", "usb-1"), camera(4, 8, 3, "USB3"), camera(77, 5, 78, "od\x07")}));
    const auto id_for = [](const std::string& selector) {
        return run_tool({"show", selector, "--json"}).json()["cameras"][0]["id"].get<int>();
    };
    EXPECT_EQ(id_for("3"), 3);
    EXPECT_EQ(id_for("77"), 77);
    EXPECT_EQ(id_for("sn:3"), 4);
    EXPECT_EQ(id_for("belt"), 3);
    EXPECT_EQ(id_for("gige"), 77);
    EXPECT_EQ(id_for("od\\x07"), 77);

    const Outcome shown = run_tool({"show", "belt"});
    EXPECT_EQ(shown.code, 0);
    EXPECT_EQ(shown.lines[0], "Id              3");
    const Outcome ambiguous = run_tool({"show", "USB3"});
    EXPECT_EQ(ambiguous.code, 1);
    EXPECT_TRUE(ambiguous.lines.empty());
    EXPECT_NE(ambiguous.messages.find("\n  3  USB3, serial number 77"), std::string::npos);
    EXPECT_EQ(run_tool({"show", "sn:79"}).code, 3);
    const Outcome unknown = run_tool({"show", "nobody", "--json"});
    EXPECT_EQ(unknown.code, 3);
    EXPECT_TRUE(unknown.json()["cameras"].empty());
    EXPECT_TRUE(unknown.json()["problem"].is_string());
    EXPECT_EQ(run_tool({"show", "sn:x"}).code, 2);
    EXPECT_EQ(run_tool({"show", ""}).code, 2);
}

}  // namespace
