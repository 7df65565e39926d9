// What the feed needs to know of the park airport. The airports side owns
// the park airport and publishes this view whenever it changes; the traffic
// reader takes a copy once per answer, so a decode never sees half a change.
#pragma once

#include <optional>
#include <string>

#include "core/user_position.h"

namespace orv {

struct ParkView {
    std::optional<LatLon> airport;          ///< the park airport; none when no airport is set
    std::optional<double> elevationFt;      ///< handed over once its stand file is loaded
    bool ready = false;                     ///< the airport's stand file is loaded
    std::string reservedStand;              ///< the stand reserved for the user's aircraft
    std::string userStand;                  ///< the stand under the user's aircraft; empty when none
    std::optional<double> firstDistanceNm;  ///< distance to the first airport of the park list
};

/// Any thread; replaces the view as a whole.
void gf_publishParkView(const ParkView& VIEW);
/// A copy of the view.
ParkView gf_parkView();

} // namespace orv
