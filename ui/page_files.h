// The page's files, built into the program (ui/page/*): the window needs no
// files beside the program and nothing from outside.
#pragma once

#include <string_view>

namespace orv {

/// "window.html", "traffic.js" and the like; empty for any other name.
std::string_view gf_pageFile(std::string_view NAME);

} // namespace orv
