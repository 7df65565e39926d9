// The reference database: models, categories, airlines, wing spans, model
// fixes, add-on names and the registrations of known airframes, read once per
// process from dbase.xml and read-only afterwards (no lock needed).
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace orv {

/// Size category of a model, in this order; the names are the report texts.
enum class ModelCategory : std::int32_t { Light = 0, Buzjets = 1, Large = 2, Heavy = 3, HighPerf = 4, Rotorcraft = 5 };
inline constexpr int modelCategoryCount = 6;
inline constexpr std::size_t gf_categoryIndex(ModelCategory CATEGORY) { return static_cast<std::size_t>(CATEGORY); }
/// "Light", "Buzjets", "Large", "Heavy", "HighPerf", "Rotorcraft".
std::string_view gf_categoryText(ModelCategory CATEGORY);

/// The reserved words of the livery vocabulary.
inline constexpr std::string_view noAirline = "ZZZ";
inline constexpr std::string_view unknownModel = "ZZZZ";
inline constexpr std::string_view privateOwner = "PVT";

/// One airframe known to the maker.
struct DbaseRecord {
    std::string airl;
    std::string type;
    std::string opr;
    bool cargo = false;
};

/// Nautical miles in one metre.
inline constexpr double nmPerMetre = 0.0005399568034557236;

using CodeSet = std::set<std::string, std::less<>>;

extern CodeSet allModels;
extern CodeSet highPerfModels, heavyModels, largeModels, buzjetModels, rotorcraftModels;
extern CodeSet cargoModels;                                  ///< kept for completeness; nothing consults it
extern std::vector<std::vector<std::string>> similarGroups;  ///< each group sorted
extern CodeSet icaoAirlines;
extern CodeSet cargoOperators;                               ///< kept for completeness; nothing consults it
extern std::vector<std::vector<std::string>> publisherNames; ///< name first, then its aliases
/// Half the wing span in nautical miles, per model.
extern std::map<std::string, double, std::less<>> wingspans;
extern double maxHalfWingspan; ///< nautical miles
/// Nautical miles, by category. A category without any span of its own takes
/// the mean of all spans, so that no model answers 0 once spans are read.
extern std::array<double, modelCategoryCount> meanHalfWingspan;
extern std::unordered_map<std::string, std::string> modelFixes; ///< wrong code to correct code
extern CodeSet simAddons20;
extern std::vector<std::pair<std::string, std::vector<std::string>>> thirdParties20, thirdParties24;
extern std::unordered_map<std::string, DbaseRecord> dbaseRecords; ///< by registration

/// The read itself, from a file already on disk (deleted after a good read).
/// Throws UserErrorException 60 for bad XML and 61 for an empty mandatory section.
bool gf_readDbaseFile(const std::filesystem::path& PATH);
/// Empties every table (tests).
void gf_clearDbase();

/// False for empty text, otherwise whether the aircraft table knows the model.
bool gf_validModel(const std::string& MODEL);
bool gf_validAirline(const std::string& CODE);
/// Large, Heavy, Buzjets, Rotorcraft, HighPerf tested in this order; else Light.
ModelCategory gf_modelCategory(const std::string& MODEL);
/// Half the wing span in nautical miles; the category's mean for a model without an entry.
double gf_halfWingspan(const std::string& MODEL);
/// The forms under which a registration is looked up, best first.
std::vector<std::string> gf_regcodeVariants(const std::string& REG);
/// The record of the first variant of REG that has one; nullptr for none.
const DbaseRecord* gf_dbaseLookup(const std::string& REG);
/// The registration tables' airline, operator and type of an airframe; empty when unknown.
std::string gf_dbaseAirline(const std::string& REG);
std::string gf_dbaseOperator(const std::string& REG);
std::string gf_dbaseModel(const std::string& REG);
/// The registration tables mark the airframe as a freighter.
bool gf_dbaseCargo(const std::string& REG);
/// The first private registration (shorter than 5 characters) found in TEXT,
/// in ascending order of the registrations.
std::string gf_privateRegcodeIn(const std::string& TEXT);
/// Collects the short private registrations once after reading, so that the
/// title test of each livery does not walk every record.
void gf_indexPrivateRegcodes();
extern std::vector<std::string> privateRegcodes; ///< ascending

/// The callsign test: three capital letters and a digit give the airline.
template <typename RECORD>
bool gf_airlineFromCallsign(RECORD& REC)
{
    const std::string& callsign = REC.callsign;
    if (callsign.size() < 4) return false;
    for (int i = 0; i < 3; ++i)
        if (callsign[i] < 'A' || callsign[i] > 'Z') return false;
    if (callsign[3] < '0' || callsign[3] > '9') return false;
    REC.airline = callsign.substr(0, 3);
    return true;
}

} // namespace orv
