#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"

#include <nuv/iftype.h>

#include <nuvkit/holder.h>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using namespace nuv_test;

NUV_Devlist_Shm registry_with_two_cameras() {
    NUV_Devlist_Shm registry = registry_with({});
    NUV_Device open = camera(9, NUV_IFTYPE_USB3, 4000000000u, "left arm", "usb-1.2");
    open.status_bits |= NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN;
    open.extended_info = 0xFFFFFFFFFFFFFFFE;
    open.backend_word_a = 11;
    open.backend_word_b = 12;
    nuvkit::set_holder(open, nuvkit::current_process());
    registry.nuvdevice[3] = open;
    registry.nuvdevice[70] = camera(2, 99, 17, "belt");
    return registry;
}

TEST(List, TableShowsCamerasByIdWithStateAndHolder) {
    publish(registry_with_two_cameras());
    const Outcome outcome = run_tool({});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.messages, "");
    ASSERT_EQ(outcome.lines.size(), 3u);
    EXPECT_EQ(outcome.lines[0], "ID  IF        SERIAL  NAME      INTERFACE NAME  STATE    HOLDER");
    EXPECT_EQ(outcome.lines[1], " 2  99            17  belt      -               present  -");
    const std::string open =
        " 9  USB3  4000000000  left arm  usb-1.2         open     " + std::to_string(getpid());
    EXPECT_EQ(outcome.lines[2].rfind(open + " nuvctl_test (", 0), 0u) << outcome.lines[2];
    EXPECT_NE(outcome.lines[2].find(", since "), std::string::npos);
}

TEST(List, JsonHasEveryFieldOfTheEntry) {
    publish(registry_with_two_cameras());
    const Outcome outcome = run_tool({"list", "--json"});
    EXPECT_EQ(outcome.code, 0);
    const nlohmann::json answer = outcome.json();
    EXPECT_EQ(answer["schema_version"], 1);
    EXPECT_EQ(answer["registry"], "live");
    ASSERT_EQ(answer["cameras"].size(), 2u);
    const nlohmann::json& closed = answer["cameras"][0];
    EXPECT_EQ(closed["index"], 70);
    EXPECT_EQ(closed["iftype"]["code"], 99);
    EXPECT_TRUE(closed["iftype"]["display_name"].is_null());
    EXPECT_TRUE(closed["holder"].is_null());
    const nlohmann::json& open = answer["cameras"][1];
    EXPECT_EQ(open["id"], 9);
    EXPECT_EQ(open["iftype"]["display_name"], "Interface USB3");
    EXPECT_EQ(open["serial_number"], 4000000000u);
    EXPECT_EQ(open["name"], "left arm");
    EXPECT_EQ(open["interface_name"], "usb-1.2");
    EXPECT_EQ(open["status_bits"], 0xD);
    EXPECT_EQ(open["status"], nlohmann::json({"present", "grabber_open", "com_open"}));
    EXPECT_EQ(open["extended_info"], "0xfffffffffffffffe");
    EXPECT_EQ(open["backend_word_a"], 11);
    EXPECT_EQ(open["backend_word_b"], 12);
    EXPECT_EQ(open["holder"]["pid"], getpid());
    EXPECT_EQ(open["holder"]["alive"], true);
}

TEST(List, HolderThatIsNoLongerThatProcessIsGone) {
    NUV_Devlist_Shm registry = registry_with_two_cameras();
    nuvkit::set_holder(registry.nuvdevice[3], dead_holder());
    publish(registry);
    const Outcome outcome = run_tool({"list", "--no-headings"});
    ASSERT_EQ(outcome.lines.size(), 2u);
    EXPECT_NE(outcome.lines[1].find(std::to_string(getpid()) + " gone"), std::string::npos);
}

TEST(List, OddNamesBreakNeitherTableNorJson) {
    const std::string turned = "\xe2\x80\xae";
    publish(registry_with({camera(1, 8, 1, "a\x1b[2J\nb\x7f\t", "\xff\xc3"),
                           camera(2, 8, 2, std::string(64, 'x'), std::string(64, 'y')),
                           camera(3, 8, 3, turned + "rtl", "\xe6\x9c\xaa")}));
    const Outcome table = run_tool({"list", "--no-headings"});
    ASSERT_EQ(table.lines.size(), 3u);
    EXPECT_NE(table.lines[0].find(R"(a\x1b[2J\x0ab\x7f\x09)"), std::string::npos);
    EXPECT_NE(table.lines[0].find(R"(\xff\xc3)"), std::string::npos);
    EXPECT_NE(table.lines[1].find(" " + std::string(64, 'x') + "  " + std::string(64, 'y') + " "),
              std::string::npos);
    EXPECT_NE(table.lines[2].find("\\u202ertl"), std::string::npos);
    // The one character takes three bytes and two columns.
    EXPECT_EQ(table.lines[2].find("present"), table.lines[1].find("present") + 1);

    const nlohmann::json cameras = run_tool({"list", "--json"}).json()["cameras"];
    EXPECT_EQ(cameras[0]["name"], "a\x1b[2J\nb\x7f\t");
    EXPECT_EQ(cameras[0]["interface_name"], "\xef\xbf\xbd\xef\xbf\xbd");
    EXPECT_EQ(cameras[1]["name"], std::string(64, 'x'));
}

TEST(List, TerminalGetsColorsAndEightyColumns) {
    publish(
        registry_with({camera(1, 12, 4000000000u, std::string(64, 'x'), std::string(64, 'y'))}));
    // script COMMAND /dev/null: a pseudo-terminal of no known size, and no transcript.
    const Outcome terminal = run_tool({"/dev/null"}, {"script", "-qec"});
    ASSERT_EQ(terminal.lines.size(), 2u);
    const std::string& row = terminal.lines[1];
    EXPECT_NE(row.find("\x1b[32mpresent\x1b[0m"), std::string::npos) << row;
    EXPECT_EQ(row.find(std::string(30, 'x')), std::string::npos) << row;
    // Two cut marks of three bytes, one coloured word and the terminal's carriage return.
    EXPECT_LE(row.size(), 80u + 2 * 2 + 9 + 1) << row;

    EXPECT_EQ(run_tool({"--color=always"}).lines[1].find("\x1b[32m") != std::string::npos, true);
    EXPECT_EQ(run_tool({"--color=auto"}).lines[1].find('\x1b'), std::string::npos);
}

TEST(List, EmptyRegistryIsSuccessAndSilent) {
    publish(registry_with({}));
    const Outcome outcome = run_tool({"list"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(outcome.lines.empty());
    EXPECT_EQ(outcome.messages, "");
}

TEST(Arguments, MistakesAnswerTwoAndHelpAnswersZero) {
    const std::vector<std::vector<std::string>> mistakes = {{"lsit"},
                                                            {"--colour"},
                                                            {"list", "--color=red"},
                                                            {"watch", "--interval", "nan"},
                                                            {"open"},
                                                            {"open", "abc"},
                                                            {"open", "-1"},
                                                            {"open", "4294967296"},
                                                            {"run", "--config", "/nowhere.ini"}};
    for (const std::vector<std::string>& words : mistakes) {
        EXPECT_EQ(run_tool(words).code, 2) << words.back();
    }
    for (const char* verb : {"list", "show", "status", "watch", "wait", "who", "run", "open"}) {
        const Outcome help = run_tool({verb, "--help"});
        EXPECT_EQ(help.code, 0);
        EXPECT_FALSE(help.lines.empty());
        EXPECT_EQ(run_tool({"--help", verb}).text, help.text);
    }
}

}  // namespace
