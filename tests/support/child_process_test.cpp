#include "support/child_process.h"

#include <gtest/gtest.h>

#include <iostream>

namespace {

int echo(const std::vector<std::string>& arguments) {
    for (std::string line; std::getline(std::cin, line);) {
        std::cout << arguments.at(0) << line << std::endl;
    }
    return 7;
}
const nuv_test::Register_role echoes("echo", echo);

TEST(Child, AnswersLinesAndItsExitStatus) {
    nuv_test::Child child = nuv_test::Child::in_role("echo", {"> "});
    child.send_line("one");
    child.send_line("two");
    EXPECT_EQ(child.read_line(), "> one");
    EXPECT_EQ(child.read_line(), "> two");
    EXPECT_EQ(child.read_line(std::chrono::milliseconds(20)), std::nullopt);
    child.close_input();
    EXPECT_EQ(child.wait(), 7);
}

TEST(Child, KilledChildIsReportedByItsSignal) {
    nuv_test::Child child = nuv_test::Child::in_role("echo", {""});
    EXPECT_EQ(child.kill_and_wait(), -SIGKILL);
    EXPECT_EQ(nuv_test::Child({"/no/such/program"}).wait(), 127);
}

}  // namespace
