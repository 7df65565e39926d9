// The steps of livery matching and the draw among titles: lookups in the
// tables that the catalogue build made, a few short key copies, no walk over
// the catalogue. Runs on the main thread; the random source is per thread.
#include "liveries/matching.h"

#include <utility>

namespace orv {

std::unordered_map<std::uint32_t, std::string> liveryOfHexid;

namespace {

/// Draws of lf_pickTitle that are tested before the titles are filtered.
constexpr int pickRedraws = 5;

enum Step : int { noStep = 0, airframeStep = 1, airlineStep = 2, similarStep = 3, noAirlineStep = 4,
                  genericStep = 5, similarGenericStep = 6 };

std::mt19937 lf_seededFromDevice()
{
    std::random_device device;
    return std::mt19937(device());
}

thread_local std::mt19937 matchRandom = lf_seededFromDevice();

/// Fisher-Yates driven by the matching generator, so that a seed fixes the order.
void lf_shuffle(std::vector<std::string>& MODELS)
{
    for (std::size_t i = MODELS.size() - 1; i > 0; --i) std::swap(MODELS[i], MODELS[gf_randomIndex(i + 1)]);
}

/// A title that no draw may give: a special livery, or one the simulator refused.
bool lf_barredFromDraw(std::string_view TITLE) { return gf_isSpecialTitle(TITLE) || gf_isFailedTitle(TITLE); }

std::string_view lf_randomTitle(const TitleViews& TITLES)
{
    return TITLES.size() == 1 ? TITLES.front() : TITLES[gf_randomIndex(TITLES.size())];
}

/// Runs lf_pickTitle on TABLE[AIRLINE][MODEL] when the table holds it.
void lf_pickFrom(LiveryQuery& QUERY, const std::unordered_map<std::string, ModelTitles>& TABLE,
                 const std::string& AIRLINE, const std::string& MODEL)
{
    const auto airline = TABLE.find(AIRLINE);
    if (airline == TABLE.end()) return;
    const auto model = airline->second.find(MODEL);
    if (model != airline->second.end()) lf_pickTitle(QUERY, model->second);
}

bool lf_smallCategory(ModelCategory CATEGORY)
{
    return CATEGORY == ModelCategory::Light || CATEGORY == ModelCategory::Buzjets ||
           CATEGORY == ModelCategory::Rotorcraft;
}

/// Steps 2 and 3 for one airline: the model itself, then its similar models.
bool lf_tryAirline(LiveryQuery& QUERY, std::string_view AIRLINE, bool SIMILAR)
{
    if (!SIMILAR) return lf_matchAirlineModel(QUERY, AIRLINE, QUERY.icaoType);
    for (const auto& model : gf_similarOfAirline(AIRLINE, QUERY.icaoType))
        if (lf_matchAirlineModel(QUERY, AIRLINE, model)) return true;
    return false;
}

int lf_runSteps(LiveryQuery& QUERY, int DEPTH, bool STATIC_RECORD)
{
    const std::string_view airline = QUERY.airline, model = QUERY.icaoType;
    if (lf_matchRegcode(QUERY)) return airframeStep;
    if (DEPTH < 2) return noStep;
    if (airline == privateOwner && lf_matchAirlineModel(QUERY, noAirline, model)) return noAirlineStep;
    const std::string regcode(QUERY.regcode);
    const bool hasOperator = !regcode.empty() && !gf_dbaseOperator(regcode).empty();
    // The registration tables' airline, for an airframe flown by an operator.
    const std::string owner = hasOperator ? gf_dbaseAirline(regcode) : std::string();
    const bool withAirline = STATIC_RECORD || !airline.empty();
    for (const bool similar : {false, true}) {
        if (similar && DEPTH < 3) return noStep;
        if (!withAirline) continue;
        if (lf_tryAirline(QUERY, airline, similar)) return similar ? similarStep : airlineStep;
        if (hasOperator && lf_tryAirline(QUERY, owner, similar)) return similar ? similarStep : airlineStep;
    }
    if (DEPTH == 4 && lf_matchAirlineModel(QUERY, noAirline, model)) return noAirlineStep;
    // Airliners end here, whatever the depth: no paint of another airline.
    if (!lf_smallCategory(QUERY.category)) return noStep;
    if (airline != privateOwner && lf_matchAirlineModel(QUERY, noAirline, model)) return noAirlineStep;
    if (lf_matchGeneric(QUERY, model)) return genericStep;
    for (const auto& similarModel : gf_similarModels(model))
        if (lf_matchGeneric(QUERY, similarModel)) return similarGenericStep;
    return noStep;
}

} // namespace

std::mt19937& gf_matchRandom() { return matchRandom; }

void gf_seedMatching(std::uint32_t SEED) { matchRandom.seed(SEED); }

std::size_t gf_randomIndex(std::size_t COUNT) { return static_cast<std::size_t>(matchRandom()) % COUNT; }

int gf_matchSteps(LiveryQuery& QUERY, int DEPTH, bool STATIC_RECORD)
{
    QUERY.livery = {};
    const int step = lf_runSteps(QUERY, DEPTH, STATIC_RECORD);
    if (QUERY.livery.empty()) return noStep;
    if (gf_isFailedTitle(QUERY.livery)) {
        QUERY.livery = {};
        return noStep;
    }
    return step;
}

bool lf_matchRegcode(LiveryQuery& QUERY)
{
    if (QUERY.regcode.empty()) return false;
    for (const auto& variant : gf_regcodeVariants(std::string(QUERY.regcode))) {
        const auto found = regcodeTitles.find(variant);
        if (found == regcodeTitles.end()) continue;
        QUERY.livery = found->second;
        return true;
    }
    return false;
}

bool lf_matchAirlineModel(LiveryQuery& QUERY, std::string_view AIRLINE, std::string_view MODEL)
{
    const std::string airline(AIRLINE), model(MODEL);
    lf_pickFrom(QUERY, QUERY.cargo ? liveriesCargo : liveriesPax, airline, model);
    // A freighter without a cargo paint takes a passenger paint of its
    // airline; a passenger aircraft never takes a cargo paint.
    if (QUERY.livery.empty() && QUERY.cargo) lf_pickFrom(QUERY, liveriesPax, airline, model);
    return !QUERY.livery.empty();
}

bool lf_matchGeneric(LiveryQuery& QUERY, std::string_view MODEL)
{
    const ModelTitles& table = QUERY.cargo ? genericCargo : genericPax;
    const auto found = table.find(std::string(MODEL));
    if (found != table.end()) lf_pickTitle(QUERY, found->second);
    return !QUERY.livery.empty();
}

void lf_pickTitle(LiveryQuery& QUERY, const TitleViews& TITLES)
{
    if (TITLES.empty()) return;
    QUERY.livery = lf_randomTitle(TITLES);
    if (specialIndex.empty() && failedIndex.empty()) return;
    for (int draw = 0; draw < pickRedraws; ++draw) {
        if (!lf_barredFromDraw(QUERY.livery)) return;
        QUERY.livery = lf_randomTitle(TITLES);
    }
    // Luck ran out: draw among the titles that may be given, if any.
    TitleViews allowed;
    for (const auto title : TITLES)
        if (!lf_barredFromDraw(title)) allowed.push_back(title);
    QUERY.livery = allowed.empty() ? std::string_view() : lf_randomTitle(allowed);
}

const std::vector<std::string>& gf_similarOfAirline(std::string_view AIRLINE, std::string_view MODEL)
{
    static const std::vector<std::string> none;
    const auto airline = similarByAirline.find(std::string(AIRLINE));
    if (airline == similarByAirline.end()) return none;
    const auto model = airline->second.find(std::string(MODEL));
    if (model == airline->second.end()) return none;
    if (model->second.size() >= 2) lf_shuffle(model->second);
    return model->second;
}

const std::vector<std::string>& gf_similarModels(std::string_view MODEL)
{
    thread_local std::vector<std::string> drawn;
    const std::string model(MODEL);
    if (const auto found = similarAvailable.find(model); found != similarAvailable.end()) {
        if (found->second.size() >= 2) lf_shuffle(found->second);
        return found->second;
    }
    drawn.clear();
    const std::vector<std::string>* source = nullptr;
    switch (gf_modelCategory(model)) {
    case ModelCategory::Light: source = &lightModelsWithLiveries; break;
    case ModelCategory::Buzjets: source = &buzjetModelsWithLiveries; break;
    case ModelCategory::Rotorcraft: source = &rotorcraftModelsWithLiveries; break;
    default: break;
    }
    if (source != nullptr && !source->empty())
        drawn.push_back(source->size() == 1 ? source->front() : (*source)[gf_randomIndex(source->size())]);
    return drawn;
}

} // namespace orv
