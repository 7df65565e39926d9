// The aircraft's systems as the phases set them: client events, lights,
// spoilers and levers through the simulator link, the lights of a newly
// settled aircraft, and the pose handed to the simulator each pass.
#include "core/parameters.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <mutex>

namespace orv {

namespace {
constexpr std::uint32_t spoilersRetracted = 0;
constexpr double highAltitudeFt = 10000.0;
constexpr double cabinLightsAglFt = 2000.0;
} // namespace

void lf_event(const act& RECORD, SimEventId EVENT, std::uint32_t DATA)
{
    std::lock_guard lock(simLock);
    gf_queueEvent(RECORD.objectId, EVENT, DATA);
}

void gf_setThrottle(ActCore& RECORD, std::int32_t INDEX)
{
    if (RECORD.throttleSetting == INDEX) return;
    gf_sendThrottle(RECORD.objectId, INDEX);
    RECORD.throttleSetting = INDEX;
}

void gf_setFlaps(ActCore& RECORD, std::int32_t INDEX)
{
    if (RECORD.flapsSetting == INDEX || RECORD.classId == helicopterClass) return;
    gf_sendFlaps(RECORD.objectId, INDEX);
    RECORD.flapsSetting = INDEX;
}

void gf_setGear(const ActCore& RECORD, bool DOWN)
{
    if (RECORD.classId != helicopterClass) gf_sendGear(RECORD.objectId, DOWN);
}

void lf_spoilers(const act& RECORD, std::uint32_t VALUE)
{
    if (!lf_isHelicopter(RECORD)) lf_event(RECORD, eventSpoilersSet, VALUE);
}

void lf_controls(const act& RECORD, double SPOILERS, double LEVERS)
{
    if (RECORD.classId != lightClass) gf_setControls(RECORD.objectId, SPOILERS, LEVERS, LEVERS);
}

void lf_lights(const act& RECORD, const LightSet& LIGHTS) { gf_setLights(RECORD.objectId, LIGHTS); }

PositionUpdate lf_positionOf(const act& RECORD)
{
    return {RECORD.lat,      RECORD.lon,          RECORD.pitch,    RECORD.bank,
            RECORD.heading,  RECORD.altitude,     RECORD.verticalSpeedFps, RECORD.speedOut,
            RECORD.objectId};
}

void lf_lightsAfterCreate(act& RECORD)
{
    const bool airborne = !RECORD.track.empty() && RECORD.track.front().airborne;
    lf_spoilers(RECORD, spoilersRetracted);
    if (airborne) {
        lf_event(RECORD, eventEngineAutoStart, 0);
        const std::uint8_t low = RECORD.altitude > highAltitudeFt ? 0 : 1;
        const std::uint8_t cabin = RECORD.agl >= cabinLightsAglFt ? 1 : 0;
        lf_lights(RECORD, {1, 1, low, 0, 1, low, cabin});
        return;
    }
    const bool parked = RECORD.phase == Phase::atStand;
    std::uint8_t nav = 1;
    if (parked) {
        lf_event(RECORD, eventEngineAutoShutdown, 0);
        nav = NAV_LIGHTS_WHILE_PARKED.value ? 1 : 0;
    } else {
        lf_event(RECORD, eventEngineAutoStart, 0);
    }
    const std::uint8_t taxi = RECORD.phase == Phase::moving ? 1 : 0;
    lf_lights(RECORD, {nav, static_cast<std::uint8_t>(parked ? 0 : 1), 0, taxi, 0, 1, 1});
    gf_setThrottle(RECORD, lf_powerIndex(RECORD, 0));
    gf_setFlaps(RECORD, RECORD.phase == Phase::moving ? 1 : 0);
}

} // namespace orv
