// Test support for the engine: records, points and the plane round the test airport.
#include "tests/traffic/harness.h"

#include "core/flags.h"
#include "traffic/engine.h"

namespace orv::test {

TestAirport testAirport;

namespace {
constexpr LatLon testOrigin{47.0, 8.0};
} // namespace

LatLon gf_testPosition(double EAST, double NORTH) { return gf_fromPlane(testOrigin, {EAST, NORTH}); }

PlaneXY gf_testPlane(const LatLon& POS) { return gf_toPlane(testOrigin, POS.lat, POS.lon); }

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

} // namespace orv::test
