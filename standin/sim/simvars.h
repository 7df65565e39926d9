// The simulation variables the stand-in simulator knows, their units, and the
// packing of a data definition into the bytes of a reply (and back, for
// writes). Values inside the simulator are kept in base units: degrees for
// latitude and longitude, radians for attitude, feet, knots, feet per second.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::simstandin {

struct SimObject;
struct World;

enum class SimVar {
    Title,
    AtcModel,
    AtcId,
    AtcType,
    SimOnGround,
    Latitude,
    Longitude,
    Pitch,
    Bank,
    Heading,
    Altitude,
    AltAboveGround,
    GroundAltitude,
    VerticalSpeed,
    AirspeedTrue,
    GroundVelocity,
    ZuluTime,
    ZuluDayOfYear,
    ZuluYear,
    LightStates,
    LightOnStates,
    StaticCgToGround,
    StaticPitch,
    SpoilersHandle,
    ThrottleLever, ///< indexed: "...:1" to "...:4"
    GearHandle,
    FlapsHandlePercent,
};

/// What a value measures; a unit is accepted only for its own dimension.
enum class Dimension { Text, Angle, Length, Speed, VerticalSpeed, Percent, Plain };

/// One field of a data definition, resolved.
struct Datum {
    SimVar var;
    int index = 0;             ///< for indexed variables, 1-based
    double unitFactor = 1.0;   ///< base units per requested unit
    std::uint32_t type = 0;    ///< the client's data type number
    std::size_t size = 0;      ///< bytes; 0 for a text of variable length
    std::string name;          ///< as the client spelled it, for the recording
};

/// Why a field was refused: the index of the faulty argument of
/// AddToDataDefinition (1 name, 2 units, 3 type) and the exception number.
struct DatumFault {
    std::uint32_t exception;
    std::uint32_t argument;
};

/// Resolves NAME / UNITS / TYPE to a Datum, or says what is wrong.
std::optional<Datum> gf_makeDatum(std::string_view NAME, std::string_view UNITS, std::uint32_t TYPE,
                                  DatumFault& FAULT);

Dimension gf_dimension(SimVar VAR);
/// True for variables that a data write may change.
bool gf_settable(SimVar VAR);
/// True for the variables of an aircraft's position and attitude.
bool gf_isPositionVar(SimVar VAR);

/// Appends the reply bytes of DEFINITION for OBJECT to OUT.
void gf_packData(const std::vector<Datum>& DEFINITION, const SimObject& OBJECT, const World& WORLD,
                 std::string& OUT);

/// Applies BYTES as one unit of DEFINITION to OBJECT; false when the size does
/// not fit the definition. VALUES gets each numeric field in the client's unit.
bool gf_unpackData(const std::vector<Datum>& DEFINITION, const char* BYTES, std::size_t SIZE, SimObject& OBJECT,
                   std::vector<double>* VALUES = nullptr);

/// The value of a numeric variable in base units.
double gf_baseValue(SimVar VAR, int INDEX, const SimObject& OBJECT, const World& WORLD);
std::string gf_textValue(SimVar VAR, const SimObject& OBJECT);

} // namespace orv::simstandin
