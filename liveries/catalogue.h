// The livery catalogue built from the scanned liveries, and the tables that
// matching reads: liveries per airline and model, and per model over all
// airlines. Titles in the derived tables are views into `catalogue`, which
// therefore stays unchanged once built.
#pragma once

#include "liveries/livery_data.h"

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace orv {

struct CatalogueEntry {
    std::string title;
    bool cargo = false;
};
using ModelLiveries = std::unordered_map<std::string, std::vector<CatalogueEntry>>;
using TitleViews = std::vector<std::string_view>;
using ModelTitles = std::unordered_map<std::string, TitleViews>;

/// airline -> model -> (title, cargo); owns every title.
extern std::unordered_map<std::string, ModelLiveries> catalogue;
extern std::unordered_map<std::string, ModelTitles> liveriesPax, liveriesCargo;
/// model -> titles over all airlines.
extern ModelTitles genericPax, genericCargo;
/// registration -> title (filled by the registration-code step).
extern std::unordered_map<std::string, std::string_view> regcodeTitles;
extern TitleViews specialTitles;
extern std::vector<std::string> lightModelsWithLiveries, buzjetModelsWithLiveries, rotorcraftModelsWithLiveries;
/// Live aircraft matched at each of the six steps.
extern std::array<int, 6> matchSteps;
/// "model airline" of each title the simulator refused.
extern std::vector<std::string> failedCreations;

/// Reserves the matching vectors, once per process.
void gf_reserveMatching();

/// The list is sorted by airline, model, registration, title.
void gf_buildCatalogue(const std::vector<LiveryData>& LIST);
void gf_splitCatalogue();
void gf_buildGeneric();
bool gf_airlineHasModel(std::string_view AIRLINE, std::string_view MODEL);
bool gf_modelHasLivery(std::string_view MODEL);
/// Empties every table above (the simulator switch, tests).
void gf_clearCatalogue();

} // namespace orv
