// One pass of an aircraft's leg: position along the line or the curve,
// heading, pitch, bank and altitude by their steps; no allocation, no search.
#include "core/log.h"
#include "traffic/motion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

constexpr double curveEndT = 0.999999;
constexpr double curveHeadingSlackRad = 0.5 * degToRad;
constexpr double flareMaxNoseUpRad = -4.0 * degToRad;

/// Position on the curve at curveT; the tangent gives the wanted heading.
void lf_followCurve(act& RECORD)
{
    RECORD.curveT = std::min(RECORD.curveT + RECORD.curveDt, curveEndT);
    const double t = RECORD.curveT;
    const Curve& c = RECORD.curve;
    const PlaneXY at{2.0 * (1.0 - t) * t * c.controlEast + t * t * c.endEast,
                     2.0 * (1.0 - t) * t * c.controlNorth + t * t * c.endNorth};
    const double tanEast = 2.0 * (1.0 - t) * c.controlEast + 2.0 * t * (c.endEast - c.controlEast);
    const double tanNorth = 2.0 * (1.0 - t) * c.controlNorth + 2.0 * t * (c.endNorth - c.controlNorth);
    if (!(t >= 0 && t <= 1) || !std::isfinite(tanEast) || !std::isfinite(tanNorth) ||
        (tanEast == 0 && tanNorth == 0)) {
        gf_log(fmt::format("{} error in curve at index: {:.2F}", RECORD.callsign, t));
        return;
    }
    const LatLon pos = gf_fromPlane(c.origin, at);
    RECORD.lat = pos.lat;
    RECORD.lon = pos.lon;
    double wanted = gf_wrapTwoPi(std::atan2(tanEast, tanNorth));
    if (RECORD.phase == Phase::pushBack) wanted = gf_wrapTwoPi(wanted + pi); // tail first
    if (std::fabs(gf_angleDiff(wanted, RECORD.heading)) > curveHeadingSlackRad)
        lf_turnTowards(RECORD, wanted, RECORD.turnRateNow);
}

bool lf_taxiPhase(Phase PHASE)
{
    return PHASE == Phase::moving || PHASE == Phase::taxiToStand || PHASE == Phase::pushBack ||
           PHASE == Phase::pushedBack;
}

/// Pitch, bank and altitude by their steps, with the flare and the nose coming down.
void lf_attitude(act& RECORD)
{
    lf_flare(RECORD);
    if (RECORD.noseLowering) {
        lf_integrateNoseLowering(RECORD);
        return;
    }
    if (RECORD.flareStage == 0 && RECORD.onGround) {
        RECORD.pitch = RECORD.staticPitch;
        RECORD.bank = 0;
        return;
    }
    RECORD.pitch += RECORD.pitchStep;
    if (RECORD.flareStage > 0) RECORD.pitch = std::max(RECORD.pitch, flareMaxNoseUpRad);
    RECORD.bank += RECORD.bankStep;
    RECORD.altitude += RECORD.altStep;
}

} // namespace

void lf_turnTowards(act& RECORD, double TARGET, double RATE)
{
    const double diff = gf_angleDiff(TARGET, RECORD.heading);
    const double turn = std::clamp(diff, -RATE, RATE);
    RECORD.heading = gf_wrapTwoPi(RECORD.heading + turn);
}

void lf_integrate(act& RECORD)
{
    if (lf_hasCurve(RECORD)) {
        lf_followCurve(RECORD);
    } else {
        if (lf_taxiPhase(RECORD.phase)) {
            // Onto a stand the nose comes round at the class's full ground rate:
            // the entry legs are short, and the aircraft must stop on the stand's heading.
            if (RECORD.phase == Phase::taxiToStand)
                lf_turnTowards(RECORD, RECORD.targetHeading, RECORD.turnRate);
            else if (RECORD.turning)
                lf_turnTowards(RECORD, RECORD.targetHeading, RECORD.turnRateNow);
        } else {
            RECORD.heading = gf_wrapTwoPi(RECORD.heading + RECORD.headingStep);
        }
        if (RECORD.phase != Phase::pushedBack) {
            RECORD.lat += RECORD.latStep;
            RECORD.lon += RECORD.lonStep;
        }
    }
    if (RECORD.phase == Phase::takingOff)
        lf_integrateTakingOff(RECORD);
    else
        lf_attitude(RECORD);
    if (RECORD.lon > 180.0) RECORD.lon -= 360.0;
    if (RECORD.lon < -180.0) RECORD.lon += 360.0;
}

} // namespace orv
