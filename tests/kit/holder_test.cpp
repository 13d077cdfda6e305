#include "support/child_process.h"

#include <nuvkit/holder.h>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using nuvkit::Holder;
using nuvkit::is_alive;

TEST(Holder, LivesAsLongAsThatVeryProcess) {
    // A name that a reader of the process's status could take for its fields.
    prctl(PR_SET_NAME, "a) Z 1 (b");
    NUV_Device device{};
    nuvkit::set_holder(device, nuvkit::current_process());
    const Holder self = nuvkit::holder_of(device);
    EXPECT_EQ(self.process_id, getpid());
    EXPECT_NE(self.start_ticks, 0U);
    EXPECT_TRUE(is_alive(self));
    EXPECT_FALSE(is_alive({self.process_id, self.start_ticks + 1000}));
    EXPECT_FALSE(is_alive({}));
    EXPECT_FALSE(is_alive({-1, 0}));
    EXPECT_TRUE(is_alive({1, 0})) << "another user's, its start not known";

    nuv_test::Process child([] { pause(); });
    EXPECT_TRUE(is_alive({child.pid(), 0}));
    child.signal(SIGKILL);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(child.pid()), &info, WEXITED | WNOWAIT);
    EXPECT_FALSE(is_alive({child.pid(), 0})) << "not waited for";
    child.wait();
    EXPECT_FALSE(is_alive({child.pid(), 0})) << "gone";
}

}  // namespace
