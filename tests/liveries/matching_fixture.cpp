// Test support for livery matching.
#include "tests/liveries/matching_fixture.h"

#include "liveries/catalogue.h"
#include "liveries/matching.h"
#include "liveries/regcodes.h"
#include "liveries/scan_driver.h"

namespace orv::test {

void gf_loadMatchingReference()
{
    gf_clearDbase();
    const std::pair<CodeSet*, std::vector<const char*>> categories[] = {
        {&largeModels, {"A319", "A320", "A321", "A20N", "B736", "B737", "B738", "B739", "B38M", "E190", "E195"}},
        {&heavyModels, {"B77W", "B77L", "B772", "A359", "A35K", "B744"}},
        {&buzjetModels, {"C25C", "CL60"}},
        {&rotorcraftModels, {"EC35", "R44"}},
        {&allModels, {"C172", "C152", "SR22", "SR20", "DA40", "PA28"}}, // Light: in no other table
    };
    for (const auto& [set, codes] : categories) {
        set->insert(codes.begin(), codes.end());
        allModels.insert(codes.begin(), codes.end());
    }
    similarGroups = {{"B736", "B737", "B738", "B739", "B38M"}, {"A319", "A320", "A321", "A20N"}, {"B772", "B77L", "B77W"},
                     {"A359", "A35K"}, {"E190", "E195"}, {"C152", "C172"}, {"SR20", "SR22"}};
    icaoAirlines = {"KLM", "KLC", "DLH", "BAW", "AFR", "EZY", "TRA", "GEC", "PVT"};
    dbaseRecords["PH-BXA"] = {"KLM", "B738", "", false};
    dbaseRecords["PH-EZA"] = {"KLM", "E190", "KLC", false};
    dbaseRecords["D-ALFA"] = {"DLH", "B77L", "GEC", true};
    dbaseRecords["N123AB"] = {"PVT", "C172", "", false};
}

void gf_buildMatchingTables(const std::vector<TestLivery>& LIVERIES)
{
    gf_clearMatchingState();
    liveryList.clear();
    for (const auto& l : LIVERIES) liveryList.push_back({l.airline, l.model, l.title, l.regcode, 1, l.cargo});
    lf_sortLiveries(liveryList);
    gf_buildCatalogue(liveryList);
    gf_splitCatalogue();
    lf_buildInlineRegcodes();
    gf_buildGeneric();
    gf_buildSimilar();
    // The category lists as the scan's report fills them: each model with a livery.
    CodeSet models;
    for (const auto* generic : {&genericPax, &genericCargo})
        for (const auto& [model, titles] : *generic) models.insert(model);
    for (auto* list : {&lightModelsWithLiveries, &buzjetModelsWithLiveries, &rotorcraftModelsWithLiveries}) list->clear();
    for (const auto& model : models) {
        switch (gf_modelCategory(model)) {
        case ModelCategory::Light: lightModelsWithLiveries.push_back(model); break;
        case ModelCategory::Buzjets: buzjetModelsWithLiveries.push_back(model); break;
        case ModelCategory::Rotorcraft: rotorcraftModelsWithLiveries.push_back(model); break;
        default: break;
        }
    }
    liveryList.clear();
}

void gf_clearMatchingState()
{
    gf_clearCatalogue();
    failedTitles.clear();
    failedIndex.clear();
    liveryOfHexid.clear();
    matchSteps.fill(0);
    failedCreations.clear();
}

} // namespace orv::test
