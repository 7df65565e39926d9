// Routes of the generated flights: straight-in approaches on a three-degree
// path, roll-out, taxi on a parallel taxiway, nose-in stands, push-back,
// take-off and a straight climb-out.
#include "standin/service/generator_routes.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

#include <fmt/format.h>

namespace orv {

namespace {

constexpr double kMetresPerNm = 1852.0;
constexpr double kFeetPerMetre = 3.280839895;
constexpr double kGlideSlopeDeg = 3.0;
constexpr double kThresholdCrossingFt = 50.0;
constexpr double kTaxiwayOffsetM = 190.0;
constexpr double kTouchdownM = 350.0;
constexpr double kRollOutM = 1300.0;
constexpr double kRunwayEndMarginM = 400.0;
constexpr double kExitAheadM = 150.0;
constexpr double kStandLeadInM = 60.0;
constexpr double kStandEntryM = 15.0;
constexpr double kPushBackM = 45.0;
constexpr double kPushTurnM = 30.0;
constexpr double kLineUpM = 40.0;
constexpr double kRotationM = 1500.0;
constexpr double kTaxiKt = 18.0;
constexpr double kStandEntryKt = 4.0;
constexpr double kLeadInKt = 9.0;
constexpr double kPushKt = 3.0;
constexpr double kEngineStartSeconds = 40.0;
constexpr double kLineUpHoldSeconds = 25.0;
constexpr double kOverflightHalfLengthNm = 45.0;
constexpr double kOverflightMaxOffsetNm = 15.0;

double lf_glideHeightFt(double DISTANCE_M)
{
    return DISTANCE_M * std::tan(kGlideSlopeDeg * std::numbers::pi / 180.0) * kFeetPerMetre + kThresholdCrossingFt;
}

Vec2 lf_onRunway(const AirportLayout& L, double ALONG_M, double ACROSS_M = 0)
{
    return L.threshold1 + ALONG_M * L.along + ACROSS_M * L.toStands;
}

/// The taxiway point abeam POINT.
Vec2 lf_taxiwayAbeam(const AirportLayout& L, Vec2 POINT)
{
    const Vec2 rel = POINT - L.threshold1;
    return lf_onRunway(L, rel.x * L.along.x + rel.y * L.along.y, kTaxiwayOffsetM);
}

Waypoint lf_ground(Vec2 POS, double SPEED_KT, double HOLD = 0, bool BACKWARDS = false)
{
    return Waypoint{POS, SPEED_KT, 0, HOLD, BACKWARDS};
}

} // namespace

double gf_uniform(std::mt19937& RANDOM, double LO, double HI)
{
    return std::uniform_real_distribution<double>(LO, HI)(RANDOM);
}

AirportLayout gf_airportLayout(const GeneratorSetup& SETUP)
{
    AirportLayout layout;
    layout.frame = LocalFrame{(SETUP.runwayLat1 + SETUP.runwayLat2) / 2, (SETUP.runwayLon1 + SETUP.runwayLon2) / 2};
    layout.threshold1 = layout.frame.toLocal(SETUP.runwayLat1, SETUP.runwayLon1);
    layout.threshold2 = layout.frame.toLocal(SETUP.runwayLat2, SETUP.runwayLon2);
    const Vec2 runway = layout.threshold2 - layout.threshold1;
    layout.runwayLengthM = gf_length(runway);
    if (layout.runwayLengthM < kShortestRunwayM) {
        throw std::invalid_argument(fmt::format("the runway is {:.0f} m long; at least {:.0f} m are needed",
                                                layout.runwayLengthM, kShortestRunwayM));
    }
    if (SETUP.stands.empty()) throw std::invalid_argument("the generator needs at least one stand");
    layout.along = (1.0 / layout.runwayLengthM) * runway;
    Vec2 side{-layout.along.y, layout.along.x};
    double sideSum = 0;
    for (const auto& stand : SETUP.stands) {
        const Vec2 pos = layout.frame.toLocal(stand.lat, stand.lon);
        layout.stands.push_back(pos);
        layout.standNose.push_back(gf_headingVector(stand.headingDeg));
        sideSum += (pos.x * side.x + pos.y * side.y);
    }
    layout.toStands = sideSum < 0 ? -1.0 * side : side;
    return layout;
}

std::vector<Waypoint> gf_arrivalRoute(const AirportLayout& L, std::size_t STAND, double STAND_SECONDS,
                                      std::mt19937& RANDOM)
{
    constexpr double kFinalStartNmLo = 16, kFinalStartNmHi = 26, kFinalFixNm = 6;
    const double startM = gf_uniform(RANDOM, kFinalStartNmLo, kFinalStartNmHi) * kMetresPerNm;
    const double fixM = kFinalFixNm * kMetresPerNm;
    const double approachKt = gf_uniform(RANDOM, 130, 150);
    std::vector<Waypoint> route;
    route.push_back({lf_onRunway(L, -startM), gf_uniform(RANDOM, 190, 230), lf_glideHeightFt(startM)});
    route.push_back({lf_onRunway(L, -fixM), approachKt + 15, lf_glideHeightFt(fixM)});
    route.push_back({L.threshold1, approachKt, kThresholdCrossingFt});
    route.push_back(lf_ground(lf_onRunway(L, kTouchdownM), approachKt - 8));
    const double rollEnd = std::min(kTouchdownM + kRollOutM, L.runwayLengthM - kRunwayEndMarginM);
    route.push_back(lf_ground(lf_onRunway(L, rollEnd), 25));
    route.push_back(lf_ground(lf_onRunway(L, rollEnd + kExitAheadM, kTaxiwayOffsetM / 2), 20));
    route.push_back(lf_ground(lf_onRunway(L, rollEnd + 2 * kExitAheadM, kTaxiwayOffsetM), kTaxiKt));
    const Vec2 leadIn = L.stands[STAND] - kStandLeadInM * L.standNose[STAND];
    route.push_back(lf_ground(lf_taxiwayAbeam(L, leadIn), kTaxiKt));
    route.push_back(lf_ground(leadIn, kLeadInKt));
    route.push_back(lf_ground(L.stands[STAND] - kStandEntryM * L.standNose[STAND], kStandEntryKt));
    route.push_back(lf_ground(L.stands[STAND], 0, STAND_SECONDS));
    return route;
}

std::vector<Waypoint> gf_departureRoute(const AirportLayout& L, std::size_t STAND, double STAND_SECONDS,
                                        std::mt19937& RANDOM)
{
    const Vec2 stand = L.stands[STAND];
    const Vec2 nose = L.standNose[STAND];
    const Vec2 pushed = stand - kPushBackM * nose;
    // The tail swings away from the runway's start, so the nose ends up
    // facing the way the taxi goes.
    const Vec2 turned = pushed - kPushTurnM * nose + kPushTurnM * L.along;
    std::vector<Waypoint> route;
    route.push_back(lf_ground(stand, 0, STAND_SECONDS));
    route.push_back(lf_ground(pushed, kPushKt, 0, true));
    route.push_back(lf_ground(turned, 0, kEngineStartSeconds, true));
    route.push_back(lf_ground(lf_taxiwayAbeam(L, turned), kTaxiKt));
    route.push_back(lf_ground(lf_onRunway(L, kLineUpM, kTaxiwayOffsetM), kTaxiKt));
    route.push_back(lf_ground(lf_onRunway(L, kLineUpM), 0, kLineUpHoldSeconds));
    const double rotation = std::min(kRotationM, L.runwayLengthM - kRunwayEndMarginM);
    const double liftOffKt = gf_uniform(RANDOM, 140, 165);
    route.push_back(lf_ground(lf_onRunway(L, rotation), liftOffKt));
    constexpr double kClimb1Nm = 3, kClimb2Nm = 12, kClimb3Nm = 25;
    route.push_back({lf_onRunway(L, rotation + kClimb1Nm * kMetresPerNm), liftOffKt + 25, 1100});
    route.push_back({lf_onRunway(L, rotation + kClimb2Nm * kMetresPerNm), 250, gf_uniform(RANDOM, 5000, 7000)});
    route.push_back({lf_onRunway(L, rotation + kClimb3Nm * kMetresPerNm), 290, gf_uniform(RANDOM, 10000, 12000)});
    return route;
}

std::vector<Waypoint> gf_overflightRoute(double ALTITUDE_AGL_FT, double SPEED_KT, std::mt19937& RANDOM)
{
    const Vec2 direction = gf_headingVector(gf_uniform(RANDOM, 0, 360));
    const Vec2 across{-direction.y, direction.x};
    const Vec2 closest = gf_uniform(RANDOM, -kOverflightMaxOffsetNm, kOverflightMaxOffsetNm) * kMetresPerNm * across;
    const double half = kOverflightHalfLengthNm * kMetresPerNm;
    return {Waypoint{closest - half * direction, SPEED_KT, ALTITUDE_AGL_FT},
            Waypoint{closest + half * direction, SPEED_KT, ALTITUDE_AGL_FT}};
}

} // namespace orv
