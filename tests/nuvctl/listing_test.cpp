#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"
#include "support/private_world.h"

#include <nuv/iftype.h>

#include <nuvkit/holder.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>

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
    NUV_Devlist_Shm registry = registry_with_two_cameras();
    publish(registry);
    const Outcome table = run_tool({});
    EXPECT_EQ(table.code, 0);
    EXPECT_EQ(table.messages, "");
    const std::string id = std::to_string(getpid());
    const std::regex holder(id + " nuvctl_test \\(.+, since .+\\)");
    EXPECT_EQ(std::regex_replace(table.text, holder, "THIS PROCESS"),
              R"(ID  IF        SERIAL  NAME      INTERFACE NAME  STATE    HOLDER
 2  99            17  belt      -               present  -
 9  USB3  4000000000  left arm  usb-1.2         open     THIS PROCESS
)");
    nuvkit::set_holder(registry.nuvdevice[3], dead_holder());
    registry.nuvdevice[3].status_bits &= ~NUV_STATUS_COM_OPEN;
    publish(registry);
    const std::string row = run_tool({"list", "--no-headings"}).lines.at(1);
    EXPECT_NE(row.find("grabber open  " + id + " gone"), std::string::npos) << row;
}

TEST(List, JsonHasEveryFieldOfTheEntry) {
    publish(registry_with_two_cameras());
    const nlohmann::json listed = answer(0, {"list"});
    expect_fields(listed, R"({"schema_version": 1, "registry": "live"})"_json);
    ASSERT_EQ(listed["cameras"].size(), 2u);
    const nlohmann::json& closed = listed["cameras"][0];
    expect_fields(closed, R"({"index": 70, "iftype": {"code": 99}})"_json);
    EXPECT_TRUE(closed["iftype"]["display_name"].is_null());
    EXPECT_TRUE(closed["holder"].is_null());
    const nlohmann::json& open = listed["cameras"][1];
    expect_fields(open, R"({
        "id": 9, "iftype": {"display_name": "Interface USB3"}, "serial_number": 4000000000,
        "name": "left arm", "interface_name": "usb-1.2",
        "status_bits": 13, "status": ["present", "grabber_open", "com_open"],
        "extended_info": "0xfffffffffffffffe", "backend_word_a": 11, "backend_word_b": 12,
        "holder": {"alive": true}})"_json);
    EXPECT_EQ(open["holder"]["pid"], getpid());
}

TEST(List, OddNamesBreakNeitherTableNorJson) {
    const std::string turned = "\xe2\x80\xae";
    publish(registry_with({camera(1, 8, 1, "a\x1b[2J\nb\x7f\t", "\xff\xc3"),
                           camera(2, 8, 2, std::string(64, 'x'), std::string(64, 'y')),
                           camera(3, 8, 3, turned + "rtl", "\xe6\x9c\xaa")}));
    const Outcome table = run_tool({"list", "--no-headings"});
    ASSERT_EQ(table.lines.size(), 3u);
    const std::string parts[] = {R"(  a\x1b[2J\x0ab\x7f\x09 )", R"( \xff\xc3 )",
                                 "  " + std::string(64, 'x') + "  " + std::string(64, 'y') + "  ",
                                 "  \\u202ertl "};
    for (const std::string& part : parts) {
        EXPECT_NE(table.text.find(part), std::string::npos) << part << " in\n" << table.text;
    }
    // The one character takes three bytes and two columns.
    EXPECT_EQ(table.lines[2].find("present"), table.lines[1].find("present") + 1);

    const nlohmann::json cameras = answer(0, {"list"})["cameras"];
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

    EXPECT_NE(run_tool({"--color=always"}).text.find("\x1b[32m"), std::string::npos);
    EXPECT_EQ(run_tool({"--color=auto"}).text.find('\x1b'), std::string::npos);
}

TEST(List, EmptyRegistryIsSuccessAndSilent) {
    publish(registry_with({}));
    const Outcome outcome = run_tool({"list"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.text + outcome.messages, "");
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
                                                            {"show", "sn:x"},
                                                            {"show", ""},
                                                            {"run", "--config", "/nowhere.ini"},
                                                            {"run", "--config", config_folder()}};
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
