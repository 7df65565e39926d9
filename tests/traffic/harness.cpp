// Test support: the engine on a virtual clock.
#include "tests/traffic/harness.h"

#include "core/flags.h"
#include "core/sim_messages.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "core/geometry.h"
#include "traffic/motion.h"

#include <algorithm>
#include <mutex>

namespace orv::test {

TestAirport testAirport;

namespace {
constexpr std::int32_t firstTick = 100000;
constexpr std::int32_t createLeadTicks = 100;  ///< creation comes a second before the first point
constexpr std::int32_t reportEveryTicks = 20;  ///< the by-type request's period
constexpr double reportsUpToAglFt = 2500.0;
constexpr double wheelsTouchFt = 0.5;
constexpr double standSearchMetres = 55.0;
constexpr double groundPitchRad = 0.010471975511965976;

const TestStand* lf_standNear(const LatLon& POS)
{
    const TestStand* best = nullptr;
    double bestMetres = standSearchMetres;
    for (const TestStand& s : testAirport.stands) {
        const double m = gf_distance(POS, s.pos) * metresPerNm;
        if (m <= bestMetres) {
            bestMetres = m;
            best = &s;
        }
    }
    return best;
}
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
    const std::int32_t now = engineTick;
    while (nextLine_ < pending_.size() && pending_[nextLine_].line.handOverTick <= now) {
        const Pending& p = pending_[nextLine_++];
        if (gf_findAct(p.line.line.hexid) == nullptr && !removed(p.line.line.hexid)) {
            // A new record, as lf_newFromLine makes it. The harness creates it itself, so it is
            // held as being created from the start: the engine's own creation leaves it alone.
            gf_testRecord(p.line.line, p.classId, p.wingspan).state = ActState::creating;
            continue;
        }
        std::lock_guard lock(linesLock);
        incomingLines.push_back(p.line.line);
    }
}

void gf_activateRecord(act& RECORD, std::uint32_t OBJECT_ID)
{
    // The first pose as creation gives it; the simulator's answer and the
    // two seconds of settling are taken as done.
    TrackQueue& track = RECORD.track;
    if (track.size() >= 2 && track[1].stationary) {
        track[0].stationary = true;
        track[0].groundSpeed = track[1].groundSpeed = 0;
    }
    TrackPoint& front = track.front();
    const double ground = testAirport.elevationFt;
    RECORD.onGround = !front.airborne;
    if (front.airborne) {
        RECORD.setPhase(Phase::flying);
    } else if (const TestStand* stand = front.stationary || front.groundSpeed == 0 ? lf_standNear(gf_posOf(front))
                                                                                    : nullptr) {
        front.stationary = true;
        front.groundSpeed = 0;
        RECORD.standPos = stand->pos;
        RECORD.standHeading = stand->headingRad;
        RECORD.standId = stand->id;
        RECORD.standCargo = stand->cargo;
        RECORD.setPhase(Phase::atStand);
        track.truncate(1);
        front.lat = stand->pos.lat;
        front.lon = stand->pos.lon;
        front.track = stand->headingRad * radToDeg;
        parkingCalls.setStandOccupied(stand->id, true);
    } else {
        RECORD.setPhase(Phase::moving);
    }
    RECORD.lat = front.lat;
    RECORD.lon = front.lon;
    RECORD.staticCg = testStaticCgFt;
    RECORD.staticPitch = testStaticPitchDeg * degToRad;
    RECORD.altitude = front.airborne ? front.altitude : ground + RECORD.staticCg;
    RECORD.bank = front.bank.value_or(0);
    RECORD.verticalSpeedFps = front.verticalSpeed;
    RECORD.speedOut = front.airspeed;
    RECORD.pitch = front.airborne ? lf_airPitchTarget(front.verticalSpeed) : groundPitchRad;
    if (RECORD.phase == Phase::atStand)
        RECORD.heading = RECORD.standHeading;
    else if (track.size() >= 2 && !track[1].stationary)
        RECORD.heading = gf_bearing(front.lat, front.lon, track[1].lat, track[1].lon);
    else
        RECORD.heading = gf_wrapTwoPi(front.track * degToRad);
    RECORD.objectId = OBJECT_ID;
    RECORD.agl = RECORD.altitude - ground;
    RECORD.slots = 1;
    RECORD.state = ActState::active;
    lf_lightsAfterCreate(RECORD);
}

void Harness::groundReports()
{
    if (!reportGround || engineTick % reportEveryTicks != 0) return;
    for (const act& r : liveList) {
        if (r.objectId == 0 || r.state != ActState::active) continue;
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
        s.pitch = r.pitch;
        s.bank = r.bank;
        s.speedOut = r.speedOut;
        s.phase = r.phase;
        s.state = r.state;
        s.onGround = r.onGround;
        s.takeoffRoll = r.takeoffRoll;
        s.landing = r.landing;
        s.rollout = r.rollout;
        s.holding = r.holding;
        s.flareStage = r.flareStage;
        s.throttle = r.throttleSetting;
        s.flaps = r.flapsSetting;
        s.predictedPoints = r.predictedPoints;
        samples_[r.hexid].push_back(s);
        if (r.state == ActState::removing) removed_[r.hexid] = true;
    }
}

void Harness::run(std::int32_t TICKS)
{
    for (std::int32_t i = 0; i < TICKS; ++i) {
        handOver();
        for (act& r : liveList)
            if (r.state == ActState::creating && r.objectId == 0 && !r.track.empty() &&
                engineTick >= r.track.front().dueTick - createLeadTicks)
                gf_activateRecord(r, nextObjectId_++);
        groundReports();
        lf_engineTick();
        // The simulator's removal report: the record leaves with it.
        for (const act& r : liveList)
            if (r.state == ActState::removing) gf_postMessage({r.objectId, 0, MessageKind::removed, 0, 0});
        sample();
    }
}

void Harness::runAll(std::int32_t TAIL_TICKS)
{
    const std::int32_t last = pending_.empty() ? engineTick.load() : pending_.back().line.handOverTick;
    run(std::max(last - engineTick.load(), 0) + TAIL_TICKS);
}

} // namespace orv::test
