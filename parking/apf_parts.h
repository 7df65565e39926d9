// The pieces that the reader, the learned-file merge and the writer of stand
// files share: the parameters of a file by name, one parkpos and its opt
// elements, the server address of an archive path.
#pragma once

#include "parking/stands.h"

#include <pugixml.hpp>

#include <filesystem>
#include <string>
#include <unordered_map>

namespace orv {

/// The parameter elements of a stand file, looked up by name; their order is free.
class ApfParameters {
public:
    explicit ApfParameters(const pugi::xml_document& DOC)
    {
        for (const pugi::xpath_node found : DOC.select_nodes("/parameters/parameter"))
            values.try_emplace(found.node().attribute("name").as_string(), found.node().attribute("value"));
    }
    [[nodiscard]] bool has(const std::string& NAME) const { return values.contains(NAME); }
    [[nodiscard]] std::string text(const std::string& NAME) const
    {
        const auto at = values.find(NAME);
        return at == values.end() ? std::string() : at->second.as_string();
    }
    [[nodiscard]] int integer(const std::string& NAME, int ABSENT) const
    {
        const auto at = values.find(NAME);
        return at == values.end() ? ABSENT : at->second.as_int(ABSENT);
    }
    [[nodiscard]] pugi::xml_attribute attribute(const std::string& NAME) const
    {
        const auto at = values.find(NAME);
        return at == values.end() ? pugi::xml_attribute() : at->second;
    }

private:
    std::unordered_map<std::string, pugi::xml_attribute> values;
};

/// The first word of a local main file's path.
inline const std::string airportsFolderName = "airports";

/// The learned file read with the park airport's main file (main thread);
/// the save writes back to it, so that what was read is what is replaced.
extern std::filesystem::path learnedPathInUse;

/// Booleans of the files: "1", "t", "T", "y", "Y" first are true.
bool gf_apfBool(const pugi::xml_attribute& ATTRIBUTE);
/// One opt element, with airline and type from the registration tables when they know reg.
StandOption lf_readOption(const pugi::xml_node& OPT);
/// One parkpos with its options. MERGING: options of a learned file, which
/// keep towed aircraft and skip what the stand knows already.
Stand lf_readStand(const pugi::xml_node& PARKPOS, bool FROM_LEARNED, bool MERGING);
void lf_appendOptions(const pugi::xml_node& PARKPOS, Stand& STAND, bool FROM_LEARNED, bool MERGING);
/// Same day, kind, registration, airline, type, and a common half hour.
bool lf_hasEqualOption(const Stand& STAND, const StandOption& OPTION);
/// Appends every parkpos; a second stand of one id throws UserErrorException 94.
void lf_readParkpositions(const pugi::xml_node& PARKPOSITIONS, std::vector<Stand>& STANDS, bool FROM_LEARNED);
/// The server address of an archive path.
std::string lf_archiveUrl(const std::string& SERVER_PATH, bool FORCE_MSFS_2020);

} // namespace orv
