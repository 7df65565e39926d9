// After a scan or a read of the stored catalogue: the tables of matching are
// built, and the log gets the generic and category reports. Also the daily
// matching summary.
#include "liveries/catalogue.h"
#include "liveries/liveries.h"
#include "liveries/regcodes.h"
#include "liveries/scan_driver.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"

#include <fmt/format.h>
#include <gsl/narrow>

#include <algorithm>

namespace orv {

namespace {

/// Width that gives the summary's banner 31 stars on each side of its title.
constexpr int summaryBannerWidth = 64;
constexpr std::size_t summaryFullLine = 100;

void lf_sortUnique(std::vector<std::string>& MODELS)
{
    std::sort(MODELS.begin(), MODELS.end());
    MODELS.erase(std::unique(MODELS.begin(), MODELS.end()), MODELS.end());
}

/// The user's option of a category that can be switched off, if any.
CheckBox* lf_categoryOption(ModelCategory CATEGORY)
{
    switch (CATEGORY) {
    case ModelCategory::Light: return &LIGHT_AIRCRAFT;
    case ModelCategory::HighPerf: return &HIGH_PERF_AIRCRAFT;
    case ModelCategory::Rotorcraft: return &HELICOPTERS;
    default: return nullptr;
    }
}

const char* lf_switchedOffText(ModelCategory CATEGORY)
{
    switch (CATEGORY) {
    case ModelCategory::Light: return "{} temporary switched off because you do not have light aircraft installed";
    case ModelCategory::HighPerf: return "{} temporary switched off because you do not have High Perf aircraft installed";
    default: return "{} temporary switched off because you do not have Helicopters installed";
    }
}

std::vector<std::string>* lf_modelsWithLiveries(ModelCategory CATEGORY)
{
    switch (CATEGORY) {
    case ModelCategory::Light: return &lightModelsWithLiveries;
    case ModelCategory::Buzjets: return &buzjetModelsWithLiveries;
    case ModelCategory::Rotorcraft: return &rotorcraftModelsWithLiveries;
    default: return nullptr;
    }
}

} // namespace

void lf_processScannedLiveries()
{
    if (liveriesProcessed) {
        gf_log("Processing scanned liveries skipped; already done in previous start-up");
        liveryList.clear();
        return;
    }
    gf_log("\nProcessing scanned liveries");
    liveryCount = gsl::narrow<int>(liveryList.size());
    gf_repaint();
    gf_buildCatalogue(liveryList);
    gf_splitCatalogue();
    lf_buildInlineRegcodes();
    lf_processRegcodeFiles();
    gf_log(fmt::format("{} registration codes", regcodeTitles.size()));
    gf_buildGeneric();
    gf_log(fmt::format("{} airlines, {} pax aircraft models and {} cargo aircraft models", catalogue.size(),
                       genericPax.size(), genericCargo.size()));
    gf_buildSimilar();
    lf_genericReport();
    for (int category = 0; category < modelCategoryCount; ++category)
        lf_categoryReport(static_cast<ModelCategory>(category));
    liveriesProcessed = true;
    liveryList.clear();
}

void lf_genericReport()
{
    std::vector<std::string> models;
    if (const auto generic = catalogue.find(std::string(noAirline)); generic != catalogue.end())
        for (const auto& [model, entries] : generic->second) models.push_back(model);
    if (models.empty()) {
        gf_log("No generic liveries");
        return;
    }
    lf_sortUnique(models);
    gf_log(fmt::format("{} model{} have a generic livery", models.size(), models.size() == 1 ? "" : "s"));
    for (const auto& line : gf_modelListLines(models)) gf_log(line);
}

void lf_categoryReport(ModelCategory CATEGORY)
{
    const auto name = gf_categoryText(CATEGORY);
    std::vector<std::string> models;
    std::size_t paxCount = 0, cargoCount = 0;
    for (const auto& [model, titles] : genericPax)
        if (gf_modelCategory(model) == CATEGORY) {
            models.push_back(model);
            paxCount += titles.size();
        }
    for (const auto& [model, titles] : genericCargo)
        if (gf_modelCategory(model) == CATEGORY) {
            models.push_back(model);
            cargoCount += titles.size();
        }
    auto* option = lf_categoryOption(CATEGORY);
    if (paxCount == 0 && cargoCount == 0) {
        gf_log(fmt::format("Category {}: No livery found", name));
        if (option) {
            if (option->value) {
                option->value = false;
                gf_save(*option);
                gf_log(fmt::format(fmt::runtime(lf_switchedOffText(CATEGORY)), option->name));
            }
            option->enabled = false;
            gf_repaint();
        }
        return;
    }
    std::string line = fmt::format("Category {}: {} pax liverie{}", name, paxCount, paxCount == 1 ? "" : "s");
    if (cargoCount > 0) line += fmt::format(" and {} cargo liverie{}", cargoCount, cargoCount > 1 ? "s" : "");
    gf_log(line);
    lf_sortUnique(models);
    for (const auto& row : gf_modelListLines(models)) gf_log(row);
    if (auto* withLiveries = lf_modelsWithLiveries(CATEGORY))
        withLiveries->insert(withLiveries->end(), models.begin(), models.end());
    if (option) {
        option->enabled = true;
        gf_repaint();
    }
}

void gf_writeMatchingSummary()
{
    gf_log(gf_banner(summaryBannerWidth, "live traffic livery matching summary", true));
    gf_log("Matches at step: ");
    for (std::size_t step = 0; step < matchSteps.size(); ++step) gf_log(fmt::format("  {}: {}", step + 1, matchSteps[step]));
    if (!failedCreations.empty()) {
        auto lines = failedCreations;
        lf_sortUnique(lines);
        gf_log(fmt::format("\nCould not be created by {}:", "MSFS"));
        for (const auto& line : lines) gf_log("  " + line);
    }
    gf_log(std::string(summaryFullLine, '*') + "\n");
}

} // namespace orv
