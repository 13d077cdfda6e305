#include <nuvkit/holder.h>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace {

using nuvkit::Holder;

TEST(Holder, LivesAsLongAsThatVeryProcess) {
    // A name that a reader of the process's status could take for its fields.
    prctl(PR_SET_NAME, "a) Z 1 (b");
    const Holder self = nuvkit::current_process();
    EXPECT_EQ(self.process_id, getpid());
    EXPECT_NE(self.start_ticks, 0U);
    EXPECT_TRUE(nuvkit::is_alive(self));
    EXPECT_FALSE(nuvkit::is_alive({self.process_id, self.start_ticks + 1}));
    EXPECT_FALSE(nuvkit::is_alive({}));
    EXPECT_FALSE(nuvkit::is_alive({-1, 0}));
    EXPECT_TRUE(nuvkit::is_alive({1, 0})) << "another user's, its start not known";
}

TEST(Holder, ZombieIsDead) {
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const Holder holder{child, 0};
    EXPECT_TRUE(nuvkit::is_alive(holder));
    kill(child, SIGKILL);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
    EXPECT_FALSE(nuvkit::is_alive(holder)) << "not waited for";
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(nuvkit::is_alive(holder)) << "gone";
}

TEST(Holder, StandsInTheEntrysBackendData) {
    NUV_Device device{};
    EXPECT_EQ(nuvkit::holder_of(device).process_id, 0);
    nuvkit::set_holder(device, {0x01020304, 0x05060708});
    EXPECT_EQ(nuvkit::holder_of(device).process_id, 0x01020304);
    EXPECT_EQ(nuvkit::holder_of(device).start_ticks, 0x05060708U);
    EXPECT_EQ(+device.status_bits, 0U);
}

}  // namespace
