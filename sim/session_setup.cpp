// What is set up on each new simulator session: the system events, the data
// definitions, the client events and their notification group, in the order
// the dispatch and the send queues rely on.
#include "sim/sim_session.h"

#include "core/flags.h"

namespace orv {
namespace {

struct Field {
    SimDefinition definition;
    const char* name;
    const char* unit; ///< nullptr: no unit
    SIMCONNECT_DATATYPE type;
};

constexpr auto f64 = SIMCONNECT_DATATYPE_FLOAT64;
constexpr auto i64 = SIMCONNECT_DATATYPE_INT64;

/// The fields in the order they are added; definition 401 comes after the events.
constexpr Field fields[] = {
    {defUserTitle, "TITLE", nullptr, SIMCONNECT_DATATYPE_STRINGV},
    {defUserModel, "ATC MODEL", nullptr, SIMCONNECT_DATATYPE_STRING32},
    {defSimOnGround, "SIM ON GROUND", "Bool", i64},
    {defPosition, "Plane Latitude", "degree", f64},
    {defPosition, "Plane Longitude", "degree", f64},
    {defPosition, "Plane Pitch degrees", "radians", f64},
    {defPosition, "Plane Bank degrees", "radians", f64},
    {defPosition, "Plane Heading degrees true", "radians", f64},
    {defPosition, "Plane Altitude", "feet", f64},
    {defPosition, "Vertical Speed", "feet per second", f64},
    {defPosition, "Airspeed True", "knots", f64},
    {defUserState, "Plane Latitude", "degree", f64},
    {defUserState, "Plane Longitude", "degree", f64},
    {defUserState, "Plane Pitch degrees", "radians", f64},
    {defUserState, "Plane Bank degrees", "radians", f64},
    {defUserState, "Plane Heading degrees true", "radians", f64},
    {defUserState, "Plane Altitude", "feet", f64},
    {defUserState, "Plane Alt Above Ground", "feet", f64},
    {defUserState, "Ground Velocity", "knots", f64},
    {defUserState, "ZULU TIME", "Seconds", i64},
    {defUserState, "ZULU DAY OF YEAR", "Number", i64},
    {defUserState, "ZULU YEAR", "Number", i64},
    {defUserState, "LIGHT STATES", "Mask", i64},
    {defStaticShape, "Static CG to Ground", "feet", f64},
    {defStaticShape, "Static Pitch", "radians", f64},
    {defLightOnStates, "Light On States", "Mask", i64},
    {defInRange, "Plane Alt Above Ground", "feet", f64},
    {defInRange, "Ground Altitude", "feet", f64},
    {defInRange, "SIM ON GROUND", "Bool", i64},
    {defInRange, "ATC ID", nullptr, SIMCONNECT_DATATYPE_STRING32},
};

constexpr Field controlFields[] = {
    {defControls, "SPOILERS HANDLE POSITION", "percent", f64},
    {defControls, "GENERAL ENG THROTTLE LEVER POSITION:1", "percent", f64},
    {defControls, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent", f64},
};

struct EventName {
    DWORD id;
    const char* name;
};

/// Mapped in this order.
constexpr EventName clientEvents[] = {
    {eventGearSet, "GEAR_SET"},
    {eventEngineAutoStart, "ENGINE_AUTO_START"},
    {eventEngineAutoShutdown, "ENGINE_AUTO_SHUTDOWN"},
    {eventThrottleSet, "THROTTLE_SET"},
    {eventFlapsSet, "FLAPS_SET"},
    {eventSpoilersSet, "SPOILERS_SET"},
    {eventNavLightsSet, "NAV_LIGHTS_SET"},
    {eventBeaconLightsSet, "BEACON_LIGHTS_SET"},
    {eventLandingLightsSet, "LANDING_LIGHTS_SET"},
    {eventTaxiLightsSet, "TAXI_LIGHTS_SET"},
    {eventStrobesSet, "STROBES_SET"},
    {eventLogoLightsSet, "LOGO_LIGHTS_SET"},
    {eventCabinLightsSet, "CABIN_LIGHTS_SET"},
    {eventAllLightsToggle, "ALL_LIGHTS_TOGGLE"},
    {eventFreezeLatLon, "FREEZE_LATITUDE_LONGITUDE_SET"},
    {eventFreezeAltitude, "FREEZE_ALTITUDE_SET"},
    {eventFreezeAttitude, "FREEZE_ATTITUDE_SET"},
};

/// Every event but ENGINE_AUTO_START joins the group, in this order.
constexpr DWORD groupEvents[] = {eventNavLightsSet, eventBeaconLightsSet, eventLandingLightsSet, eventTaxiLightsSet,
                                 eventStrobesSet,   eventLogoLightsSet,   eventCabinLightsSet,   eventAllLightsToggle,
                                 eventFlapsSet,     eventSpoilersSet,     eventGearSet,          eventEngineAutoShutdown,
                                 eventThrottleSet,  eventFreezeLatLon,    eventFreezeAltitude,   eventFreezeAttitude};

constexpr EventName systemEvents[] = {
    {eventSim, "Sim"},
    {eventObjectAdded, "ObjectAdded"},
    {eventObjectRemoved, "ObjectRemoved"},
    {eventFlightLoaded, "FlightLoaded"},
    {eventFrame, "Frame"},
};

void lf_addFields(const Field* FIRST, const Field* LAST)
{
    for (const Field* f = FIRST; f != LAST; ++f)
        SimConnect_AddToDataDefinition(simHandle, f->definition, f->name, f->unit, f->type, 0, SIMCONNECT_UNUSED);
}

} // namespace

void lf_setUpSimSession()
{
    std::lock_guard lock(simLock);
    for (const EventName& e : systemEvents) SimConnect_SubscribeToSystemEvent(simHandle, e.id, e.name);
    lf_addFields(std::begin(fields), std::end(fields));
    for (const EventName& e : clientEvents) SimConnect_MapClientEventToSimEvent(simHandle, e.id, e.name);
    lf_addFields(std::begin(controlFields), std::end(controlFields));
    for (const DWORD id : groupEvents) SimConnect_AddClientEventToNotificationGroup(simHandle, notificationGroup, id, true);
    SimConnect_SetNotificationGroupPriority(simHandle, notificationGroup, SIMCONNECT_GROUP_PRIORITY_HIGHEST);
}

} // namespace orv
