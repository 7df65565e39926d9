// Test support: the engine on a virtual clock. Lines go in at the pass their
// reader would hand them over, the engine's own creation makes the objects, a
// small simulator answers their requests and reports the ground under each
// aircraft, and every pass is recorded. Nothing sleeps.
#pragma once

#include "tests/traffic/track_gen.h"
#include "traffic/act.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orv::test {

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

/// What one pass showed of one aircraft.
struct Sample {
    std::int32_t tick = 0;
    double lat = 0, lon = 0, altitude = 0, heading = 0;
    Phase phase = Phase::unset;
    ActState state = ActState::waiting;
    bool onGround = false, takeoffRoll = false, landing = false, rollout = false;
    std::int32_t flareStage = 0, predictedPoints = 0;
};

/// The simulator's side of the harness: the object's static values.
inline constexpr double testStaticCgFt = 9.5;
inline constexpr double testStaticPitchDeg = 0.7;

class Harness {
public:
    Harness();
    ~Harness();
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    /// A flight of CLASS_ID with half wing span WINGSPAN_NM, made from LINES.
    void add(const std::vector<FeedLine>& LINES, std::int32_t CLASS_ID, double WINGSPAN_NM);
    /// Runs TICKS passes.
    void run(std::int32_t TICKS);
    /// Runs until the last line is handed over and then TAIL_TICKS more.
    void runAll(std::int32_t TAIL_TICKS);
    /// The record, or nullptr once it is gone.
    act* record(std::uint32_t HEXID) const;
    const std::vector<Sample>& samples(std::uint32_t HEXID) { return samples_[HEXID]; }
    /// Records kept in the state they had when the engine let them go.
    bool removed(std::uint32_t HEXID) const;
    std::int32_t startTick() const { return startTick_; }
    /// Ground reports stop for this object (the simulator lost sight of it).
    bool reportGround = true;

private:
    void handOver();
    void groundReports();
    void simulator();
    void sample();

    struct Pending {
        FeedLine line;
        std::int32_t classId;
        double wingspan;
    };
    std::vector<Pending> pending_;
    std::size_t nextLine_ = 0;
    std::map<std::uint32_t, std::vector<Sample>> samples_;
    std::map<std::uint32_t, bool> removed_;
    std::uint32_t nextObjectId_ = 100;
    std::int32_t startTick_ = 0;
};

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
