// Test support: the engine on a virtual clock.
#include "tests/traffic/harness.h"

#include "core/flags.h"
#include "core/sim_messages.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "core/geometry.h"
#include "traffic/motion.h"
#include "sim/sim_session.h"

#include <algorithm>
#include <mutex>

namespace orv::test {

TestAirport testAirport;

namespace {
constexpr std::int32_t firstTick = 100000;
constexpr std::int32_t reportEveryTicks = 20; ///< the by-type request's period
constexpr double reportsUpToAglFt = 2500.0;
constexpr double wheelsTouchFt = 0.5;
} // namespace

void gf_resetEngine(std::int32_t TICK)
{
    lf_clearEngine();
    gf_installTestAirport();
    engineTick = TICK;
    ownPosition = {};
}

TrafficLine gf_testIdentity(std::uint32_t HEXID, const std::string& CALLSIGN)
{
    TrafficLine line;
    line.airline = CALLSIGN.substr(0, 3);
    line.icaoType = "A320";
    line.origin = "TST";
    line.destination = "TST";
    line.callsign = CALLSIGN;
    line.regcode = "HB-" + CALLSIGN.substr(CALLSIGN.size() - 3);
    line.hexid = HEXID;
    return line;
}

act& gf_testRecord(const TrafficLine& LINE, std::int32_t CLASS_ID, double WINGSPAN_NM)
{
    act& record = liveList.emplace_back();
    record.airline = LINE.airline;
    record.icaoType = LINE.icaoType;
    record.origin = LINE.origin;
    record.destination = LINE.destination;
    record.callsign = LINE.callsign;
    record.coupledCallsign1 = LINE.callsign;
    record.regcode = LINE.regcode;
    record.hexid = LINE.hexid;
    lf_setClassFields(record, CLASS_ID, 1, 1);
    record.wingspan = WINGSPAN_NM;
    record.lastTimestamp = LINE.timestamp;
    record.track.push_back(LINE.point);
    return record;
}

TrackPoint gf_pointAt(double EAST, double NORTH, double SPEED_KT, std::int32_t DUE, double ALTITUDE_FT)
{
    TrackPoint p;
    const LatLon pos = gf_testPosition(EAST, NORTH);
    p.lat = pos.lat;
    p.lon = pos.lon;
    p.groundSpeed = SPEED_KT;
    p.airspeed = SPEED_KT;
    p.altitude = ALTITUDE_FT;
    p.airborne = ALTITUDE_FT > 0;
    p.dueTick = DUE;
    return p;
}

act& gf_activeRecord(std::uint32_t HEXID, double EAST, double NORTH, bool ON_GROUND, Phase PHASE, std::int32_t DUE)
{
    TrafficLine line = gf_testIdentity(HEXID, "TST" + std::to_string(HEXID % 1000));
    line.point = gf_pointAt(EAST, NORTH, 0, DUE, ON_GROUND ? 0 : 3000);
    act& r = gf_testRecord(line, 2, 17.0 / metresPerNm);
    r.lat = line.point.lat;
    r.lon = line.point.lon;
    r.onGround = ON_GROUND;
    r.altitude = ON_GROUND ? testAirport.elevationFt + testStaticCgFt : 3000;
    r.staticCg = testStaticCgFt;
    r.staticPitch = testStaticPitchDeg * degToRad;
    r.state = ActState::active;
    r.objectId = 500 + HEXID % 1000;
    r.phase = PHASE;
    return r;
}

void EngineTest::TearDown() { lf_clearEngine(); }

Harness::Harness()
{
    gf_resetEngine(firstTick);
    startTick_ = firstTick;
    for (TestStand& s : testAirport.stands) s.occupied = false;
}

Harness::~Harness() { lf_clearEngine(); }

void Harness::add(const std::vector<FeedLine>& LINES, std::int32_t CLASS_ID, double WINGSPAN_NM)
{
    for (const FeedLine& f : LINES) pending_.push_back({f, CLASS_ID, WINGSPAN_NM});
    std::stable_sort(pending_.begin() + static_cast<std::ptrdiff_t>(nextLine_), pending_.end(),
                     [](const Pending& A, const Pending& B) { return A.line.handOverTick < B.line.handOverTick; });
}

act* Harness::record(std::uint32_t HEXID) const { return gf_findAct(HEXID); }

bool Harness::removed(std::uint32_t HEXID) const
{
    auto it = removed_.find(HEXID);
    return it != removed_.end() && it->second;
}

void Harness::handOver()
{
    while (nextLine_ < pending_.size() && pending_[nextLine_].line.handOverTick <= engineTick) {
        const Pending& p = pending_[nextLine_++];
        if (gf_findAct(p.line.line.hexid) == nullptr && !removed(p.line.line.hexid)) {
            // A new record, as lf_newFromLine makes it; its livery is taken as
            // matched, the engine's own creation does the rest.
            gf_testRecord(p.line.line, p.classId, p.wingspan).livery = "Test " + p.line.line.icaoType;
            continue;
        }
        std::lock_guard lock(linesLock);
        incomingLines.push_back(p.line.line);
    }
}

void Harness::groundReports()
{
    if (!reportGround || engineTick % reportEveryTicks != 0) return;
    for (const act& r : liveList) {
        if (r.objectId == 0) continue;
        const double agl = r.altitude - testAirport.elevationFt;
        if (agl > reportsUpToAglFt) continue;
        const std::uint32_t onGround = agl <= r.staticCg + wheelsTouchFt ? 1 : 0;
        gf_postMessage({r.objectId, onGround, MessageKind::groundData, testAirport.elevationFt, agl});
    }
}

void Harness::sample()
{
    for (const act& r : liveList) {
        if (r.state == ActState::waiting || r.state == ActState::creating) continue;
        Sample s;
        s.tick = engineTick;
        s.lat = r.lat;
        s.lon = r.lon;
        s.altitude = r.altitude;
        s.heading = r.heading;
        s.phase = r.phase;
        s.state = r.state;
        s.onGround = r.onGround;
        s.takeoffRoll = r.takeoffRoll;
        s.landing = r.landing;
        s.rollout = r.rollout;
        s.flareStage = r.flareStage;
        s.predictedPoints = r.predictedPoints;
        samples_[r.hexid].push_back(s);
        if (r.state == ActState::removing) removed_[r.hexid] = true;
    }
}

void Harness::simulator()
{
    std::vector<CreateRequest> requests;
    {
        std::lock_guard lock(simLock);
        requests.swap(createList);
        removeList.clear();
        eventQueue.clear();
    }
    // Each request becomes an object with the test's static values.
    for (const CreateRequest& q : requests) {
        const std::uint32_t id = nextObjectId_++;
        gf_postMessage({id, q.id, MessageKind::liveCreated, 0, q.altitudeFt - testAirport.elevationFt});
        gf_postMessage({id, 0, MessageKind::staticData, testStaticCgFt, testStaticPitchDeg * degToRad});
    }
    // The removal report: the record leaves with it.
    for (const act& r : liveList)
        if (r.state == ActState::removing) gf_postMessage({r.objectId, 0, MessageKind::removed, 0, 0});
}

void Harness::run(std::int32_t TICKS)
{
    for (std::int32_t i = 0; i < TICKS; ++i) {
        handOver();
        groundReports();
        lf_engineTick();
        simulator();
        sample();
    }
}

void Harness::runAll(std::int32_t TAIL_TICKS)
{
    const std::int32_t last = pending_.empty() ? engineTick.load() : pending_.back().line.handOverTick;
    run(std::max(last - engineTick.load(), 0) + TAIL_TICKS);
}

} // namespace orv::test
