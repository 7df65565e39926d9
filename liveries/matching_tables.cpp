// The tables of livery matching beside the catalogue: the index of titles,
// special and refused titles, and the similar models that have liveries,
// overall and per airline.
#include "liveries/matching.h"
#include "liveries/regcodes.h"

#include "core/log.h"

#include <fmt/format.h>

#include <algorithm>

namespace orv {

std::unordered_map<std::string_view, TitleInfo> titleIndex;
std::unordered_set<std::string_view> specialIndex;
std::vector<std::string> failedTitles;
std::unordered_set<std::string, TextHash, std::equal_to<>> failedIndex;
std::unordered_map<std::string, std::vector<std::string>> similarAvailable;
std::unordered_map<std::string, std::unordered_map<std::string, std::vector<std::string>>> similarByAirline;

namespace {

/// "B738,B739,B38M": a model, then the others of its group that have liveries.
std::vector<std::string> lf_similarTexts()
{
    std::vector<std::string> texts;
    for (const auto& group : similarGroups) {
        for (const auto& model : group) {
            std::string text = model;
            for (const auto& other : group)
                if (other != model && gf_modelHasLivery(other)) text.append(",").append(other);
            if (text.find(',') != std::string::npos) texts.push_back(std::move(text));
        }
    }
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    return texts;
}

void lf_fillSimilarAvailable()
{
    for (const auto& text : lf_similarTexts()) {
        std::vector<std::string> items;
        std::size_t from = 0;
        for (std::size_t comma = text.find(','); comma != std::string::npos; comma = text.find(',', from)) {
            items.push_back(text.substr(from, comma - from));
            from = comma + 1;
        }
        items.push_back(text.substr(from));
        std::string key = std::move(items.front());
        items.erase(items.begin());
        // A model of two groups: the first text in sort order stands.
        similarAvailable.emplace(std::move(key), std::move(items));
    }
}

void lf_fillSimilarByAirline()
{
    for (const auto& [airline, models] : catalogue) {
        for (const auto& [model, similar] : similarAvailable) {
            if (models.contains(model)) continue;
            std::vector<std::string> owned;
            for (const auto& other : similar)
                if (models.contains(other)) owned.push_back(other);
            if (!owned.empty()) similarByAirline[airline].emplace(model, std::move(owned));
        }
    }
}

} // namespace

void gf_indexTitles()
{
    titleIndex.clear();
    std::size_t count = 0;
    for (const auto& [airline, models] : catalogue)
        for (const auto& [model, entries] : models) count += entries.size();
    titleIndex.reserve(count);
    for (const auto& [airline, models] : catalogue)
        for (const auto& [model, entries] : models)
            for (const auto& entry : entries) titleIndex.emplace(entry.title, TitleInfo{airline, model, entry.cargo});
    specialIndex.clear();
    for (const auto title : specialTitles) specialIndex.insert(title);
}

const TitleInfo* gf_findTitle(std::string_view TITLE)
{
    const auto found = titleIndex.find(TITLE);
    return found == titleIndex.end() ? nullptr : &found->second;
}

bool gf_isSpecialTitle(std::string_view TITLE) { return specialIndex.contains(TITLE); }

bool gf_isFailedTitle(std::string_view TITLE) { return !failedIndex.empty() && failedIndex.contains(TITLE); }

std::size_t gf_addFailedTitle(std::string_view TITLE)
{
    if (failedIndex.emplace(std::string(TITLE)).second) failedTitles.emplace_back(TITLE);
    return failedTitles.size();
}

void gf_addSpecialTitle(std::string_view TITLE)
{
    const auto found = titleIndex.find(TITLE);
    if (found == titleIndex.end()) return;
    // The catalogue's own view: the caller's text may not live as long.
    if (specialIndex.insert(found->first).second) specialTitles.push_back(found->first);
}

void gf_buildSimilar()
{
    lf_fillSimilarAvailable();
    lf_fillSimilarByAirline();
    gf_log(fmt::format("{} similar model definitions", similarAvailable.size()));
}

void gf_clearMatching()
{
    titleIndex.clear();
    specialIndex.clear();
    similarAvailable.clear();
    similarByAirline.clear();
}

} // namespace orv
