// main() of every test program: a world of its own, then the tests.
#include "support/private_world.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class Fresh_world_for_each_test : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*info*/) override {
        nuv_test::clear_private_world();
    }
};

}  // namespace

int main(int argc, char** argv) {
    // Changes argv, which the private world may have to start the program with again.
    std::vector<char*> arguments(argv, argv + argc + 1);
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    nuv_test::enter_private_world(arguments.data());
    testing::UnitTest::GetInstance()->listeners().Append(new Fresh_world_for_each_test);
    const int result = RUN_ALL_TESTS();
    nuv_test::leave_private_world();
    return result;
}
