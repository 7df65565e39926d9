// The user's learned file on top of an airport's main file: where it lies,
// the parking parameters it keeps per airport (and the user's own values,
// which come back when the airport is left), hand-made stands, changed radii
// and cargo marks, and the options learned in earlier runs.
#include "parking/airport_files.h"
#include "parking/apf_parts.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "feed/feed.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

namespace orv {

namespace fs = std::filesystem;

namespace {

/// The user's values of the overridden parameters while an airport's learned file is in force.
struct UserValues {
    bool learnSoft, autoRange, parkFake, week, parkSoft, initialLoadOnly, rtParkOnly;
    int maxLive, lateralRange, percentage, maxFit;
};
std::optional<UserValues> userValues; ///< main thread

void lf_keepUserValues()
{
    if (userValues) return;
    userValues = UserValues{LEARN_SOFT.value, AUTO_RANGE.value,      PARK_FAKE.value,         WEEK.value,
                            PARK_SOFT.value,  INITIAL_LOAD_ONLY.value, RT_PARKTRAFFIC_ONLY.value, MAX_LIVE.value,
                            LATERAL_RANGE.value, parking_percentage.value, MAX_FIT.value};
}

void lf_logValue(const std::string& NAME, const std::string& VALUE) { gf_log(fmt::format("{:24}: {}", NAME, VALUE)); }

void lf_overrideBool(const ApfParameters& FILE, ParameterOf<bool>& PARAMETER)
{
    if (!FILE.has(PARAMETER.name)) return;
    PARAMETER.value = gf_apfBool(FILE.attribute(PARAMETER.name));
    lf_logValue(PARAMETER.name, PARAMETER.value ? "true" : "false");
}

void lf_overrideInt(const ApfParameters& FILE, ParameterOf<int>& PARAMETER, int ABSENT)
{
    PARAMETER.value = std::clamp(FILE.integer(PARAMETER.name, ABSENT), PARAMETER.minimum, PARAMETER.maximum);
    if (FILE.has(PARAMETER.name)) lf_logValue(PARAMETER.name, std::to_string(PARAMETER.value));
}

/// The parking settings that the user had at this airport.
void lf_applyOverrides(const ApfParameters& FILE)
{
    lf_keepUserValues();
    for (ParameterOf<bool>* flag : {&LEARN_SOFT, &PARK_FAKE, &WEEK, &PARK_SOFT, &INITIAL_LOAD_ONLY, &RT_PARKTRAFFIC_ONLY})
        lf_overrideBool(FILE, *flag);
    lf_overrideInt(FILE, MAX_LIVE, -1);
    maxLiveRequested = true;
    lf_overrideInt(FILE, parking_percentage, 30);
    if (FILE.has(LATERAL_RANGE.name)) {
        lf_overrideInt(FILE, LATERAL_RANGE, LATERAL_RANGE.value);
        gf_deriveRange();
    }
    if (FILE.has(AUTO_RANGE.name)) {
        lf_overrideBool(FILE, AUTO_RANGE);
        LATERAL_RANGE.enabled = !AUTO_RANGE.value;
        rangeRequested = true;
    }
    const std::string maxFitName = FILE.has("MAX_FIT") ? "MAX_FIT" : "MAX_FIT_WEEK";
    if (FILE.has(maxFitName)) {
        MAX_FIT.value = std::clamp(FILE.integer(maxFitName, MAX_FIT.value), MAX_FIT.minimum, MAX_FIT.maximum);
        MAX_FIT_FL.value = gf_maxFitHours(MAX_FIT.value);
        gf_log(fmt::format("{:24}: {} (max number of half hours, is {} hrs decimal)", "MAX_FIT", MAX_FIT.value,
                           MAX_FIT_FL.value));
    }
}

bool lf_unsetPosition(double LAT, double LON) { return LAT >= 0 && LAT <= 0.0009 && LON >= 0 && LON <= 0.05; }

/// A stand created by hand in the learned file.
void lf_addManualStand(const pugi::xml_node& PARKPOS, std::vector<Stand>& STANDS, const std::string& ID,
                       const fs::path& PATH, bool EXISTS)
{
    if (EXISTS) {
        gf_log(fmt::format("manually created standid {} already exists in {}", ID, PATH.string()));
        return;
    }
    Stand stand = lf_readStand(PARKPOS, true, true);
    if (stand.radius == 0 || lf_unsetPosition(stand.lat, stand.lon)) {
        gf_log(fmt::format("manually created standid {} misses correct attributes in {}", ID, PATH.string()));
        return;
    }
    stand.manual = true;
    STANDS.push_back(std::move(stand));
}

void lf_mergeStand(const pugi::xml_node& PARKPOS, Stand& STAND)
{
    if (gf_apfBool(PARKPOS.attribute("radius_change"))) {
        STAND.radius = PARKPOS.attribute("radius").as_double() * nmPerMetreOfFile;
        STAND.radiusChange = true;
    }
    if (gf_apfBool(PARKPOS.attribute("cargo_change"))) {
        STAND.cargo = gf_apfBool(PARKPOS.attribute("cargo"));
        STAND.cargoChange = true;
    }
    lf_appendOptions(PARKPOS, STAND, true, true);
}

void lf_mergeParkpositions(const pugi::xml_node& PARKPOSITIONS, std::vector<Stand>& STANDS, const fs::path& PATH)
{
    std::unordered_map<std::string, std::size_t> byName;
    for (std::size_t i = 0; i < STANDS.size(); ++i) byName.try_emplace(STANDS[i].name, i);
    for (const pugi::xml_node parkpos : PARKPOSITIONS.children("parkpos")) {
        const std::string id = parkpos.attribute("id").as_string();
        const auto at = byName.find(id);
        if (gf_apfBool(parkpos.attribute("manual"))) {
            lf_addManualStand(parkpos, STANDS, id, PATH, at != byName.end());
            if (at == byName.end() && !STANDS.empty() && STANDS.back().name == id) byName.emplace(id, STANDS.size() - 1);
        } else if (at == byName.end()) {
            gf_log(fmt::format("learned stand {} in {} not found?", id, PATH.string()));
        } else {
            lf_mergeStand(parkpos, STANDS[at->second]);
        }
    }
}

/// A learned file that could not be read whole is kept aside, so that the
/// next save, which holds only what was read, loses nothing of it.
void lf_keepAside(const fs::path& PATH, bool MOVE)
{
    fs::path aside = PATH;
    aside.replace_extension(".0.xml");
    std::error_code error;
    if (MOVE)
        fs::rename(PATH, aside, error);
    else
        fs::copy_file(PATH, aside, fs::copy_options::overwrite_existing, error);
    if (error) gf_log(fmt::format("! \"{}\" could not be kept as \"{}\": {}", PATH.string(), aside.string(), error.message()));
}

} // namespace

void lf_readLearned(const fs::path& PATH, const std::string& AIRPORT_NAME, std::vector<Stand>& STANDS, bool& HANDMADE)
{
    try {
        pugi::xml_document doc;
        if (const pugi::xml_parse_result parsed = doc.load_file(PATH.c_str()); !parsed) {
            gf_log(fmt::format("{} found, but could not be loaded, saved as *.0.xml: {}", PATH.string(),
                               parsed.description()));
            lf_keepAside(PATH, true);
            return;
        }
        gf_log(fmt::format("Read from learned airport file: \"{}\"", PATH.string()));
        const ApfParameters parameters(doc);
        if (const std::string name = parameters.text("airport_name"); name != AIRPORT_NAME)
            gf_showStatus(fmt::format("Warning: learned file airport name: \"{}\" differs from archived file airport name: \"{}\"",
                                      name, AIRPORT_NAME),
                          true);
        lf_applyOverrides(parameters);
        if (!gf_apfBool(parameters.attribute("handmade"))) {
            lf_mergeParkpositions(doc.child("parkpositions"), STANDS, PATH);
            return;
        }
        HANDMADE = true;
        STANDS.clear();
        lf_readParkpositions(doc.child("parkpositions"), STANDS, true);
        lf_logValue("handmade", "true");
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in lf_readLearned: {}", e.what()));
        lf_keepAside(PATH, false);
    }
}

fs::path lf_learnedPath(const std::string& MAIN_PATH, const std::string& PUBLISHER)
{
    const std::string separator(1, fs::path::preferred_separator);
    const std::string learned = (airportsFolderName + separator + "learned");
    std::string path = MAIN_PATH;
    if (const std::size_t at = path.find("archive"); at != std::string::npos) {
        std::string behind = path.substr(at + 7);
        std::replace(behind.begin(), behind.end(), '/', fs::path::preferred_separator);
        for (std::size_t blank; (blank = behind.find("%20")) != std::string::npos;) behind.replace(blank, 3, " ");
        return path.substr(0, at) + learned + behind;
    }
    if (!path.starts_with(airportsFolderName)) return {};
    path.replace(0, airportsFolderName.size(), learned);
    const auto replaceWord = [&path](const std::string& WORD, const std::string& BY) {
        const std::size_t at = path.find(WORD);
        if (at == std::string::npos) return false;
        path.replace(at, WORD.size(), BY);
        return true;
    };
    if (!replaceWord("my_thirdparty2024", "thirdparty" + separator + PUBLISHER))
        replaceWord("my_thirdparty", "thirdparty" + separator + PUBLISHER);
    replaceWord("my_simaddon", "simaddon");
    return path;
}

void gf_restoreUserParameters()
{
    if (!userValues) return;
    const UserValues& user = *userValues;
    LEARN_SOFT.value = user.learnSoft;
    AUTO_RANGE.value = user.autoRange;
    PARK_FAKE.value = user.parkFake;
    WEEK.value = user.week;
    PARK_SOFT.value = user.parkSoft;
    INITIAL_LOAD_ONLY.value = user.initialLoadOnly;
    RT_PARKTRAFFIC_ONLY.value = user.rtParkOnly;
    if (MAX_LIVE.value != user.maxLive) maxLiveRequested = true;
    MAX_LIVE.value = user.maxLive;
    if (LATERAL_RANGE.value != user.lateralRange || AUTO_RANGE.value != user.autoRange) rangeRequested = true;
    LATERAL_RANGE.value = user.lateralRange;
    LATERAL_RANGE.enabled = !AUTO_RANGE.value;
    parking_percentage.value = user.percentage;
    MAX_FIT.value = user.maxFit;
    MAX_FIT_FL.value = gf_maxFitHours(MAX_FIT.value);
    userValues.reset();
    gf_deriveRange();
}

} // namespace orv
