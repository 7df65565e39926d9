// Livery matching: which installed livery comes closest to an aircraft with an
// airline, a model and perhaps a registration. The steps run from the exact
// airframe down to any paint of a look-alike model; MATCHING_DEPTH says how
// far down they may go. The tables here are built once after the livery scan
// and read on the main thread only; the random source is per thread.
#pragma once

#include "liveries/catalogue.h"
#include "liveries/dbase.h"

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace orv {

/// What a title of the catalogue is: its airline, model and cargo mark.
struct TitleInfo {
    std::string_view airline;
    std::string_view model;
    bool cargo = false;
};

/// Every title of `catalogue`, keyed by a view of the title itself, so that a
/// title is found by hashing and never by walking the catalogue.
extern std::unordered_map<std::string_view, TitleInfo> titleIndex;
/// The titles of specialTitles, for the test of each draw.
extern std::unordered_set<std::string_view> specialIndex;
/// A hash of text that finds std::string keys by a view, without a copy.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view TEXT) const { return std::hash<std::string_view>{}(TEXT); }
};

/// Titles the simulator refused in this run. They own their text: a refusal
/// must outlive a rebuild of the catalogue (the simulator switch).
extern std::vector<std::string> failedTitles;
extern std::unordered_set<std::string, TextHash, std::equal_to<>> failedIndex;
/// model -> the other models of its similar group that have a livery.
extern std::unordered_map<std::string, std::vector<std::string>> similarAvailable;
/// airline -> model it has no livery of -> similar models it does have.
extern std::unordered_map<std::string, std::unordered_map<std::string, std::vector<std::string>>> similarByAirline;
/// hexid -> the title given to that aircraft earlier in this run (owned text).
extern std::unordered_map<std::uint32_t, std::string> liveryOfHexid;

/// The aircraft as matching sees it: views of the record's own fields, and
/// the result. A record type of the engine fills one and takes the result.
struct LiveryQuery {
    std::string_view airline; ///< may be empty
    std::string_view icaoType;
    std::string_view regcode; ///< may be empty
    ModelCategory category = ModelCategory::Large;
    bool cargo = false;
    std::string_view livery; ///< the result; empty for no livery
};

/// The random source of matching on this thread.
std::mt19937& gf_matchRandom();
/// Seeds this thread's random source (tests and reproducible runs).
void gf_seedMatching(std::uint32_t SEED);
/// A random index below COUNT (COUNT >= 2): the next output modulo COUNT.
std::size_t gf_randomIndex(std::size_t COUNT);

/// The steps. Returns the step (1..6) whose try set QUERY.livery, or 0 for
/// none; a title in failedTitles counts as none. STATIC_RECORD runs the
/// airline steps (2 and 3) with an empty airline too.
int gf_matchSteps(LiveryQuery& QUERY, int DEPTH, bool STATIC_RECORD);

bool lf_matchRegcode(LiveryQuery& QUERY);
bool lf_matchAirlineModel(LiveryQuery& QUERY, std::string_view AIRLINE, std::string_view MODEL);
bool lf_matchGeneric(LiveryQuery& QUERY, std::string_view MODEL);
/// A random title of TITLES for QUERY.livery that is no special livery, if any.
void lf_pickTitle(LiveryQuery& QUERY, const TitleViews& TITLES);
/// The similar models the airline has liveries of; shuffled; valid until the next call.
const std::vector<std::string>& gf_similarOfAirline(std::string_view AIRLINE, std::string_view MODEL);
/// The similar models with liveries, or one model of the category; valid until the next call.
const std::vector<std::string>& gf_similarModels(std::string_view MODEL);

/// The title as the catalogue holds it; nullptr when it is not installed.
const TitleInfo* gf_findTitle(std::string_view TITLE);
bool gf_isSpecialTitle(std::string_view TITLE);
bool gf_isFailedTitle(std::string_view TITLE);
/// Adds a refused title (once); answers the number of refused titles.
std::size_t gf_addFailedTitle(std::string_view TITLE);
/// Appends a title to specialTitles (once).
void gf_addSpecialTitle(std::string_view TITLE);

/// Builds titleIndex from `catalogue`; the first step after the catalogue stands.
void gf_indexTitles();
/// Empties the tables of this unit that point into `catalogue` or follow it.
void gf_clearMatching();

} // namespace orv
