// Simulation variables of the stand-in: names, units, and the packing of a
// data definition's fields to and from bytes.
#include "standin/sim/simvars.h"

#include "sim/simconnect_api.h"
#include "standin/sim/world.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numbers>

namespace orv::simstandin {
namespace {

struct VarInfo {
    std::string_view name; ///< upper case, without an index
    SimVar var;
    Dimension dim;
    bool settable;
};

constexpr VarInfo kVars[] = {
    {"TITLE", SimVar::Title, Dimension::Text, false},
    {"ATC MODEL", SimVar::AtcModel, Dimension::Text, false},
    {"ATC ID", SimVar::AtcId, Dimension::Text, false},
    {"ATC TYPE", SimVar::AtcType, Dimension::Text, false},
    {"SIM ON GROUND", SimVar::SimOnGround, Dimension::Plain, false},
    {"PLANE LATITUDE", SimVar::Latitude, Dimension::Angle, true},
    {"PLANE LONGITUDE", SimVar::Longitude, Dimension::Angle, true},
    {"PLANE PITCH DEGREES", SimVar::Pitch, Dimension::Angle, true},
    {"PLANE BANK DEGREES", SimVar::Bank, Dimension::Angle, true},
    {"PLANE HEADING DEGREES TRUE", SimVar::Heading, Dimension::Angle, true},
    {"PLANE ALTITUDE", SimVar::Altitude, Dimension::Length, true},
    {"PLANE ALT ABOVE GROUND", SimVar::AltAboveGround, Dimension::Length, false},
    {"GROUND ALTITUDE", SimVar::GroundAltitude, Dimension::Length, false},
    {"VERTICAL SPEED", SimVar::VerticalSpeed, Dimension::VerticalSpeed, true},
    {"AIRSPEED TRUE", SimVar::AirspeedTrue, Dimension::Speed, true},
    {"GROUND VELOCITY", SimVar::GroundVelocity, Dimension::Speed, true},
    {"ZULU TIME", SimVar::ZuluTime, Dimension::Plain, false},
    {"ZULU DAY OF YEAR", SimVar::ZuluDayOfYear, Dimension::Plain, false},
    {"ZULU YEAR", SimVar::ZuluYear, Dimension::Plain, false},
    {"LIGHT STATES", SimVar::LightStates, Dimension::Plain, true},
    {"LIGHT ON STATES", SimVar::LightOnStates, Dimension::Plain, false},
    {"STATIC CG TO GROUND", SimVar::StaticCgToGround, Dimension::Length, false},
    {"STATIC PITCH", SimVar::StaticPitch, Dimension::Angle, false},
    {"SPOILERS HANDLE POSITION", SimVar::SpoilersHandle, Dimension::Percent, true},
    {"GENERAL ENG THROTTLE LEVER POSITION", SimVar::ThrottleLever, Dimension::Percent, true},
    {"GEAR HANDLE POSITION", SimVar::GearHandle, Dimension::Plain, true},
    {"FLAPS HANDLE PERCENT", SimVar::FlapsHandlePercent, Dimension::Percent, true},
};

struct UnitInfo {
    std::string_view name; ///< lower case
    Dimension dim;
    double factor;         ///< base units per unit
};

constexpr double kDeg = std::numbers::pi / 180.0;
constexpr double kFeetPerMeter = 3.280839895;
constexpr double kKnotsPerMps = 1.943844492;
constexpr double kKnotsPerFps = 0.592483801;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kPercent = 100.0;
constexpr std::size_t kThrottles = 4;
constexpr std::size_t kWord = 4;

constexpr UnitInfo kUnits[] = {
    {"radians", Dimension::Angle, 1.0},
    {"radian", Dimension::Angle, 1.0},
    {"degrees", Dimension::Angle, kDeg},
    {"degree", Dimension::Angle, kDeg},
    {"feet", Dimension::Length, 1.0},
    {"foot", Dimension::Length, 1.0},
    {"meters", Dimension::Length, kFeetPerMeter},
    {"meter", Dimension::Length, kFeetPerMeter},
    {"knots", Dimension::Speed, 1.0},
    {"knot", Dimension::Speed, 1.0},
    {"meters per second", Dimension::Speed, kKnotsPerMps},
    {"feet per second", Dimension::Speed, kKnotsPerFps},
    {"feet per second", Dimension::VerticalSpeed, 1.0},
    {"feet per minute", Dimension::VerticalSpeed, 1.0 / kSecondsPerMinute},
    {"meters per second", Dimension::VerticalSpeed, kFeetPerMeter},
    {"percent", Dimension::Percent, 1.0},
    {"percent over 100", Dimension::Percent, kPercent},
    {"position", Dimension::Percent, kPercent},
};

std::string lf_upper(std::string_view TEXT)
{
    std::string s(TEXT);
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char C) { return std::toupper(C); });
    return s;
}

std::string lf_lower(std::string_view TEXT)
{
    std::string s(TEXT);
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char C) { return std::tolower(C); });
    return s;
}

const VarInfo* lf_varInfo(SimVar VAR)
{
    for (const VarInfo& v : kVars)
        if (v.var == VAR) return &v;
    return nullptr;
}

/// Bytes of a fixed-size type, 0 for the variable text, -1 for no type.
long lf_typeSize(std::uint32_t TYPE)
{
    switch (TYPE) {
    case SIMCONNECT_DATATYPE_INT32:
    case SIMCONNECT_DATATYPE_FLOAT32: return 4;
    case SIMCONNECT_DATATYPE_INT64:
    case SIMCONNECT_DATATYPE_FLOAT64:
    case SIMCONNECT_DATATYPE_STRING8: return 8;
    case SIMCONNECT_DATATYPE_STRING32: return 32;
    case SIMCONNECT_DATATYPE_STRING64: return 64;
    case SIMCONNECT_DATATYPE_STRING128: return 128;
    case SIMCONNECT_DATATYPE_STRING256: return 256;
    case SIMCONNECT_DATATYPE_STRING260: return 260;
    case SIMCONNECT_DATATYPE_STRINGV: return 0;
    default: return -1;
    }
}

bool lf_isTextType(std::uint32_t TYPE)
{
    return TYPE >= SIMCONNECT_DATATYPE_STRING8 && TYPE <= SIMCONNECT_DATATYPE_STRINGV;
}

template <typename T>
void lf_put(std::string& OUT, T VALUE)
{
    OUT.append(reinterpret_cast<const char*>(&VALUE), sizeof VALUE);
}

template <typename T>
T lf_get(const char* P)
{
    T v;
    std::memcpy(&v, P, sizeof v);
    return v;
}

} // namespace

std::optional<Datum> gf_makeDatum(std::string_view NAME, std::string_view UNITS, std::uint32_t TYPE,
                                  DatumFault& FAULT)
{
    std::string upper = lf_upper(NAME);
    int index = 0;
    if (const auto colon = upper.rfind(':'); colon != std::string::npos) {
        const char* first = upper.data() + colon + 1;
        const char* last = upper.data() + upper.size();
        if (std::from_chars(first, last, index).ec != std::errc() || index < 1) {
            FAULT = {SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 1};
            return std::nullopt;
        }
        upper.resize(colon);
    }
    const auto info = std::find_if(std::begin(kVars), std::end(kVars), [&](const VarInfo& V) { return V.name == upper; });
    if (info == std::end(kVars) || (index > 0 && info->var != SimVar::ThrottleLever) ||
        (info->var == SimVar::ThrottleLever && (index < 1 || index > static_cast<int>(kThrottles)))) {
        FAULT = {SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 1};
        return std::nullopt;
    }
    const long size = lf_typeSize(TYPE);
    if (size < 0 || lf_isTextType(TYPE) != (info->dim == Dimension::Text)) {
        FAULT = {SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE, 3};
        return std::nullopt;
    }
    Datum d{info->var, index, 1.0, TYPE, static_cast<std::size_t>(size), std::string(NAME)};
    if (info->dim != Dimension::Text && info->dim != Dimension::Plain) {
        const std::string unit = lf_lower(UNITS);
        const auto u = std::find_if(std::begin(kUnits), std::end(kUnits),
                                    [&](const UnitInfo& U) { return U.dim == info->dim && U.name == unit; });
        if (u == std::end(kUnits)) {
            FAULT = {SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 2};
            return std::nullopt;
        }
        d.unitFactor = u->factor;
    }
    return d;
}

Dimension gf_dimension(SimVar VAR) { return lf_varInfo(VAR)->dim; }
bool gf_settable(SimVar VAR) { return lf_varInfo(VAR)->settable; }

bool gf_isPositionVar(SimVar VAR)
{
    switch (VAR) {
    case SimVar::Latitude:
    case SimVar::Longitude:
    case SimVar::Pitch:
    case SimVar::Bank:
    case SimVar::Heading:
    case SimVar::Altitude: return true;
    default: return false;
    }
}

double gf_baseValue(SimVar VAR, int INDEX, const SimObject& O, const World& W)
{
    double seconds = 0;
    int day = 0, year = 0;
    switch (VAR) {
    case SimVar::SimOnGround: return gf_onGround(W, O) ? 1.0 : 0.0;
    case SimVar::Latitude: return O.latDeg * kDeg;
    case SimVar::Longitude: return O.lonDeg * kDeg;
    case SimVar::Pitch: return O.pitchRad;
    case SimVar::Bank: return O.bankRad;
    case SimVar::Heading: return O.headingRad;
    case SimVar::Altitude: return O.altFt;
    case SimVar::AltAboveGround: return gf_aglFt(W, O);
    case SimVar::GroundAltitude: return gf_groundFt(W, O.latDeg, O.lonDeg);
    case SimVar::VerticalSpeed: return O.vsFps;
    case SimVar::AirspeedTrue: return O.tasKt;
    case SimVar::GroundVelocity: return O.gsKt;
    case SimVar::ZuluTime: gf_zulu(W.simUtc, seconds, day, year); return std::floor(seconds);
    case SimVar::ZuluDayOfYear: gf_zulu(W.simUtc, seconds, day, year); return day;
    case SimVar::ZuluYear: gf_zulu(W.simUtc, seconds, day, year); return year;
    case SimVar::LightStates:
    case SimVar::LightOnStates: return static_cast<double>(O.lightStates);
    case SimVar::StaticCgToGround: return O.staticCgFt;
    case SimVar::StaticPitch: return O.staticPitchRad;
    case SimVar::SpoilersHandle: return O.spoilersPct;
    case SimVar::ThrottleLever: return O.throttlePct[static_cast<std::size_t>(std::max(INDEX, 1) - 1)];
    case SimVar::GearHandle: return O.gearDown ? 1.0 : 0.0;
    case SimVar::FlapsHandlePercent: return O.flapsPct;
    default: return 0.0;
    }
}

std::string gf_textValue(SimVar VAR, const SimObject& O)
{
    switch (VAR) {
    case SimVar::Title: return O.title;
    case SimVar::AtcModel: return O.atcModel;
    case SimVar::AtcId: return O.atcId;
    case SimVar::AtcType: return O.atcModel;
    default: return {};
    }
}

namespace {

void lf_setBase(SimVar VAR, int INDEX, double V, SimObject& O)
{
    switch (VAR) {
    case SimVar::Latitude: O.latDeg = V / kDeg; break;
    case SimVar::Longitude: O.lonDeg = V / kDeg; break;
    case SimVar::Pitch: O.pitchRad = V; break;
    case SimVar::Bank: O.bankRad = V; break;
    case SimVar::Heading: O.headingRad = V; break;
    case SimVar::Altitude: O.altFt = V; break;
    case SimVar::VerticalSpeed: O.vsFps = V; break;
    case SimVar::AirspeedTrue: O.tasKt = V; break;
    case SimVar::GroundVelocity: O.gsKt = V; break;
    case SimVar::LightStates: O.lightStates = static_cast<std::uint64_t>(V); break;
    case SimVar::SpoilersHandle: O.spoilersPct = V; break;
    case SimVar::ThrottleLever: O.throttlePct[static_cast<std::size_t>(std::max(INDEX, 1) - 1)] = V; break;
    case SimVar::GearHandle: O.gearDown = V != 0.0; break;
    case SimVar::FlapsHandlePercent: O.flapsPct = V; break;
    default: break;
    }
}

} // namespace

void gf_packData(const std::vector<Datum>& DEFINITION, const SimObject& OBJECT, const World& WORLD, std::string& OUT)
{
    for (const Datum& d : DEFINITION) {
        if (gf_dimension(d.var) == Dimension::Text) {
            std::string text = gf_textValue(d.var, OBJECT);
            if (d.size == 0) { // variable length: text, NUL, padding to a whole word
                const std::size_t padded = (text.size() + 1 + kWord - 1) / kWord * kWord;
                text.resize(padded, '\0');
                OUT += text;
            } else {
                text.resize(d.size - 1 < text.size() ? d.size - 1 : text.size());
                text.resize(d.size, '\0');
                OUT += text;
            }
            continue;
        }
        const double v = gf_baseValue(d.var, d.index, OBJECT, WORLD) / d.unitFactor;
        switch (d.type) {
        case SIMCONNECT_DATATYPE_INT32: lf_put(OUT, static_cast<std::int32_t>(v)); break;
        case SIMCONNECT_DATATYPE_INT64: lf_put(OUT, static_cast<std::int64_t>(v)); break;
        case SIMCONNECT_DATATYPE_FLOAT32: lf_put(OUT, static_cast<float>(v)); break;
        default: lf_put(OUT, v); break;
        }
    }
}

bool gf_unpackData(const std::vector<Datum>& DEFINITION, const char* BYTES, std::size_t SIZE, SimObject& OBJECT,
                   std::vector<double>* VALUES)
{
    std::size_t need = 0;
    for (const Datum& d : DEFINITION) {
        if (d.size == 0) return false; // a text of variable length cannot be written
        need += d.size;
    }
    if (need != SIZE) return false;
    const char* p = BYTES;
    for (const Datum& d : DEFINITION) {
        double v = 0;
        switch (d.type) {
        case SIMCONNECT_DATATYPE_INT32: v = lf_get<std::int32_t>(p); break;
        case SIMCONNECT_DATATYPE_INT64: v = static_cast<double>(lf_get<std::int64_t>(p)); break;
        case SIMCONNECT_DATATYPE_FLOAT32: v = lf_get<float>(p); break;
        case SIMCONNECT_DATATYPE_FLOAT64: v = lf_get<double>(p); break;
        default: break; // texts are not written
        }
        p += d.size;
        if (VALUES != nullptr) VALUES->push_back(v);
        if (gf_settable(d.var)) lf_setBase(d.var, d.index, v * d.unitFactor, OBJECT);
    }
    return true;
}

} // namespace orv::simstandin
