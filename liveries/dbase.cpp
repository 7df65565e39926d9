// The reference tables and the lookups the rest of the program makes in them.
#include "liveries/dbase.h"

#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "liveries/liveries.h"
#include "updates/downloads.h"

#include <algorithm>

namespace orv {

CodeSet allModels;
CodeSet highPerfModels, heavyModels, largeModels, buzjetModels, rotorcraftModels;
CodeSet cargoModels;
std::vector<std::vector<std::string>> similarGroups;
CodeSet icaoAirlines;
CodeSet cargoOperators;
std::vector<std::vector<std::string>> publisherNames;
std::map<std::string, double, std::less<>> wingspans;
double maxHalfWingspan = 0;
std::array<double, modelCategoryCount> meanHalfWingspan{};
std::unordered_map<std::string, std::string> modelFixes;
CodeSet simAddons20;
std::vector<std::pair<std::string, std::vector<std::string>>> thirdParties20, thirdParties24;
std::unordered_map<std::string, DbaseRecord> dbaseRecords;
std::vector<std::string> privateRegcodes;

namespace fs = std::filesystem;

namespace {

constexpr std::size_t shortRegcodeLength = 5;
constexpr std::size_t splitRegcodeLength = 5;

} // namespace

std::string_view gf_categoryText(ModelCategory CATEGORY)
{
    static constexpr std::array<std::string_view, modelCategoryCount> texts{"Light", "Buzjets", "Large",
                                                                            "Heavy", "HighPerf", "Rotorcraft"};
    const auto index = gf_categoryIndex(CATEGORY);
    return index < texts.size() ? texts[index] : "?";
}

void gf_clearDbase()
{
    for (auto* table : {&allModels, &highPerfModels, &heavyModels, &largeModels, &buzjetModels, &rotorcraftModels,
                        &cargoModels, &icaoAirlines, &cargoOperators, &simAddons20})
        table->clear();
    similarGroups.clear();
    publisherNames.clear();
    wingspans.clear();
    maxHalfWingspan = 0;
    meanHalfWingspan.fill(0);
    modelFixes.clear();
    thirdParties20.clear();
    thirdParties24.clear();
    dbaseRecords.clear();
    privateRegcodes.clear();
}

void gf_readDbase()
{
    const auto target = inputFolder / "temp2.xml";
    if (!gf_fetchDbase(target)) throw SysErrorException(23, "data base could not be read from on-line?");
    gf_readDbaseFile(target);
}

bool gf_validModel(const std::string& MODEL) { return !MODEL.empty() && allModels.contains(MODEL); }

bool gf_validAirline(const std::string& CODE) { return !CODE.empty() && icaoAirlines.contains(CODE); }

ModelCategory gf_modelCategory(const std::string& MODEL)
{
    if (largeModels.contains(MODEL)) return ModelCategory::Large;
    if (heavyModels.contains(MODEL)) return ModelCategory::Heavy;
    if (buzjetModels.contains(MODEL)) return ModelCategory::Buzjets;
    if (rotorcraftModels.contains(MODEL)) return ModelCategory::Rotorcraft;
    if (highPerfModels.contains(MODEL)) return ModelCategory::HighPerf;
    return ModelCategory::Light;
}

double gf_halfWingspan(const std::string& MODEL)
{
    const auto found = wingspans.find(MODEL);
    if (found != wingspans.end()) return found->second;
    return meanHalfWingspan[gf_categoryIndex(gf_modelCategory(MODEL))];
}

std::vector<std::string> gf_regcodeVariants(const std::string& REG)
{
    std::vector<std::string> variants;
    if (REG.size() >= splitRegcodeLength && REG.front() != 'N' && REG.find('-') == std::string::npos) {
        std::string twoLetters(REG.substr(0, 2));
        twoLetters.append("-").append(REG.substr(2));
        std::string oneLetter(REG.substr(0, 1));
        oneLetter.append("-").append(REG.substr(1));
        variants.push_back(std::move(twoLetters));
        variants.push_back(std::move(oneLetter));
    }
    variants.emplace_back(REG);
    return variants;
}

const DbaseRecord* gf_dbaseLookup(const std::string& REG)
{
    if (REG.empty()) return nullptr;
    for (const auto& variant : gf_regcodeVariants(REG)) {
        const auto found = dbaseRecords.find(variant);
        if (found != dbaseRecords.end()) return &found->second;
    }
    return nullptr;
}

std::string gf_dbaseAirline(const std::string& REG)
{
    const auto* record = gf_dbaseLookup(REG);
    return record ? record->airl : std::string();
}

std::string gf_dbaseOperator(const std::string& REG)
{
    const auto* record = gf_dbaseLookup(REG);
    return record ? record->opr : std::string();
}

std::string gf_dbaseModel(const std::string& REG)
{
    const auto* record = gf_dbaseLookup(REG);
    return record ? record->type : std::string();
}

bool gf_dbaseCargo(const std::string& REG)
{
    const auto* record = gf_dbaseLookup(REG);
    return record && record->cargo;
}

void gf_indexPrivateRegcodes()
{
    privateRegcodes.clear();
    for (const auto& [reg, record] : dbaseRecords)
        if (reg.size() < shortRegcodeLength && record.airl == privateOwner) privateRegcodes.push_back(reg);
    std::sort(privateRegcodes.begin(), privateRegcodes.end());
}

std::string gf_privateRegcodeIn(const std::string& TEXT)
{
    for (const auto& reg : privateRegcodes)
        if (!reg.empty() && TEXT.find(reg) != std::string::npos) return reg;
    return {};
}

} // namespace orv
