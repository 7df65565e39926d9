// Reading dbase.xml into the reference tables: each section by name, in a
// fixed order, unscrambling codes as they come.
#include "liveries/dbase.h"
#include "liveries/scramble.h"

#include "core/errors.h"
#include "core/log.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <system_error>

namespace orv {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t similarGroupsReserve = 64;
constexpr std::size_t publisherGroupsReserve = 640;
constexpr std::size_t thirdParties20Reserve = 600;

using Decrypt = std::string (*)(std::string_view);

std::string lf_noChange(std::string_view TEXT) { return std::string(TEXT); }

std::string_view lf_trim(std::string_view TEXT)
{
    constexpr std::string_view blanks = " \t\n\r";
    const auto first = TEXT.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    const auto last = TEXT.find_last_not_of(blanks);
    return TEXT.substr(first, last - first + 1);
}

/// The items of a comma-separated list, trimmed; empty items are no items.
std::vector<std::string> lf_splitList(std::string_view LIST)
{
    std::vector<std::string> items;
    while (true) {
        const auto comma = LIST.find(',');
        const auto item = lf_trim(LIST.substr(0, comma));
        if (!item.empty()) items.emplace_back(item);
        if (comma == std::string_view::npos) break;
        LIST.remove_prefix(comma + 1);
    }
    return items;
}

/// A mandatory list section: every item of every element, unscrambled.
void lf_readListSection(const pugi::xml_document& DOC, const char* SECTION, const char* ELEMENT,
                        const char* ATTRIBUTE, Decrypt DECRYPT, CodeSet& TABLE)
{
    std::set<std::string> stored;
    for (const auto element : DOC.child(SECTION).children(ELEMENT))
        for (auto& item : lf_splitList(element.attribute(ATTRIBUTE).value())) stored.insert(std::move(item));
    if (stored.empty())
        throw UserErrorException(61, fmt::format("In an xml file section {} {} {} is empty ", SECTION, ELEMENT, ATTRIBUTE));
    for (const auto& item : stored) TABLE.insert(DECRYPT(item));
}

void lf_readSimilar(const pugi::xml_document& DOC)
{
    similarGroups.reserve(similarGroupsReserve);
    for (const auto element : DOC.child("similar_types").children("similar")) {
        std::vector<std::string> group;
        for (const auto& item : lf_splitList(element.attribute("types").value())) group.push_back(gf_decryptModel(item));
        std::sort(group.begin(), group.end());
        similarGroups.push_back(std::move(group));
    }
    similarGroups.shrink_to_fit();
}

void lf_readPublishers(const pugi::xml_document& DOC, const fs::path& PATH)
{
    try {
        std::vector<std::string> texts;
        for (const auto element : DOC.child("publishers").children("pub")) texts.emplace_back(element.attribute("names").value());
        std::sort(texts.begin(), texts.end());
        texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
        publisherNames.reserve(publisherGroupsReserve);
        for (const auto& text : texts) publisherNames.push_back(lf_splitList(text));
        publisherNames.shrink_to_fit();
    } catch (const std::exception& e) {
        throw SysErrorException(299, fmt::format("exception {} in reading publishers from \"{}\"", e.what(), PATH.string()));
    }
}

void lf_computeMeans()
{
    std::array<double, modelCategoryCount> sums{};
    std::array<int, modelCategoryCount> counts{};
    double total = 0;
    for (const auto& [model, half] : wingspans) {
        const auto category = gf_categoryIndex(gf_modelCategory(model));
        sums[category] += half;
        ++counts[category];
        total += half;
    }
    // A category without a span of its own takes the mean of all spans.
    const double overall = wingspans.empty() ? 0.0 : total / static_cast<double>(wingspans.size());
    for (std::size_t c = 0; c < meanHalfWingspan.size(); ++c) meanHalfWingspan[c] = counts[c] > 0 ? sums[c] / counts[c] : overall;
}

void lf_readWingspans(const pugi::xml_document& DOC, const fs::path& PATH)
{
    try {
        for (const auto element : DOC.child("wingspans").children("wingspan")) {
            const auto model = gf_decryptModel(element.attribute("type").value());
            if (model.empty() || !allModels.contains(model)) {
                gf_log(fmt::format("wingspan model {} is no valid model, skipped", model));
                continue;
            }
            const double half = element.attribute("meters").as_double() * 0.5 * nmPerMetre;
            wingspans.emplace(model, half); // the first entry of a model stands
            maxHalfWingspan = std::max(maxHalfWingspan, half);
        }
    } catch (const std::exception& e) {
        throw SysErrorException(288, fmt::format("exception {} in reading wingspans from \"{}\"", e.what(), PATH.string()));
    }
    if (!wingspans.empty()) lf_computeMeans();
}

void lf_readFixes(const pugi::xml_document& DOC)
{
    for (const auto element : DOC.child("fixes").children("fx")) {
        const std::string wrong = element.attribute("wro").value();
        const std::string correct = element.attribute("cor").value();
        if (!gf_validModel(correct)) {
            gf_log(fmt::format("wrong fix {}->{}, the latter is not a valid model", wrong, correct));
            continue;
        }
        if (!modelFixes.emplace(wrong, correct).second)
            gf_log(fmt::format("wrong part of fix: \"{}\", already exists, skipped", wrong));
    }
    gf_log(fmt::format("   {} fixes", modelFixes.size()));
}

void lf_readThirdParties(const pugi::xml_document& DOC, const char* SECTION, const char* ELEMENT,
                         std::vector<std::pair<std::string, std::vector<std::string>>>& TABLE)
{
    for (const auto element : DOC.child(SECTION).children(ELEMENT))
        TABLE.emplace_back(element.attribute("pub").value(), lf_splitList(element.attribute("arpts").value()));
}

void lf_readRecords(const pugi::xml_document& DOC)
{
    for (const auto element : DOC.child("dbase").children("db")) {
        DbaseRecord record{gf_decryptAirl(element.attribute("airl").value()),
                           gf_decryptModel(element.attribute("type").value()),
                           gf_decryptAirl(element.attribute("opr").value()), element.attribute("cargo").as_bool()};
        const auto reg = gf_decryptRegcode(element.attribute("reg").value());
        if (!dbaseRecords.emplace(reg, std::move(record)).second) gf_log(fmt::format("regcode {} already exists", reg));
    }
}

} // namespace

bool gf_readDbaseFile(const fs::path& PATH)
{
    pugi::xml_document doc;
    const auto result = doc.load_file(PATH.c_str());
    if (!result) throw UserErrorException(60, fmt::format("\"{}\" not read because of {}", PATH.string(), result.description()));

    lf_readListSection(doc, "aircrafts", "aircraft", "types", gf_decryptModel, allModels);
    lf_readListSection(doc, "high_performance", "hpf", "types", gf_decryptModel, highPerfModels);
    lf_readListSection(doc, "heavy", "hvy", "types", gf_decryptModel, heavyModels);
    lf_readListSection(doc, "large", "lar", "types", gf_decryptModel, largeModels);
    lf_readListSection(doc, "buzjet", "bzj", "types", gf_decryptModel, buzjetModels);
    lf_readListSection(doc, "rotorcraft", "rot", "types", gf_decryptModel, rotorcraftModels);
    lf_readListSection(doc, "cargo_types", "cargo_type", "types", gf_decryptModel, cargoModels);
    lf_readSimilar(doc);
    lf_readListSection(doc, "ICAO_airlines", "ICAO", "codes", gf_decryptAirl, icaoAirlines);
    lf_readListSection(doc, "cargo_operators", "ICAO", "codes", gf_decryptAirl, cargoOperators);
    lf_readPublishers(doc, PATH);
    lf_readWingspans(doc, PATH);
    lf_readFixes(doc);
    lf_readListSection(doc, "simaddons20", "simaddon20", "arpts", lf_noChange, simAddons20);
    thirdParties20.reserve(thirdParties20Reserve);
    lf_readThirdParties(doc, "thirdparties20", "thirdpartie20", thirdParties20);
    lf_readThirdParties(doc, "thirdparties24", "thirdpartie24", thirdParties24);
    lf_readRecords(doc);
    gf_indexPrivateRegcodes();

    gf_log(fmt::format("{} dbase records read", dbaseRecords.size()));
    std::error_code ignored;
    fs::remove(PATH, ignored);
    return true;
}

} // namespace orv
