// Scrambling a plain reference database with the program's key.
#include "tools/dbase_scramble.h"

#include "liveries/scramble.h"

#include <pugixml.hpp>

#include <sstream>
#include <stdexcept>

namespace orv {

namespace {

using Encrypt = std::string (*)(std::string_view);

std::string_view lf_trim(std::string_view TEXT)
{
    constexpr std::string_view blanks = " \t\n\r";
    const auto first = TEXT.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return TEXT.substr(first, TEXT.find_last_not_of(blanks) - first + 1);
}

/// Each item of a comma-separated list scrambled, joined again.
std::string lf_scrambleList(std::string_view LIST, Encrypt ENCRYPT)
{
    std::string out;
    while (true) {
        const auto comma = LIST.find(',');
        const auto item = lf_trim(LIST.substr(0, comma));
        if (!item.empty()) {
            if (!out.empty()) out += ',';
            out += ENCRYPT(item);
        }
        if (comma == std::string_view::npos) break;
        LIST.remove_prefix(comma + 1);
    }
    return out;
}

void lf_scrambleAttribute(pugi::xml_node ELEMENT, const char* NAME, Encrypt ENCRYPT, bool LIST)
{
    auto attribute = ELEMENT.attribute(NAME);
    if (!attribute) return;
    const std::string plain = attribute.value();
    if (plain.empty()) return;
    const auto scrambled = LIST ? lf_scrambleList(plain, ENCRYPT) : ENCRYPT(lf_trim(plain));
    attribute.set_value(scrambled.c_str());
}

void lf_scrambleSection(pugi::xml_document& DOC, const char* SECTION, const char* ELEMENT, const char* ATTRIBUTE,
                        Encrypt ENCRYPT, bool LIST)
{
    for (auto element : DOC.child(SECTION).children(ELEMENT)) lf_scrambleAttribute(element, ATTRIBUTE, ENCRYPT, LIST);
}

} // namespace

void gf_scrambleDbaseDocument(pugi::xml_document& DOC)
{
    for (const auto& [section, element] :
         {std::pair{"aircrafts", "aircraft"}, std::pair{"high_performance", "hpf"}, std::pair{"heavy", "hvy"},
          std::pair{"large", "lar"}, std::pair{"buzjet", "bzj"}, std::pair{"rotorcraft", "rot"},
          std::pair{"cargo_types", "cargo_type"}, std::pair{"similar_types", "similar"}})
        lf_scrambleSection(DOC, section, element, "types", gf_encryptModel, true);
    lf_scrambleSection(DOC, "ICAO_airlines", "ICAO", "codes", gf_encryptAirl, true);
    lf_scrambleSection(DOC, "cargo_operators", "ICAO", "codes", gf_encryptAirl, true);
    lf_scrambleSection(DOC, "wingspans", "wingspan", "type", gf_encryptModel, false);
    for (auto db : DOC.child("dbase").children("db")) {
        lf_scrambleAttribute(db, "reg", gf_encryptRegcode, false);
        lf_scrambleAttribute(db, "airl", gf_encryptAirl, false);
        lf_scrambleAttribute(db, "opr", gf_encryptAirl, false);
        lf_scrambleAttribute(db, "type", gf_encryptModel, false);
    }
}

std::string gf_scrambleDbaseText(const std::string& PLAIN_XML)
{
    pugi::xml_document doc;
    const auto result = doc.load_string(PLAIN_XML.c_str());
    if (!result) throw std::invalid_argument(std::string("plain dbase is no XML: ") + result.description());
    gf_scrambleDbaseDocument(doc);
    std::ostringstream out;
    doc.save(out, "  ");
    return out.str();
}

} // namespace orv
