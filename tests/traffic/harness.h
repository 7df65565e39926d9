// Test support for the engine: a plane round the test airport, the airport
// and its stands as the engine asks for them, records and track points made
// as a test wants them, and a fixture that starts each test from an empty engine.
#pragma once

#include "core/geometry.h"
#include "feed/traffic_line.h"
#include "traffic/act.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace orv::test {

/// The position of a plane point (metres east and north) round the test airport.
LatLon gf_testPosition(double EAST, double NORTH);
/// The plane point of a position.
PlaneXY gf_testPlane(const LatLon& POS);

/// A stand of the test airport.
struct TestStand {
    std::int32_t id = 0;
    std::string name;
    LatLon pos;
    double headingRad = 0;
    double radiusNm = 0;
    bool cargo = false;
    bool occupied = false;
};

/// The test's park airport, which the engine reads through its airport calls.
struct TestAirport {
    bool set = true;
    bool ready = true;
    std::string iata = "TST";
    LatLon pos;
    double elevationFt = 1400;
    std::vector<TestStand> stands;
};
extern TestAirport testAirport;
/// Puts testAirport's answers into the engine's parking table (gf_resetEngine does).
void gf_installTestAirport();

/// The simulator's static values of every object.
inline constexpr double testStaticCgFt = 9.5;
inline constexpr double testStaticPitchDeg = 0.7;

/// Makes a record from a first line as a new record is made, without the
/// reference tables: class and wing span given.
act& gf_testRecord(const TrafficLine& LINE, std::int32_t CLASS_ID, double WINGSPAN_NM);
/// An active class-2 record at POS (a plane point round the test airport),
/// with one track point there due at DUE, as a unit test wants it.
act& gf_activeRecord(std::uint32_t HEXID, double EAST, double NORTH, bool ON_GROUND, Phase PHASE, std::int32_t DUE);
/// A track point at a plane point.
TrackPoint gf_pointAt(double EAST, double NORTH, double SPEED_KT, std::int32_t DUE, double ALTITUDE_FT = 0);
/// A feed line's identity for tests.
TrafficLine gf_testIdentity(std::uint32_t HEXID, const std::string& CALLSIGN);
/// Clears every list of the engine and sets the clock.
void gf_resetEngine(std::int32_t TICK);

/// The clock of the unit tests.
inline constexpr std::int32_t now = 500000;

/// A unit test of the engine: empty lists, the clock at now, the test airport
/// at the plane's origin without stands.
class EngineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        testAirport = {};
        testAirport.pos = gf_testPosition(0, 0);
        gf_resetEngine(now);
    }
    void TearDown() override;
};

} // namespace orv::test
