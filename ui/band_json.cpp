// A band as the page receives it: its picture, and for the controls band the
// state of every control (checked, enabled, the text a box shows).
#include "ui/band_json.h"

#include "ui/commands.h"
#include "ui/controls.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orv {

namespace {

std::string lf_colour(Colour C) { return fmt::format("#{:06x}", C); }

const char* lf_kind(const ControlSpot& S)
{
    if (S.check != nullptr) return "check";
    if (S.button != nullptr) return "button";
    return "box";
}

nlohmann::json lf_controls()
{
    nlohmann::json list = nlohmann::json::array();
    for (const ControlSpot& spot : gf_controlSpots()) {
        nlohmann::json c = {{"id", spot.id()},
                            {"kind", lf_kind(spot)},
                            {"x", spot.x},
                            {"y", spot.y},
                            {"w", spot.width},
                            {"enabled", spot.control().enabled}};
        if (spot.check != nullptr) c["checked"] = spot.check->value;
        if (spot.button != nullptr) c["caption"] = spot.button->caption;
        if (spot.check == nullptr && spot.button == nullptr) c["text"] = gf_boxText(spot);
        list.push_back(std::move(c));
    }
    return list;
}

nlohmann::json lf_picture(Band BAND, const Picture& PICTURE)
{
    nlohmann::json band = {{"band", gf_bandName(BAND)}};
    nlohmann::json& fills = band["fills"] = nlohmann::json::array();
    for (const Fill& f : PICTURE.fills)
        fills.push_back({{"x0", f.x0}, {"y0", f.y0}, {"x1", f.x1}, {"y1", f.y1}, {"c", lf_colour(f.colour)}, {"name", f.name}});
    nlohmann::json& lines = band["lines"] = nlohmann::json::array();
    for (const Line& l : PICTURE.lines)
        lines.push_back({{"x0", l.x0}, {"y0", l.y0}, {"x1", l.x1}, {"y1", l.y1}, {"c", lf_colour(l.colour)}});
    nlohmann::json& texts = band["texts"] = nlohmann::json::array();
    for (const Text& t : PICTURE.texts) texts.push_back({{"x", t.x}, {"y", t.y}, {"t", t.text}, {"c", lf_colour(t.colour)}});
    return band;
}

/// Invalid UTF-8 in a text (a path, a title) is shown replaced, never refused.
std::string lf_dump(const nlohmann::json& BAND) { return BAND.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace); }

} // namespace

std::string gf_pictureJson(Band BAND, const Picture& PICTURE) { return lf_dump(lf_picture(BAND, PICTURE)); }

std::string gf_bandJson(Band BAND)
{
    if (BAND != Band::controls) return gf_pictureJson(BAND, gf_paintBand(BAND));
    std::lock_guard lock(windowMutex);
    nlohmann::json band = lf_picture(BAND, gf_paintControls());
    band["controls"] = lf_controls();
    return lf_dump(band);
}

} // namespace orv
