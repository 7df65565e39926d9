// The bands in the form the page draws them: one JSON object a band.
#pragma once

#include <string>

#include "ui/paint.h"

namespace orv {

std::string gf_pictureJson(Band BAND, const Picture& PICTURE);
/// The band as it is now, with the controls' state for the controls band.
std::string gf_bandJson(Band BAND);

} // namespace orv
