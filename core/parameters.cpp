// The settings' definitions and the file parameters.xml.
#include "core/parameters.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/text_files.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdlib>
#include <mutex>
#include <regex>
#include <tuple>
#include <type_traits>

namespace orv {

CheckBox MSFS_2020("MSFS_2020", true, "Install path:");
TextParameter MSFS_INSTALL_PATH("MSFS_INSTALL_PATH", "");
TextParameter MSFS_2024_INSTALL_PATH("MSFS_2024_INSTALL_PATH", "");
TextBox ALL_INSTALL_PATH("ALL_INSTALL_PATH", "", "");
TextParameter PROGRAM_INSTALL_PATH("PROGRAM_INSTALL_PATH", "");
TextParameter PROGRAM_VERSION("PROGRAM_VERSION", "");
TextParameter MYSIMADDON24_VERSION("MYSIMADDON24_VERSION", "");
CheckBox SCAN_LIVERIES("SCAN_LIVERIES", true, "Scan for liveries");
CheckBox LIG_AUTOMATIC("LIG_AUTOMATIC", true, "Automatic, selector:");
IntBox AI_PACKAGE_ORDER("AI_PACKAGE_ORDER", 1, 1, 6, "");
CheckBox LIG_PRIORITIZE("LIG_PRIORITIZE", false, "Prioritize");
CheckBox SUPPRESS_STUB("SUPPRESS_STUB", true, "Stub");
TextParameter lfolder[10] = {{"lfolder0", ""}, {"lfolder1", ""}, {"lfolder2", ""}, {"lfolder3", ""},
                             {"lfolder4", ""}, {"lfolder5", ""}, {"lfolder6", ""}, {"lfolder7", ""},
                             {"lfolder8", ""}, {"lfolder9", ""}};
CheckBox SCAN_AIRPORTS("SCAN_AIRPORTS", true, "Scan for addon airports");
CheckBox LOG("LOG", true, "Log");
CheckBox ALWAYS_ON_TOP("ALWAYS_ON_TOP", false, "Stay on top");
CheckBox NAV_LIGHTS_WHILE_PARKED("NAV_LIGHTS_WHILE_PARKED", true, "Nav lights");
CheckBox LEARN_SOFT("LEARN_SOFT", true, "Learn Soft");
IntBox MATCHING_DEPTH("MATCHING_DEPTH", 4, 1, 4, "Max aircraft matching depth");
CheckBox LIGHT_AIRCRAFT("LIGHT_AIRCRAFT", true, "Light aircraft");
CheckBox HELICOPTERS("HELICOPTERS", true, "Helicopters");
CheckBox HIGH_PERF_AIRCRAFT("HIGH_PERF_AIRCRAFT", true, "FighterJets");
CheckBox GUID_CHANGES("GUID_CHANGES", true, "GUID changes");
CheckBox CALLSIGN_OBJECTIDS("CALLSIGN_OBJECTIDS", false, "objectids");
IntBox LATERAL_RANGE("LATERAL_RANGE", 40, 2, 100, "radius:");
CheckBox AUTO_RANGE("AUTO_RANGE", true, "auto range");
IntBox AUTO_RANGE_ABOVE_HEIGHT("AUTO_RANGE_ABOVE_HEIGHT", 49000, 18000, 49000, "ah:");
TextBox CALLSIGN_2_OBJECTID("CALLSIGN_2_OBJECTID", "", "oid:");
TextBox BLOCK_CALLSIGN("BLOCK_CALLSIGN", "", "block:");
CheckBox COLLISION_USER_GND("COLLISION_USER_GND", true, "User ground");
CheckBox COLLISION_USER_AIR("COLLISION_USER_AIR", true, "User air");
CheckBox COLLISION_LIVE_PARKED_GND("COLLISION_LIVE_PARKED_GND", false, "Live X parked");
IntBox CUSTOM_MAX_PARK("CUSTOM_MAX_PARK", -1, -1, 500, "generic max park:");
IntBox MAX_LIVE("MAX_LIVE", -1, -1, 300, "max live:");
CheckBox STRAIGHT_PBS_ONLY("STRAIGHT_PBS_ONLY", false, "Straight push backs only");
TextBox DESTINATION("DESTINATION", "", "destination:");
IntBox AIRPORT_RANGE("AIRPORT_RANGE", 20, 8, 30, "range:");
IntBox AIRPORT_HEIGHT("AIRPORT_HEIGHT", 18000, 2000, 45000, "height above gnd:");
CheckBox PARK_FAKE("PARK_FAKE", false, "Fake");
CheckBox WEEK("WEEK", false, "Week");
CheckBox PARK_SOFT("PARK_SOFT", true, "Soft");
IntBox parking_percentage("parking_percentage", 30, 0, 100, "wanted: ");
IntParameter CUSTOM_PARKING_PERCENTAGE("CUSTOM_PARKING_PERCENTAGE", -1, -1, 100);
CheckBox INITIAL_LOAD_ONLY("INITIAL_LOAD_ONLY", false, "ILO");
FloatBox MAX_FIT_FL("MAX_FIT_FL", 24.0f, 0.5f, 24.0f, "Max fit:");
IntParameter MAX_FIT("MAX_FIT", 47, 0, 47);
CheckBox RT_PARKTRAFFIC_ONLY("RT_PARKTRAFFIC_ONLY", false, "PT only");
IntBox TIME_SHIFT_DAYS("TIME_SHIFT_DAYS", 0, 0, 28, "day{}");
IntBox TIME_SHIFT_HOURS("TIME_SHIFT_HOURS", 0, 0, 23, "hour{}");
IntBox TIME_SHIFT_MINS("TIME_SHIFT_MINS", 0, 0, 59, "minute{}");
CheckBox SIM_TIME("SIM_TIME", false, "Sim Time");
CheckBox KEEP_SIM_TIME_PAR("KEEP_SIM_TIME_PAR", false, "Save");
IntParameter MAIN_WINDOW_X("MAIN_WINDOW_X", 400, -30000, 30000);
IntParameter MAIN_WINDOW_Y("MAIN_WINDOW_Y", 20, -30000, 30000);
IntParameter WINDOW_PORT("WINDOW_PORT", 18600, 0, 65535);
IntParameter HEADLESS_WAIT_SECONDS("HEADLESS_WAIT_SECONDS", 60, 0, 3600);
IntParameter LAST_EPOCH_TIME("LAST_EPOCH_TIME", 0, 0, 2147483647);
IntParameter HOLDING_THRESHOLD_METERS("HOLDING_THRESHOLD_METERS", 250, 10, 4000);
IntParameter MAX_HOLDING_MINUTES("MAX_HOLDING_MINUTES", 20, 1, 60);
TextParameter RT_API_URL("RT_API_URL", "https://rtw.flyrealtraffic.com");
TextParameter RT_LICENSE("RT_LICENSE", "");
TextParameter DOWNLOAD_URL("DOWNLOAD_URL", "https://downloads.tavo-traffic.net/downloads/");
Button UNBLOCK_BUTTON("Unblock"), REREAD_BUTTON("Re-read"), FLUSH_STATIC_BUTTON("Flush static");

std::atomic<std::int64_t> parameterWrites{0};

namespace {

/// gf_save loads and writes the whole file: two saves must never overlap.
/// Only textMutex and logMutex are taken while holding it.
std::mutex saveMutex;
/// Every text value read or written with gf_textOf / gf_setText. A leaf lock.
std::mutex textMutex;

std::string lf_text(bool VALUE) { return VALUE ? "true" : "false"; }
std::string lf_text(int VALUE) { return std::to_string(VALUE); }

/// A parameter's value as stored; a text is copied under its lock.
std::string lf_valueText(const BoolParameter& P) { return lf_text(P.value); }
std::string lf_valueText(const IntParameter& P) { return lf_text(P.value); }
std::string lf_valueText(const TextParameter& P) { return gf_textOf(P); }

std::string lf_query(const std::string& NAME) { return "/parameters/parameter[@name='" + NAME + "']"; }

/// The file loads and has its root.
bool lf_loadParameters(pugi::xml_document& DOCUMENT, const std::filesystem::path& PATH)
{
    return DOCUMENT.load_file(PATH.c_str()) && DOCUMENT.child("parameters");
}

/// "2026-11-25 00:14 UTC": when a file was last written.
std::string lf_writtenAt(const std::filesystem::path& PATH)
{
    std::error_code failed;
    const auto written = std::filesystem::last_write_time(PATH, failed);
    if (failed) return "an unknown time";
    const auto seconds = std::chrono::floor<std::chrono::seconds>(std::chrono::file_clock::to_sys(written));
    const std::time_t t = std::chrono::system_clock::to_time_t(seconds);
    std::tm parts{};
    gmtime_r(&t, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", &parts);
    return text;
}

/// A file that cannot be read is moved aside rather than overwritten: what
/// it held may still be wanted by the user. Each damaged file keeps a name
/// of its own, so a second damage never replaces the first one kept.
/// Answers the name it is kept under; empty when it could not be kept.
std::string lf_keepDamaged(const std::filesystem::path& PATH)
{
    std::error_code failed;
    if (!std::filesystem::exists(PATH, failed)) return {};
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &parts);
    std::filesystem::path aside = PATH.parent_path() / fmt::format("parameters.damaged-{}.xml", stamp);
    for (int n = 2; std::filesystem::exists(aside, failed); ++n)
        aside = PATH.parent_path() / fmt::format("parameters.damaged-{}-{}.xml", stamp, n);
    std::filesystem::rename(PATH, aside, failed);
    if (failed) {
        gf_logWarning(fmt::format("{} unreadable and not kept: {}", PATH.string(), failed.message()));
        return {};
    }
    return aside.filename().string();
}

/// Writes the document as parameters.xml and as its last good copy, both
/// whole or not at all.
bool lf_writeParameters(const pugi::xml_document& DOCUMENT, const std::filesystem::path& PATH)
{
    ++parameterWrites;
    if (!gf_writeXmlFile(DOCUMENT, PATH)) return false;
    // The spare copy is not forced to the disk: parameters.xml is, and the
    // copy is only read when parameters.xml was damaged from outside.
    if (!gf_writeXmlFile(DOCUMENT, gf_goodCopyPath(), false)) gf_logWarning("the good copy of parameters.xml not saved");
    return true;
}

/// lf_writeParameters with the outcome in the log.
void lf_writeLogged(const pugi::xml_document& DOCUMENT, const std::filesystem::path& PATH)
{
    if (lf_writeParameters(DOCUMENT, PATH))
        gf_log(fmt::format("\"{}\" saved", PATH.string()));
    else
        gf_log(fmt::format("could not save to \"{}\"", PATH.string()));
}

/// A warning the user must see: logged, on stderr and on the message line.
void lf_tellUser(const std::string& TEXT)
{
    gf_logWarning(TEXT);
    gf_showStatus(TEXT, false);
}

void lf_take(BoolParameter& P, const char* VALUE) { P.value = gf_readBool(VALUE); }
void lf_take(TextParameter& P, const char* VALUE) { gf_setText(P, VALUE); }
void lf_take(IntParameter& P, const char* VALUE) { P.value = gf_readInt(VALUE, P.minimum, P.maximum); }

/// An integer that does not read as one keeps the value it had: the one of
/// the last good copy when that reads, else the value in memory. Answers
/// whether the file must be corrected.
bool lf_take(IntParameter& P, const char* VALUE, const pugi::xml_document& GOOD)
{
    if (const auto value = gf_parseInt(VALUE)) {
        P.value = std::clamp(*value, P.minimum, P.maximum);
        return false;
    }
    const char* kept = GOOD.select_node(lf_query(P.name).c_str()).node().attribute("value").as_string();
    if (const auto value = gf_parseInt(kept)) P.value = std::clamp(*value, P.minimum, P.maximum);
    lf_tellUser(fmt::format("{} in parameters.xml: \"{}\" is no number, {} is kept", P.name, VALUE, P.value));
    return true;
}

template <typename T>
void lf_addEntry(pugi::xml_node ROOT, const ParameterOf<T>& P)
{
    const std::string value = lf_valueText(P);
    pugi::xml_node entry = ROOT.append_child("parameter");
    const bool added = entry && entry.append_attribute("name").set_value(P.name.c_str()) &&
                       entry.append_attribute("value").set_value(value.c_str());
    if (!added) gf_log(fmt::format("{}adding init xml parameter {} with {} failed!", "===> ", P.name, value));
}

bool lf_isFolderEntry(const std::string& NAME) { return NAME.starts_with("lfolder"); }

/// Every parameter of every list, by kind, as a visitor over the lists.
template <typename F>
void lf_forEach(const ParameterLists& LISTS, F&& VISIT)
{
    for (auto* p : LISTS.bools) VISIT(*p);
    for (auto* p : LISTS.checkBoxes) VISIT(static_cast<BoolParameter&>(*p));
    for (auto* p : LISTS.ints) VISIT(*p);
    for (auto* p : LISTS.intBoxes) VISIT(static_cast<IntParameter&>(*p));
    for (auto* p : LISTS.texts) VISIT(*p);
    for (auto* p : LISTS.textBoxes) VISIT(static_cast<TextParameter&>(*p));
}

/// Every parameter with its value in memory; a folder entry only when set.
void lf_addAll(pugi::xml_node ROOT, const ParameterLists& LISTS, bool LOG_EACH)
{
    lf_forEach(LISTS, [&](auto& P) {
        if (lf_isFolderEntry(P.name) && lf_valueText(P).empty()) return;
        lf_addEntry(ROOT, P);
        if (LOG_EACH) gf_log(fmt::format("{}={}", P.name, lf_valueText(P)));
    });
}

void lf_writeDefaults(const ParameterLists& LISTS, const std::filesystem::path& PATH)
{
    PROGRAM_VERSION.value = std::string(programVersionText);
    pugi::xml_document document;
    lf_addAll(document.append_child("parameters"), LISTS, true);
    lf_writeLogged(document, PATH);
}

template <typename T>
void lf_saveValue(const ParameterOf<T>& PARAMETER)
{
    const std::string text = lf_valueText(PARAMETER);
    std::lock_guard lock(saveMutex);
    const auto path = gf_parametersPath();
    pugi::xml_document document;
    const bool loaded = lf_loadParameters(document, path);
    if (!loaded) {
        // Never a file of one parameter: without a readable file the whole
        // set in memory, which is newer than any copy, is written.
        if (const std::string aside = lf_keepDamaged(path); !aside.empty())
            lf_tellUser(fmt::format("parameters.xml is damaged; the values in use are saved anew; the damaged file "
                                    "is kept as {}", aside));
        document.reset();
        lf_addAll(document.append_child("parameters"), gf_parameterLists(), false);
    }
    pugi::xml_node entry = document.select_node(lf_query(PARAMETER.name).c_str()).node();
    if (!entry) {
        entry = document.child("parameters").append_child("parameter");
        entry.append_attribute("name") = PARAMETER.name.c_str();
    }
    pugi::xml_attribute value = entry.attribute("value");
    gf_log(fmt::format("{}={}", PARAMETER.name, text));
    // A value the file already holds is not written again: each write is a
    // moment in which a crash or a full disk could cost the file.
    if (loaded && value && text == value.as_string()) return;
    if (!value) value = entry.append_attribute("value");
    value = text.c_str();
    if (!lf_writeParameters(document, path)) gf_log("saving xml did not work?");
}

/// Reads every parameter out of DOCUMENT; writes the file only when it
/// changed (or must be written anyway, CHANGED).
void lf_readExisting(const ParameterLists& LISTS, pugi::xml_document& DOCUMENT, const std::filesystem::path& PATH,
                     bool CHANGED)
{
    gf_log(fmt::format("from \"{}\"", PATH.string()));
    pugi::xml_node root = DOCUMENT.child("parameters");
    pugi::xml_document good;
    bool goodLoaded = false;
    lf_forEach(LISTS, [&](auto& P) {
        pugi::xml_node entry = DOCUMENT.select_node(lf_query(P.name).c_str()).node();
        if (lf_isFolderEntry(P.name)) {
            if (!entry) return;
            lf_take(P, entry.attribute("value").as_string());
            if (lf_valueText(P).empty()) {
                root.remove_child(entry);
                gf_log("Parameter " + P.name + " removed");
                CHANGED = true;
            }
            return;
        }
        if (!entry) {
            lf_addEntry(root, P);
            CHANGED = true;
            return;
        }
        if constexpr (std::is_same_v<std::decay_t<decltype(P)>, IntParameter>) {
            if (!gf_parseInt(entry.attribute("value").as_string()) && !goodLoaded) {
                goodLoaded = true;
                lf_loadParameters(good, gf_goodCopyPath());
            }
            if (lf_take(P, entry.attribute("value").as_string(), good)) {
                entry.attribute("value").set_value(lf_valueText(P).c_str());
                CHANGED = true;
            }
        } else {
            lf_take(P, entry.attribute("value").as_string());
        }
        gf_log(fmt::format("{}={}", P.name, lf_valueText(P)));
    });
    if (CHANGED) lf_writeLogged(DOCUMENT, PATH);
}

/// parameters.xml is there but cannot be read: it is kept aside, and the
/// last good copy takes its place when there is one.
void lf_readDamaged(const ParameterLists& LISTS, const std::filesystem::path& PATH)
{
    const std::string aside = lf_keepDamaged(PATH);
    const std::string kept = aside.empty() ? std::string("not kept") : "kept as " + aside;
    pugi::xml_document good;
    if (lf_loadParameters(good, gf_goodCopyPath())) {
        lf_tellUser(fmt::format("parameters.xml is damaged; the last good copy from {} is used; the damaged file is {}",
                                lf_writtenAt(gf_goodCopyPath()), kept));
        lf_readExisting(LISTS, good, PATH, true);
        return;
    }
    lf_tellUser(fmt::format("parameters.xml is damaged and no good copy is left; default values are used; the "
                            "damaged file is {}",
                            kept));
    lf_writeDefaults(LISTS, PATH);
}

} // namespace

ParameterLists gf_parameterLists()
{
    ParameterLists lists;
    lists.bools = {};
    lists.checkBoxes = {&MSFS_2020, &SCAN_LIVERIES, &LIG_AUTOMATIC, &LIG_PRIORITIZE, &SUPPRESS_STUB,
                        &SCAN_AIRPORTS, &LOG, &ALWAYS_ON_TOP, &NAV_LIGHTS_WHILE_PARKED, &LEARN_SOFT,
                        &LIGHT_AIRCRAFT, &HELICOPTERS, &HIGH_PERF_AIRCRAFT, &GUID_CHANGES, &CALLSIGN_OBJECTIDS,
                        &AUTO_RANGE, &COLLISION_USER_GND, &COLLISION_USER_AIR, &COLLISION_LIVE_PARKED_GND,
                        &STRAIGHT_PBS_ONLY, &PARK_FAKE, &WEEK, &PARK_SOFT, &INITIAL_LOAD_ONLY,
                        &RT_PARKTRAFFIC_ONLY, &SIM_TIME, &KEEP_SIM_TIME_PAR};
    lists.ints = {&CUSTOM_PARKING_PERCENTAGE, &MAX_FIT, &MAIN_WINDOW_X, &MAIN_WINDOW_Y, &WINDOW_PORT,
                  &HEADLESS_WAIT_SECONDS, &LAST_EPOCH_TIME, &HOLDING_THRESHOLD_METERS, &MAX_HOLDING_MINUTES};
    lists.intBoxes = {&AI_PACKAGE_ORDER, &MATCHING_DEPTH, &LATERAL_RANGE, &AUTO_RANGE_ABOVE_HEIGHT,
                      &CUSTOM_MAX_PARK, &MAX_LIVE, &AIRPORT_RANGE, &AIRPORT_HEIGHT,
                      &TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS};
    lists.texts = {&MSFS_INSTALL_PATH, &MSFS_2024_INSTALL_PATH, &PROGRAM_INSTALL_PATH, &PROGRAM_VERSION,
                   &MYSIMADDON24_VERSION, &RT_API_URL, &RT_LICENSE, &DOWNLOAD_URL};
    for (auto& folder : lfolder) lists.texts.push_back(&folder);
    lists.textBoxes = {&BLOCK_CALLSIGN, &DESTINATION};
    return lists;
}

std::filesystem::path gf_parametersPath() { return userFolder / "parameters.xml"; }
std::filesystem::path gf_goodCopyPath() { return userFolder / "parameters.good.xml"; }

std::optional<int> gf_parseInt(const char* VALUE)
{
    if (VALUE == nullptr) return std::nullopt;
    const char* at = VALUE;
    while (*at == ' ' || *at == '\t') ++at;
    if (*at == '+' || *at == '-') ++at;
    if (*at < '0' || *at > '9') return std::nullopt;
    return std::atoi(VALUE);
}

bool gf_readBool(const char* VALUE)
{
    if (VALUE == nullptr) return false;
    switch (VALUE[0]) {
    case '1': case 't': case 'T': case 'y': case 'Y': return true;
    default: return false;
    }
}

int gf_readInt(const char* VALUE, int MINIMUM, int MAXIMUM)
{
    const int value = VALUE == nullptr ? 0 : std::atoi(VALUE);
    return std::clamp(value, MINIMUM, MAXIMUM);
}

void lf_readParameters(const ParameterLists& LISTS)
{
    gf_log(gf_banner(70, "parameters", true));
    const auto path = gf_parametersPath();
    pugi::xml_document document;
    {
        std::lock_guard lock(saveMutex);
        std::error_code failed;
        if (lf_loadParameters(document, path)) {
            lf_readExisting(LISTS, document, path, false);
        } else if (std::filesystem::exists(path, failed)) {
            lf_readDamaged(LISTS, path);
        } else {
            gf_log(path.string() + " not found, default values taken:");
            lf_writeDefaults(LISTS, path);
        }
    }
    MAX_FIT_FL.value = gf_maxFitHours(MAX_FIT.value);
    lf_versionUpdate();
}

void lf_versionUpdate()
{
    const std::string running(programVersionText);
    if (PROGRAM_VERSION.value.empty()) {
        PROGRAM_VERSION.value = running;
        gf_save(PROGRAM_VERSION);
        return;
    }
    static const std::regex pattern(R"((\d+).(\d+).(\d+))");
    std::smatch parts;
    std::tuple<int, int, int> old{0, 0, 0};
    if (std::regex_search(PROGRAM_VERSION.value, parts, pattern))
        old = {std::stoi(parts[1]), std::stoi(parts[2]), std::stoi(parts[3])};
    const std::tuple<int, int, int> now{versionMajor, versionMinor, versionPatch};
    if (old == now) return;
    const std::string before = PROGRAM_VERSION.value;
    PROGRAM_VERSION.value = running;
    gf_save(PROGRAM_VERSION);
    if (now < old) return;
    gf_log(fmt::format("This is a version update from {} -> {}", before, running));
    std::error_code ignored;
    std::filesystem::remove("install_new_version.exe", ignored);
    SCAN_LIVERIES.value = true;
    SCAN_AIRPORTS.value = true;
    gf_save(SCAN_LIVERIES);
    gf_save(SCAN_AIRPORTS);
}

void gf_save(const BoolParameter& PARAMETER) { lf_saveValue(PARAMETER); }
void gf_save(const IntParameter& PARAMETER) { lf_saveValue(PARAMETER); }
void gf_save(const TextParameter& PARAMETER) { lf_saveValue(PARAMETER); }

void gf_saveClamped(IntParameter& PARAMETER)
{
    PARAMETER.value = std::clamp(PARAMETER.value, PARAMETER.minimum, PARAMETER.maximum);
    gf_save(PARAMETER);
}

int gf_readEarly(IntParameter& PARAMETER)
{
    pugi::xml_document document;
    int value = PARAMETER.defaultValue;
    if (document.load_file(gf_parametersPath().c_str())) {
        auto entry = document.select_node(lf_query(PARAMETER.name).c_str()).node();
        if (entry) value = gf_readInt(entry.attribute("value").as_string(), PARAMETER.minimum, PARAMETER.maximum);
    }
    PARAMETER.value = value;
    return value;
}

int gf_readWindowPosition(IntParameter& PARAMETER)
{
    const int value = gf_readEarly(PARAMETER);
    if (value <= PARAMETER.minimum || value >= PARAMETER.maximum) PARAMETER.value = PARAMETER.defaultValue;
    return PARAMETER.value;
}

std::string gf_textOf(const TextParameter& PARAMETER)
{
    std::lock_guard lock(textMutex);
    return PARAMETER.value;
}

void gf_setText(TextParameter& PARAMETER, std::string VALUE)
{
    std::lock_guard lock(textMutex);
    PARAMETER.value = std::move(VALUE);
}

void gf_resetParameters()
{
    lf_forEach(gf_parameterLists(), [](auto& P) {
        if constexpr (std::is_same_v<std::decay_t<decltype(P)>, TextParameter>)
            gf_setText(P, P.defaultValue);
        else
            P.value = P.defaultValue;
    });
    ALL_INSTALL_PATH.value.clear();
    CALLSIGN_2_OBJECTID.value.clear();
    parking_percentage.value = parking_percentage.defaultValue;
    MAX_FIT_FL.value = MAX_FIT_FL.defaultValue;
}

} // namespace orv
