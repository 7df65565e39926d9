// Building the catalogue and its pax, cargo and generic tables from the
// sorted list of liveries. Builders only add keys that are not there yet.
#include "liveries/catalogue.h"
#include "liveries/matching.h"

#include <algorithm>
#include <tuple>

namespace orv {

std::unordered_map<std::string, ModelLiveries> catalogue;
std::unordered_map<std::string, ModelTitles> liveriesPax, liveriesCargo;
ModelTitles genericPax, genericCargo;
std::unordered_map<std::string, std::string_view> regcodeTitles;
TitleViews specialTitles;
std::vector<std::string> lightModelsWithLiveries, buzjetModelsWithLiveries, rotorcraftModelsWithLiveries;
std::array<int, 6> matchSteps{};
std::vector<std::string> failedCreations;

namespace {

constexpr std::size_t groupReserve = 128;
constexpr std::size_t genericReserve = 15000;
constexpr std::size_t specialReserve = 4096;
constexpr std::size_t lightReserve = 64;
constexpr std::size_t buzjetReserve = 128;
constexpr std::size_t rotorcraftReserve = 32;

} // namespace

void gf_reserveMatching()
{
    static bool reserved = false;
    if (reserved) return;
    reserved = true;
    specialTitles.reserve(specialReserve);
    lightModelsWithLiveries.reserve(lightReserve);
    buzjetModelsWithLiveries.reserve(buzjetReserve);
    rotorcraftModelsWithLiveries.reserve(rotorcraftReserve);
}

void gf_buildCatalogue(const std::vector<LiveryData>& LIST)
{
    std::size_t at = 0;
    while (at < LIST.size()) {
        const auto& airline = LIST[at].airline;
        ModelLiveries models;
        while (at < LIST.size() && LIST[at].airline == airline) {
            const auto& model = LIST[at].model;
            std::vector<CatalogueEntry> group;
            group.reserve(groupReserve);
            for (; at < LIST.size() && LIST[at].airline == airline && LIST[at].model == model; ++at)
                group.push_back({LIST[at].title, LIST[at].cargo});
            group.shrink_to_fit();
            models.emplace(model, std::move(group));
        }
        catalogue.emplace(airline, std::move(models));
    }
}

void gf_splitCatalogue()
{
    for (const auto& [airline, models] : catalogue) {
        ModelTitles pax, cargo;
        for (const auto& [model, entries] : models) {
            TitleViews paxTitles, cargoTitles;
            for (const auto& entry : entries) (entry.cargo ? cargoTitles : paxTitles).push_back(entry.title);
            paxTitles.shrink_to_fit();
            cargoTitles.shrink_to_fit();
            if (!paxTitles.empty()) pax.emplace(model, std::move(paxTitles));
            if (!cargoTitles.empty()) cargo.emplace(model, std::move(cargoTitles));
        }
        if (!pax.empty()) liveriesPax.emplace(airline, std::move(pax));
        if (!cargo.empty()) liveriesCargo.emplace(airline, std::move(cargo));
    }
}

void gf_buildGeneric()
{
    std::vector<std::tuple<std::string_view, std::string_view, bool>> all;
    for (const auto& [airline, models] : catalogue)
        for (const auto& [model, entries] : models)
            for (const auto& entry : entries) all.emplace_back(model, entry.title, entry.cargo);
    std::stable_sort(all.begin(), all.end(),
                     [](const auto& A, const auto& B) { return std::get<0>(A) < std::get<0>(B); });
    std::size_t at = 0;
    while (at < all.size()) {
        const auto model = std::get<0>(all[at]);
        TitleViews pax, cargo;
        pax.reserve(genericReserve);
        cargo.reserve(genericReserve);
        for (; at < all.size() && std::get<0>(all[at]) == model; ++at)
            (std::get<2>(all[at]) ? cargo : pax).push_back(std::get<1>(all[at]));
        pax.shrink_to_fit();
        cargo.shrink_to_fit();
        if (!pax.empty()) genericPax.emplace(std::string(model), std::move(pax));
        if (!cargo.empty()) genericCargo.emplace(std::string(model), std::move(cargo));
    }
}

bool gf_airlineHasModel(std::string_view AIRLINE, std::string_view MODEL)
{
    const auto airline = catalogue.find(std::string(AIRLINE));
    return airline != catalogue.end() && airline->second.contains(std::string(MODEL));
}

bool gf_modelHasLivery(std::string_view MODEL)
{
    const std::string model(MODEL);
    return genericPax.contains(model) || genericCargo.contains(model);
}

void gf_clearCatalogue()
{
    liveriesPax.clear();
    liveriesCargo.clear();
    genericPax.clear();
    genericCargo.clear();
    regcodeTitles.clear();
    specialTitles.clear();
    lightModelsWithLiveries.clear();
    buzjetModelsWithLiveries.clear();
    rotorcraftModelsWithLiveries.clear();
    gf_clearMatching(); // its index points into the catalogue
    catalogue.clear();
}

} // namespace orv
