// The process as the one that adopts orphans, as the first one of a container does.

#include "IHVTask.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <future>

#include <sys/prctl.h>
#include <sys/wait.h>

using namespace Halvorn;

TEST(Adoption, OrphansOfAnEndedGroupAreReaped) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    auto const task = IHVTask::MallocTask();
    std::promise<pid_t> printed;
    task->SetOutputHandler(
        [&](std::shared_ptr<IHVData const> const& data) { printed.set_value(std::stoi(data->ToText())); });
    ASSERT_TRUE(task->Launch("/bin/sh", {"-c", "(sleep 60 & echo $!); exec sleep 60"}, true)->Succeed());
    pid_t const orphan = printed.get_future().get();
    task->Terminate();
    EXPECT_EQ(task->WaitExit(10'000), HVErrSuccess);
    EXPECT_EQ(waitpid(orphan, nullptr, WNOHANG), -1) << "it was still there to be reaped";
    EXPECT_EQ(errno, ECHILD);
    prctl(PR_SET_CHILD_SUBREAPER, 0);
}
