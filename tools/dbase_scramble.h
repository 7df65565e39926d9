// The maker's side of the reference database: a plain-text dbase.xml (codes
// and registrations as people read them) turned into the scrambled document
// the program downloads. Used by the scramble tool, the demo data and tests.
#pragma once

#include <string>

namespace pugi {
class xml_document;
}

namespace orv {

/// Scrambles every coded attribute of the document in place. Throws
/// std::invalid_argument for a code that cannot be scrambled.
void gf_scrambleDbaseDocument(pugi::xml_document& DOC);
/// The same on text: plain dbase.xml in, scrambled dbase.xml out.
std::string gf_scrambleDbaseText(const std::string& PLAIN_XML);

} // namespace orv
