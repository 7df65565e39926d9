// The engine's pass round the motion: removal of a record still being made,
// the settling of a removed record, and a burst of ground reports.
#include "core/flags.h"
#include "tests/traffic/harness.h"
#include "traffic/engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <random>

namespace orv::test {
namespace {

/// The object of RECORD has come: it settles over the next passes.
void lf_settle(const act& RECORD)
{
    std::lock_guard lock(messageLock);
    afterCreate.push_back({{RECORD.objectId, RECORD.hexid, MessageKind::liveCreated, 0, 0}, 0});
}

// A record removed while its object is still being made has no object to
// name. Queuing object 0 would lose the object that arrives later: it would
// stay in the simulator for good. It is marked and goes when it has settled.
TEST_F(EngineTest, RemovalWhileCreatingWaitsForTheObject)
{
    act& r = gf_activeRecord(1, 0, 0, true, Phase::moving, now);
    r.state = ActState::creating;
    r.objectId = 0;
    gf_removeAct(r);
    EXPECT_EQ(r.state, ActState::creating);
    EXPECT_TRUE(r.removeWhenCreated);
    EXPECT_TRUE(removeQueue.empty());

    // The object arrives and settles: now it is removed for real.
    r.objectId = 321;
    lf_settle(r);
    for (int i = 0; i < 200; ++i) lf_drainMessages();
    EXPECT_EQ(r.state, ActState::creating) << "it settles for two seconds";
    lf_drainMessages();
    EXPECT_EQ(r.state, ActState::removing);
    ASSERT_EQ(removeQueue.size(), 1u);
    EXPECT_EQ(removeQueue.front(), 321u);
}

TEST_F(EngineTest, ARecordRemovedWhileSettlingStaysRemoving)
{
    act& r = gf_activeRecord(2, 0, 0, true, Phase::moving, now);
    r.state = ActState::creating;
    r.objectId = 654;
    lf_settle(r);
    for (int i = 0; i < 120; ++i) lf_drainMessages();
    gf_removeAct(r);
    EXPECT_EQ(r.state, ActState::removing);
    for (int i = 0; i < 100; ++i) lf_drainMessages();
    EXPECT_EQ(r.state, ActState::removing) << "it must not come back to life";
    EXPECT_EQ(removeQueue.size(), 1u);
}

TEST_F(EngineTest, ABurstOfGroundReportsReachesEveryAircraft)
{
    constexpr int count = 300;
    std::vector<std::uint32_t> objects;
    for (int i = 0; i < count; ++i) {
        act& r = gf_activeRecord(1000 + i, i * 10.0, 0, true, Phase::moving, now);
        r.objectId = 5000 + ((i * 7919) % count); // ids in no order of the list
        objects.push_back(r.objectId);
    }
    // One of them lands in this burst; another leaves the list in the middle of it.
    act* lander = gf_findAct(1000 + 17);
    lander->onGround = false;
    lander->landing = true;
    lander->flareStage = 4;
    const std::uint32_t leaving = gf_findAct(1000 + 3)->objectId;
    std::shuffle(objects.begin(), objects.end(), std::mt19937(5));
    for (int i = 0; i < count; ++i) {
        if (i == count / 2) gf_postMessage({leaving, 0, MessageKind::removed, 0, 0});
        const std::uint32_t id = objects[i];
        gf_postMessage({id, id == lander->objectId ? 1u : 0u, MessageKind::groundData, 1000.0 + id, 5.0});
    }
    lf_drainMessages();
    ASSERT_EQ(liveList.size(), static_cast<std::size_t>(count - 1));
    lander = gf_findAct(1000 + 17);
    for (const act& r : liveList) {
        EXPECT_DOUBLE_EQ(r.agl, 5.0) << r.hexid;
        EXPECT_DOUBLE_EQ(r.altitude, r.staticCg + 1000.0 + r.objectId) << r.hexid;
    }
    EXPECT_TRUE(lander->rollout) << "the report of the ground touched it down";
    EXPECT_TRUE(lander->onGround);
}

} // namespace
} // namespace orv::test
