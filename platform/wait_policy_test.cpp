#include "platform/wait_policy.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Orvane::Platform {
namespace {

constexpr int64_t kWakeUp = 40;
constexpr int64_t kNever = WaitPolicy::kNever;

enum class Decision { Sleeps, Watches, WatchesLater };

Decision Of(const WaitPlan& plan) {
    return plan.watchUntil == 0 ? Decision::Sleeps : plan.watchFrom == 0 ? Decision::Watches : Decision::WatchesLater;
}

std::vector<int64_t> Repeat(int times, const std::vector<int64_t>& series) {
    std::vector<int64_t> repeated;
    for (int i = 0; i < times; ++i) {
        repeated.insert(repeated.end(), series.begin(), series.end());
    }
    return repeated;
}

class WaitPolicyTest : public testing::Test {
 protected:
    // A policy on a machine where all times are multiplied by `scale`.
    struct Learner {
        explicit Learner(int64_t scaleOfTimes = 1) : scale(scaleOfTimes) { machine.LearnOfWakeUp(kWakeUp * scale); }

        // Simulates waits that follow their plans, and returns the next plan. A wait that first sleeps learns how late
        // the timer was.
        WaitPlan After(const std::vector<int64_t>& series, bool isIdleWait = false, int64_t timerLate = 70) {
            for (const int64_t took : series) {
                const WaitPlan plan = policy.Plan(kKind, isIdleWait);
                if (plan.watchFrom != 0 && took * scale > plan.watchFrom) {
                    policy.LearnOfTimer(kKind, timerLate * scale);
                }
                policy.Learn(kKind, took == kNever ? kNever : took * scale);
            }
            return policy.Plan(kKind, isIdleWait);
        }

        static constexpr uint32_t kKind = 4;
        int64_t scale;
        MachineWaits machine;
        WaitPolicy policy{machine};
    };
};

TEST_F(WaitPolicyTest, DecidesByWhatTheLastWaitsTook) {
    struct Case {
        std::string what;
        std::vector<int64_t> series;
        Decision decision;
        bool isIdleWait = false;
    };
    const Case cases[] = {
        {"nothing known", {}, Decision::Sleeps},
        {"soon", Repeat(20, {8, 10, 12}), Decision::Watches},
        {"soon, for an idle wait too", Repeat(20, {8, 10, 12}), Decision::Watches, true},
        {"set before the wait", Repeat(20, {0}), Decision::Watches},
        {"soon but for outliers", Repeat(5, {10, 10, 10, 10, 10, 10, 90'000, kNever}), Decision::Watches},
        {"soon every second time", Repeat(20, {2, 3'000}), Decision::Watches, true},
        {"after some wake-ups", Repeat(40, {140, 150}), Decision::Watches},
        {"later, steadily", Repeat(20, {495, 500, 505}), Decision::WatchesLater},
        {"later, steadily but for outliers", Repeat(5, {495, 500, 505, 495, 500, 505, 500, 9'000}),
         Decision::WatchesLater},
        {"later, at any time", Repeat(5, {500, 900, 1'700, 2'500, 3'300, 4'100, 4'900}), Decision::Sleeps},
        {"much later", Repeat(5, {1'000'000, 1'020'000, 990'000}), Decision::Sleeps},
        {"never", Repeat(20, {kNever}), Decision::Sleeps},
        {"a watch that is too large a part of an idle wait", Repeat(40, {960, 1'000, 1'040}), Decision::Sleeps, true},
        {"a watch that is a small part of an idle wait", Repeat(40, {9'990, 10'010}), Decision::WatchesLater, true},
    };
    for (const auto& [what, series, decision, isIdleWait] : cases) {
        // A decision does not depend on the speed of the machine: if all times are longer, it is the same.
        for (const int64_t scale : {1, 10, 1000}) {
            EXPECT_EQ(Of(Learner(scale).After(series, isIdleWait)), decision) << what << ", times " << scale;
        }
    }
}

TEST_F(WaitPolicyTest, IsAwakeBeforeTheSetAndGivesUpAfterIt) {
    const WaitPlan plan = Learner().After(Repeat(20, {495, 500, 505}), false, 70);
    EXPECT_LE(plan.watchFrom + 70, 495) << "the timer is late";
    EXPECT_GE(plan.watchFrom + 70, 495 - 2 * kWakeUp);
    EXPECT_GT(plan.watchUntil, 505 + kWakeUp) << "the host may have slept";
    EXPECT_LE(plan.watchUntil, 505 + 2 * kWakeUp);
    const WaitPlan idle = Learner().After(Repeat(20, {8, 10, 12}), true);
    EXPECT_GT(idle.watchUntil, 12);
    EXPECT_LE(idle.watchUntil, 12 + kWakeUp) << "a host does not watch for longer";
}

TEST_F(WaitPolicyTest, FollowsAChange) {
    Learner learner;
    EXPECT_EQ(Of(learner.After(Repeat(100, {10}))), Decision::Watches);
    EXPECT_EQ(Of(learner.After(Repeat(2, {9'000, 14'000, 10'000, 20'000, 8'000, 25'000, 12'000, 17'000}))),
              Decision::Sleeps);
    EXPECT_EQ(Of(learner.After(Repeat(12, {10}))), Decision::Watches);
    EXPECT_EQ(Of(learner.After(Repeat(16, {500}))), Decision::WatchesLater);
    EXPECT_EQ(Of(learner.policy.Plan(Learner::kKind + 1, false)), Decision::Sleeps) << "kinds are apart";

    MachineWaits machine;
    WaitPolicy knowsNoWakeUp(machine);
    for (const int64_t took : {kNever, int64_t{10}, kNever}) {
        knowsNoWakeUp.Learn(Learner::kKind, took);
    }
    EXPECT_EQ(Of(knowsNoWakeUp.Plan(Learner::kKind, false)), Decision::Sleeps);
}

TEST_F(WaitPolicyTest, ABusyMachineIsNotWatched) {
    MachineWaits machine;
    for (const int64_t time : {40, 41, 39, 90'000, 40}) {
        machine.LearnOfWakeUp(time);
    }
    EXPECT_EQ(machine.WakeUp(), 40) << "the median";
    MachineWaits deceived;
    deceived.LearnOfWakeUp(kNever);
    EXPECT_EQ(deceived.WakeUp(), 1'000'000) << "the other side may have said anything";
    const auto sleeps = [&machine] {
        uint32_t count = 0;
        while (!machine.MayWatch()) {
            ++count;
        }
        return count;
    };
    const auto late = [&machine] { machine.LearnOfWatch(4'000); };
    const auto timely = [&machine](int times) {
        for (int i = 0; i < times; ++i) {
            machine.LearnOfWatch(5);
        }
    };
    EXPECT_FALSE(machine.IsBusy());
    timely(1);
    EXPECT_EQ(sleeps(), 0U);
    machine.LearnOfWatch(10 * kWakeUp);
    EXPECT_EQ(sleeps(), 0U) << "one watch that is a little late";
    machine.LearnOfWatch(10 * kWakeUp);
    EXPECT_EQ(sleeps(), 32U) << "it is not the only one";
    timely(1'001);
    late();
    EXPECT_TRUE(machine.IsBusy());
    EXPECT_EQ(sleeps(), 32U) << "a very late one";
    EXPECT_FALSE(machine.IsBusy());
    late();
    EXPECT_EQ(sleeps(), 128U) << "a further sign";
    for (int i = 0; i < 10; ++i) {
        late();
    }
    EXPECT_EQ(sleeps(), 16'384U) << "the most";
    timely(1'001);
    late();
    EXPECT_EQ(sleeps(), 32U) << "as at first";
}

}  // namespace
}  // namespace Orvane::Platform
