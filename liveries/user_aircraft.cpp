// Identification of the user aircraft from its title and ATC model texts.
#include "liveries/user_aircraft.h"

#include "core/errors.h"
#include "core/log.h"
#include "core/window_state.h"

#include <fmt/format.h>

#include <array>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace orv {

std::string userTitle;
std::atomic<double> userWingspan{0};
std::atomic<ModelCategory> userCategory{ModelCategory::Light};
std::atomic<bool> aircraftKnown{true};

namespace {

std::mutex titleShownMutex; ///< a leaf lock for the window's copy
std::string userTitleShown;

void lf_showTitle(const std::string& TEXT)
{
    {
        std::lock_guard lock(titleShownMutex);
        userTitleShown = TEXT;
    }
    gf_repaint();
}

constexpr std::string_view codeSuffix = ".0.text";
constexpr std::string_view namedCodePrefix = "$$:";
constexpr std::size_t namedCodeMinimum = 5;
constexpr std::size_t icaoCodeMaximum = 4;
constexpr double metresPerNm = 1852.0;
constexpr std::string_view stubAircraft = "E190";   ///< span of the aircraft-less views
constexpr std::string_view fallbackAircraft = "CRJ7"; ///< span when no model text comes

constexpr std::array<std::pair<std::string_view, std::string_view>, 4> dg737ByTitle{{
    {"DG 737-800", "B738"}, {"DG 737-700", "B737"}, {"DG 737-600", "B736"}, {"DG 737-900", "B739"}}};
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> aerosoftByTitle{{
    {"Aerosoft A319", "A319"}, {"Aerosoft A320", "A320"}, {"Aerosoft A321", "A321"}}};

double lf_span(std::string_view MODEL) { return gf_halfWingspan(std::string(MODEL)); }

/// The model code standing right in front of ".0.text": 4, 3 or 2 bytes.
std::string lf_codeBeforeSuffix(const std::string& MODEL, std::size_t AT)
{
    if (AT < icaoCodeMaximum) throw std::out_of_range("no model code in front of " + std::string(codeSuffix));
    for (std::size_t length = icaoCodeMaximum; length >= 2; --length) {
        auto code = MODEL.substr(AT - length, length);
        if (lf_span(code) != 0) return code;
    }
    return MODEL;
}

void lf_noModelText()
{
    lf_showTitle("Unknown (encrypted?) aircraft");
    gf_showStatus("171: No model info from your user aircraft received in SimConnect, CRJ7 is taken instead", true);
    const double span = lf_span(fallbackAircraft);
    userWingspan = span != 0 ? span : maxHalfWingspan;
}

void lf_identify(std::string_view RAW)
{
    gf_log(fmt::format("model raw: {} ", RAW));
    std::string model = gf_userModelCode(RAW, userTitle);
    std::string line = "SimConnect: User aircraft model: " + model;
    if (model.find("camerapod") != std::string::npos || model.find("Crew Vessel") != std::string::npos) {
        // A camera or a ship: no real aircraft to keep traffic away from.
        aircraftKnown = true;
        gf_repaint();
        userWingspan = lf_span(stubAircraft);
        userCategory = ModelCategory::Light;
        return;
    }
    double span = model.size() <= icaoCodeMaximum ? lf_span(model) : maxHalfWingspan;
    bool known = span != maxHalfWingspan;
    if (!known) {
        if (auto deduced = gf_userModelFromTitle(userTitle); !deduced.empty()) {
            model = std::move(deduced);
            gf_log("SimConnect: User aircraft model deduced from title: " + model);
            span = lf_span(model);
            known = span != 0;
            if (!known) span = maxHalfWingspan;
        }
    }
    userWingspan = span;
    aircraftKnown = known;
    gf_repaint();
    if (known)
        line += fmt::format(", half wing span: {:.1F} meter", span * metresPerNm);
    else
        gf_showStatus("User aircraft wing span unknown, max is taken instead, please report in my Forum!", true);
    const auto category = gf_modelCategory(model);
    userCategory = category;
    line += fmt::format(", category: {}", gf_categoryText(category));
    gf_log(line);
}

} // namespace

std::string gf_userModelCode(std::string_view RAW, std::string_view TITLE)
{
    std::string model(RAW);
    if (model == "A350-900") return "A359";
    if (model == "N738B") return "B38M";
    if (const auto at = model.find(codeSuffix); at != std::string::npos) return lf_codeBeforeSuffix(model, at);
    if (model.starts_with(namedCodePrefix) && model.size() >= namedCodeMinimum) return model.substr(namedCodePrefix.size());
    if (model == "737") {
        for (const auto& [words, code] : dg737ByTitle)
            if (TITLE.find(words) != std::string_view::npos) return std::string(code);
    }
    return model;
}

std::string gf_userModelFromTitle(std::string_view TITLE)
{
    for (const auto& [start, code] : aerosoftByTitle)
        if (TITLE.size() >= start.size() && TITLE.substr(0, start.size()) == start) return std::string(code);
    return {};
}

void lf_userTitleReply(const char* DATA)
{
    if (DATA == nullptr) return;
    std::string title(DATA);
    if (title.empty()) {
        gf_log("! title of your ac is empty?");
        return;
    }
    if (title.size() > userTitleBytes) title.resize(userTitleBytes);
    if (title == userTitle) return;
    lf_showTitle(title);
    userTitle = title;
    gf_log("SimConnect: User aircraft title: " + title);
}

void lf_userModelReply(const char* DATA)
{
    try {
        const std::string_view raw = DATA == nullptr ? std::string_view() : std::string_view(DATA, strnlen(DATA, userModelBytes));
        if (raw.empty())
            lf_noModelText();
        else
            lf_identify(raw);
    } catch (const UserErrorException&) {
        throw;
    } catch (const std::exception&) {
        throw UserErrorException(73, "It looks like you have not selected an aircraft as user vehicle");
    }
}

std::string gf_userTitleShown()
{
    std::lock_guard lock(titleShownMutex);
    return userTitleShown;
}

void gf_resetUserAircraft()
{
    userTitle.clear();
    lf_showTitle({});
    userWingspan = 0;
    userCategory = ModelCategory::Light;
    aircraftKnown = true;
}

} // namespace orv
