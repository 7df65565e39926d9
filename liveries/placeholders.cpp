// Steps of the catalogue that belong to the registration-code and
// similar-model work, called by the scan driver in their places. Until that
// work lands they leave their tables empty: no registration or similar model
// is known, and matching falls back on airline, model and category.
#include "liveries/regcodes.h"

namespace orv {

void lf_readDontUseTitles() {}
void lf_buildInlineRegcodes() {}
void lf_processRegcodeFiles() {}
void gf_buildSimilar() {}

} // namespace orv
