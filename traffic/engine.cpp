// One pass of the traffic engine, the dispatch's messages, and the lists of
// live aircraft.
#include "traffic/engine.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "feed/feed.h"
#include "sim/sim_link.h"
#include "traffic/engine_parts.h"
#include "core/geometry.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>

namespace orv {

std::int32_t maxLive = -1;
std::vector<act> liveList;
std::vector<StaticAct> staticList;
std::vector<std::uint32_t> pendingCreates;
std::deque<CreateRequest> liveCreateQueue, staticCreateQueue;
std::deque<std::uint32_t> removeQueue;
std::vector<AfterCreateEntry> afterCreate;
std::deque<std::uint32_t> newHexids;
std::vector<std::string> ghostCallsigns;

namespace {

constexpr std::uint32_t firstLiveId = 10000; ///< ids above this are hexids of live records
constexpr std::int32_t lightsToggleFirst = 50, lightsToggleSecond = 100, settledCount = 200;
constexpr double staticCgLowFt = 1.0, staticCgHighFt = 35.0;

std::vector<SimMessage> messagesNow; ///< main thread: the messages of this pass

/// The by-type replies bring one ground report per aircraft in range each
/// 200 ms; a scan of liveList for each would grow with the square of the
/// list. One sorted index per pass serves them all while no other message
/// changes the list.
struct ObjectIndexEntry {
    std::uint32_t objectId;
    act* record;
};
std::vector<ObjectIndexEntry> objectIndex;
bool objectIndexValid = false;
constexpr std::size_t indexFromReports = 4; ///< fewer reports are cheaper to scan for

act* lf_findForReport(std::uint32_t OBJECT_ID)
{
    if (!objectIndexValid) {
        objectIndex.clear();
        for (act& record : liveList)
            if (record.objectId != 0) objectIndex.push_back({record.objectId, &record});
        std::sort(objectIndex.begin(), objectIndex.end(),
                  [](const ObjectIndexEntry& A, const ObjectIndexEntry& B) { return A.objectId < B.objectId; });
        objectIndexValid = true;
    }
    auto it = std::lower_bound(objectIndex.begin(), objectIndex.end(), OBJECT_ID,
                               [](const ObjectIndexEntry& E, std::uint32_t ID) { return E.objectId < ID; });
    return it != objectIndex.end() && it->objectId == OBJECT_ID ? it->record : nullptr;
}

StaticAct* lf_findStatic(auto PREDICATE)
{
    auto it = std::find_if(staticList.begin(), staticList.end(), PREDICATE);
    return it == staticList.end() ? nullptr : &*it;
}

void lf_objectGone(std::uint32_t OBJECT_ID)
{
    if (act* record = gf_findActByObject(OBJECT_ID)) {
        if (record->state == ActState::recreating) {
            record->state = ActState::waiting;
            record->recreated = true;
            record->throttleSetting = 5;
            record->flapsSetting = 4;
            record->objectId = 0;
            return;
        }
        if (record->hasFlightPlanFile) gf_deleteFlightPlanFile(*record);
        std::erase_if(liveList, [&](const act& a) { return a.objectId == OBJECT_ID; });
        return;
    }
    std::erase_if(staticList, [&](const StaticAct& s) { return s.objectId == OBJECT_ID; });
}

void lf_groundData(const SimMessage& MESSAGE, bool INDEXED)
{
    act* record = INDEXED ? lf_findForReport(MESSAGE.objectId) : gf_findActByObject(MESSAGE.objectId);
    if (record == nullptr) return;
    if (MESSAGE.id == 1 && !record->onGround && record->slots <= 1) lf_touchdown(*record);
    record->agl = MESSAGE.value2;
    if (record->onGround || record->slots >= 2) record->altitude = record->staticCg + MESSAGE.value1;
}

void lf_staticData(const SimMessage& MESSAGE, ActCore& RECORD)
{
    if (MESSAGE.value1 >= staticCgLowFt && MESSAGE.value1 <= staticCgHighFt)
        RECORD.staticCg = MESSAGE.value1;
    else
        gf_log(fmt::format("{}: static CG {:.1F}ft wrong?", RECORD.callsign, MESSAGE.value1));
    const double pitchDeg = MESSAGE.value2 / degToRad;
    RECORD.staticPitch = pitchDeg <= -1.0 || pitchDeg > 2.5 ? 0.7 * degToRad : MESSAGE.value2;
}

void lf_block(std::uint32_t HEXID)
{
    act* record = gf_findAct(HEXID);
    if (record == nullptr) return;
    if (record->state == ActState::waiting) {
        gf_log(fmt::format("{} will be removed from buffer while blocked", record->callsign));
        record->eraseNow = true;
    } else if (record->state == ActState::active) {
        gf_log(fmt::format("{} removed from simulator immediately while blocked", record->callsign));
        gf_removeAct(*record);
    }
}

void lf_runMessage(const SimMessage& MESSAGE, bool INDEXED)
{
    if (MESSAGE.kind != MessageKind::groundData) objectIndexValid = false; // the list or its ids may change
    switch (MESSAGE.kind) {
    case MessageKind::liveCreated:
        if (act* record = gf_findAct(MESSAGE.id); record != nullptr && lf_objectCreated(*record, MESSAGE))
            afterCreate.push_back({MESSAGE, 0});
        break;
    case MessageKind::staticCreated: afterCreate.push_back({MESSAGE, 0}); break;
    case MessageKind::removed: lf_objectGone(MESSAGE.objectId); break;
    case MessageKind::groundData: lf_groundData(MESSAGE, INDEXED); break;
    case MessageKind::staticData:
        if (act* record = gf_findActByObject(MESSAGE.objectId))
            lf_staticData(MESSAGE, *record);
        else if (StaticAct* parked = lf_findStatic([&](const StaticAct& s) { return s.objectId == MESSAGE.objectId; }))
            lf_staticData(MESSAGE, *parked);
        break;
    case MessageKind::block: lf_block(MESSAGE.id); break;
    case MessageKind::createFailed:
        if (MESSAGE.id > firstLiveId) {
            if (act* record = gf_findAct(MESSAGE.id)) {
                lf_createFailed(*record);
                std::erase_if(liveList, [&](const act& a) { return a.hexid == MESSAGE.id; });
            }
        } else {
            std::erase_if(staticList, [&](const StaticAct& s) { return s.hexid == MESSAGE.id; });
        }
        break;
    }
}

void lf_staticCreated(const SimMessage& MESSAGE)
{
    StaticAct* parked = lf_findStatic([&](const StaticAct& s) { return s.objectId == MESSAGE.objectId; });
    if (parked == nullptr) return;
    parked->state = ActState::active;
    gf_log(fmt::format("{:8}: {:8} parked", parkingCalls.standName(parked->standId), parked->callsign));
    if (parked->removeWhenCreated) gf_removeAct(*parked);
}

void lf_liveSettling(const AfterCreateEntry& ENTRY)
{
    act* record = gf_findActByObject(ENTRY.message.objectId);
    if (record == nullptr) return;
    if (ENTRY.count == lightsToggleFirst || ENTRY.count == lightsToggleSecond) {
        if (!gf_allLightsToggle(record->objectId)) gf_log("SimConnect gf_allLightsToggle fails");
        return;
    }
    if (ENTRY.count != settledCount) return;
    // A record removed while it settled stays removing: its object is already asked to go.
    if (record->state != ActState::creating) return;
    lf_lightsAfterCreate(*record);
    record->state = ActState::active;
    if (record->removeWhenCreated) gf_removeAct(*record);
}

/// Counts each just-created object up once per pass; at 200 it is settled.
/// Caller holds messageLock.
void lf_countAfterCreate()
{
    for (AfterCreateEntry& entry : afterCreate) {
        if (entry.message.kind == MessageKind::staticCreated) {
            if (entry.count == settledCount) lf_staticCreated(entry.message);
        } else {
            lf_liveSettling(entry);
        }
        ++entry.count;
    }
    std::erase_if(afterCreate, [](const AfterCreateEntry& e) { return e.count > settledCount; });
}

void lf_tickActs()
{
    for (act& record : liveList) {
        try {
            if (record.state == ActState::active)
                lf_moveAct(record);
            else if (record.state == ActState::waiting)
                lf_updateWaiting(record);
        } catch (const std::exception& e) {
            // One aircraft's fault takes that aircraft away, not the pass.
            gf_log(fmt::format("! exception in lf_tickActs for {}: {}", gf_actText(record), e.what()));
            gf_removeAct(record);
        }
    }
    std::erase_if(liveList, [](const act& a) { return a.eraseNow; });
    gf_handOverPositions();
}

void lf_takeLines()
{
    TrafficLine lines[2];
    int taken = 0;
    {
        std::lock_guard lock(linesLock);
        while (taken < 2 && !incomingLines.empty()) {
            lines[taken++] = std::move(incomingLines.back());
            incomingLines.pop_back();
        }
    }
    for (int k = 0; k < taken; ++k) lf_acceptLine(lines[k]);
}

} // namespace

act* gf_findAct(std::uint32_t HEXID)
{
    auto it = std::find_if(liveList.begin(), liveList.end(), [&](const act& a) { return a.hexid == HEXID; });
    return it == liveList.end() ? nullptr : &*it;
}

act* gf_findActByObject(std::uint32_t OBJECT_ID)
{
    if (OBJECT_ID == 0) return nullptr;
    auto it = std::find_if(liveList.begin(), liveList.end(), [&](const act& a) { return a.objectId == OBJECT_ID; });
    return it == liveList.end() ? nullptr : &*it;
}

void lf_drainMessages()
{
    gf_takeMessages(messagesNow);
    const std::size_t reports = static_cast<std::size_t>(std::count_if(
        messagesNow.begin(), messagesNow.end(), [](const SimMessage& m) { return m.kind == MessageKind::groundData; }));
    objectIndexValid = false;
    std::lock_guard lock(messageLock);
    for (const SimMessage& message : messagesNow) lf_runMessage(message, reports >= indexFromReports);
    objectIndexValid = false;
    lf_countAfterCreate();
}

void lf_engineTick()
{
    lf_drainMessages();
    lf_tickActs();
    const std::int32_t tick = engineTick;
    if (tick % 10 == 0 && !removeQueue.empty()) {
        gf_queueRemove(removeQueue.front());
        removeQueue.pop_front();
    }
    if (tick % 50 == 0) {
        if (!liveCreateQueue.empty()) {
            gf_queueCreate(liveCreateQueue.front());
            liveCreateQueue.pop_front();
        } else if (!staticCreateQueue.empty()) {
            gf_queueCreate(staticCreateQueue.front());
            staticCreateQueue.pop_front();
        } else {
            parkingCalls.continueStaticCreation();
        }
    }
    lf_takeLines();
    if (!pendingCreates.empty()) {
        const std::uint32_t hexid = pendingCreates.back();
        pendingCreates.pop_back();
        if (act* record = gf_findAct(hexid)) lf_queueCreateRequest(*record);
    }
    if (tick % 20 == 0 && !simRequestsOff) gf_requestAircraftInRange(aiRequestRadius);
    if (tick % 100 == 0) ownPosition = gf_requestUserPosition();
    ++engineTick;
}

void gf_removeAct(ActCore& RECORD)
{
    if (RECORD.state == ActState::waiting) {
        RECORD.eraseNow = true;
        return;
    }
    if (RECORD.state == ActState::creating && RECORD.objectId == 0) {
        // No object to name yet: a removal now would leave the object, when it
        // comes, in the simulator for good. It goes as soon as it has settled.
        RECORD.removeWhenCreated = true;
        return;
    }
    RECORD.standId = 0;
    RECORD.state = ActState::removing;
    if (!CALLSIGN_2_OBJECTID.value.empty() && CALLSIGN_2_OBJECTID.value == RECORD.callsign)
        CALLSIGN_2_OBJECTID.value.clear();
    if (RECORD.objectId == 0) gf_log(fmt::format("removing act {} with objectId=0 ?", RECORD.callsign));
    removeQueue.push_back(RECORD.objectId);
}

std::string gf_actText(const ActCore& RECORD)
{
    return fmt::format("{:3} {:4} {} {} {:8} {:8} ", RECORD.airline, RECORD.icaoType, RECORD.origin,
                       RECORD.destination, RECORD.regcode, RECORD.callsign);
}

void lf_reserveEngine()
{
    liveList.reserve(512);
    staticList.reserve(256);
    pendingCreates.reserve(64);
    ghostCallsigns.reserve(64);
}

void lf_removeAllLive()
{
    for (act& record : liveList) {
        if (record.state == ActState::active || record.state == ActState::creating ||
            record.state == ActState::recreating)
            gf_removeAct(record); // one still without its object is removed when it arrives
    }
}

void lf_flushRemoveQueue()
{
    for (std::uint32_t objectId : removeQueue) gf_queueRemove(objectId);
    removeQueue.clear();
}

void lf_clearEngine()
{
    liveList.clear();
    staticList.clear();
    pendingCreates.clear();
    liveCreateQueue.clear();
    staticCreateQueue.clear();
    removeQueue.clear();
    newHexids.clear();
    ghostCallsigns.clear();
    {
        std::lock_guard lock(messageLock);
        afterCreate.clear();
        simMessages.clear();
    }
    std::lock_guard lock(linesLock);
    incomingLines.clear();
}

void lf_setClassFields(act& RECORD, std::int32_t CLASS_ID, int PITCH_SIGN_A, int PITCH_SIGN_B)
{
    const ClassTraits& t = classTable[std::clamp(CLASS_ID, 0, 5)];
    RECORD.classId = CLASS_ID;
    RECORD.flareTicks = t.flareTicks;
    RECORD.touchdownTicks = t.touchdownTicks;
    RECORD.rotateTicks = t.rotateTicks;
    RECORD.climbTicks = t.climbTicks;
    RECORD.rotatePitch = t.rotatePitchDeg * (1.0 + PITCH_SIGN_A * 0.025) * degToRad;
    RECORD.climbPitch = t.climbPitchDeg * (1.0 + PITCH_SIGN_B * 0.05) * degToRad;
    // The table gives degrees per tick; the record holds radians per tick.
    RECORD.turnRate = t.turnRateDegPerTick * degToRad;
    RECORD.turnRateNow = RECORD.turnRate;
    RECORD.maxAltRate = t.maxAltRate;
    RECORD.pushSpeed = t.pushSpeed;
}

} // namespace orv
