// The reference tables' lookups that the rest of the program uses: models,
// their size category and wing span, registrations.
#pragma once

#include <cstdint>
#include <string>

namespace orv {

enum class ModelCategory : std::int32_t { Light = 0, Buzjets = 1, Large = 2, Heavy = 3, HighPerf = 4, Rotorcraft = 5 };

/// False for empty text, otherwise whether the aircraft table knows the model.
bool gf_validModel(const std::string& MODEL);
ModelCategory gf_modelCategory(const std::string& MODEL);
/// Half the wing span in nautical miles; the category's mean for a model without an entry.
double gf_halfWingspan(const std::string& MODEL);
/// The registration tables' airline, operator and type of an airframe; empty when unknown.
std::string gf_dbaseAirline(const std::string& REG);
std::string gf_dbaseOperator(const std::string& REG);
std::string gf_dbaseModel(const std::string& REG);
/// The registration tables mark the airframe as a freighter.
bool gf_dbaseCargo(const std::string& REG);

} // namespace orv
