// tavo-demo-liveries: writes the demo's Community folder, livery packages of
// our own making for the demo's airlines and types. Only aircraft.cfg files
// (and the texture folders IVAO packages need): no models, no textures. The
// packages come in the shapes the scan meets in the wild: a traffic package
// with a folder per type, one whose model comes from base_container, the
// user's own package with an IVAO part, every encoding, and a few faulty
// files so that the error reports have something to show.
//   tavo-demo-liveries COMMUNITY_FOLDER
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace {

namespace fs = std::filesystem;

struct Livery {
    std::string airline;      ///< icao_airline; empty for none (private), "ZZZZ" for a paint without airline
    std::string registration; ///< atc_id; empty for none
    bool cargo = false;
    std::string titleTail;    ///< what the title adds to the airline
};

struct AircraftFile {
    fs::path folder;          ///< below the Community folder
    std::string model;        ///< icao_type_designator; empty when base_container names it
    std::string baseContainer;
    std::string titleHead;
    std::vector<Livery> liveries;
    enum class Encoding { Utf8, Utf8Bom, Utf16Le, Utf16Be } encoding = Encoding::Utf8;
};

std::string lf_utf16(const std::string& TEXT, bool BIG_ENDIAN_ORDER)
{
    std::string out = BIG_ENDIAN_ORDER ? "\xFE\xFF" : "\xFF\xFE";
    for (const unsigned char c : TEXT) {
        out += BIG_ENDIAN_ORDER ? '\0' : static_cast<char>(c);
        out += BIG_ENDIAN_ORDER ? static_cast<char>(c) : '\0';
    }
    return out;
}

std::string lf_text(const AircraftFile& FILE)
{
    std::string text = "[VERSION]\nmajor=1\nminor=0\n\n[GENERAL]\natc_type=\"TAVO demo\"\n";
    if (!FILE.model.empty()) text += fmt::format("icao_type_designator=\"{}\"\n", FILE.model);
    if (!FILE.baseContainer.empty()) text += fmt::format("base_container=\"..\\{}\"\n", FILE.baseContainer);
    for (std::size_t i = 0; i < FILE.liveries.size(); ++i) {
        const auto& livery = FILE.liveries[i];
        const bool generic = livery.airline.empty() || livery.airline == "ZZZZ";
        text += fmt::format("\n[FLTSIM.{}]\ntitle=\"{} {}{}{}\"\n", i, FILE.titleHead, generic ? "Generic" : livery.airline,
                            livery.titleTail, livery.registration.empty() ? "" : " " + livery.registration);
        text += fmt::format("texture=\"{}\"\n", generic ? "generic" : livery.airline);
        if (!livery.airline.empty()) text += fmt::format("icao_airline=\"{}\"\n", livery.airline);
        if (!livery.registration.empty()) text += fmt::format("atc_id=\"{}\"\n", livery.registration);
        text += fmt::format("atc_parking_types=\"{}\"\n", livery.cargo ? "CARGO" : "GATE,RAMP");
        text += "ui_manufacturer=\"TAVO demo\"\n";
    }
    return text;
}

void lf_write(const fs::path& PATH, const std::string& BYTES)
{
    fs::create_directories(PATH.parent_path());
    std::ofstream(PATH, std::ios::binary) << BYTES;
}

void lf_writeFile(const fs::path& COMMUNITY, const AircraftFile& FILE)
{
    const auto text = lf_text(FILE);
    std::string bytes;
    switch (FILE.encoding) {
    case AircraftFile::Encoding::Utf8: bytes = text; break;
    case AircraftFile::Encoding::Utf8Bom: bytes = "\xEF\xBB\xBF" + text; break;
    case AircraftFile::Encoding::Utf16Le: bytes = lf_utf16(text, false); break;
    case AircraftFile::Encoding::Utf16Be: bytes = lf_utf16(text, true); break;
    }
    lf_write(COMMUNITY / FILE.folder / "aircraft.cfg", bytes);
}

/// Liveries of one type for several airlines, registrations where the demo's reference data knows them.
std::vector<Livery> lf_fleet(const std::vector<std::pair<std::string, std::string>>& AIRLINES, const std::string& TAIL = "")
{
    std::vector<Livery> liveries;
    for (const auto& [airline, registration] : AIRLINES) liveries.push_back({airline, registration, false, TAIL});
    return liveries;
}

std::vector<AircraftFile> lf_trafficPackage()
{
    using E = AircraftFile::Encoding;
    const fs::path aig = "aig-aitraffic-oci-demo/SimObjects/Airplanes";
    return {
        {aig / "AIG_A320", "A320", "", "AIG Airbus A320",
         lf_fleet({{"BAW", "G-EUYA"}, {"DLH", "D-AIZA"}, {"AFR", "F-HEPA"}, {"EZY", ""}, {"IBE", ""}, {"ZZZZ", ""}})},
        {aig / "AIG_A20N", "A20N", "", "AIG Airbus A320neo",
         lf_fleet({{"BAW", "G-TTNA"}, {"DLH", "D-AINA"}, {"AFR", ""}, {"EZY", "G-UZHA"}, {"SAS", "SE-ROA"}, {"TAP", "CS-TVA"}, {"IBE", ""}}),
         E::Utf8Bom},
        {aig / "AIG_A321", "A321", "", "AIG Airbus A321", lf_fleet({{"DLH", "D-AIDA"}, {"IBE", "EC-JDR"}, {"BAW", ""}})},
        {aig / "AIG_A319", "A319", "", "AIG Airbus A319", lf_fleet({{"EZY", "G-EZAA"}, {"TAP", "CS-TTA"}, {"BAW", ""}})},
        {aig / "AIG_B738", "B738", "", "AIG Boeing 737-800",
         lf_fleet({{"KLM", "PH-BXA"}, {"KLM", "PH-BXB"}, {"RYR", "EI-DAC"}, {"SAS", ""}, {"TRA", "PH-HSA"}}), E::Utf16Le},
        {aig / "AIG_B38M", "B38M", "", "AIG Boeing 737 MAX 8", lf_fleet({{"RYR", "EI-HEA"}})},
        {aig / "AIG_E190", "E190", "", "AIG Embraer 190", lf_fleet({{"KLC", "PH-EZA"}, {"CFE", ""}})},
        {aig / "AIG_E295", "E295", "", "AIG Embraer 195-E2", lf_fleet({{"KLC", "PH-EXA"}})},
        {aig / "AIG_B77W", "B77W", "", "AIG Boeing 777-300ER",
         lf_fleet({{"KLM", "PH-BVA"}, {"AFR", "F-GSQA"}, {"UAE", "A6-ENA"}, {"BAW", ""}}), E::Utf16Be},
        {aig / "AIG_A333", "A333", "", "AIG Airbus A330-300", lf_fleet({{"DLH", ""}, {"TAP", ""}})},
        {aig / "AIG_B789", "B789", "", "AIG Boeing 787-9", lf_fleet({{"BAW", "G-ZBKA"}, {"AFR", "F-HRBA"}, {"KLM", ""}})},
        {aig / "AIG_A359", "A359", "", "AIG Airbus A350-900", lf_fleet({{"DLH", "D-AIXA"}, {"AFR", "F-HTYA"}, {"IBE", "EC-MXV"}})},
        {aig / "AIG_B744F", "B744", "", "AIG Boeing 747-400F", {{"MPH", "PH-CKA", true, " Cargo"}}},
        {aig / "AIG_B77L", "B77L", "", "AIG Boeing 777F", {{"GEC", "", true, " Cargo"}}},
    };
}

/// The airlines and airliner types that tavo-service --generate flies (its
/// tables kAirlines, kMediumTypes and kHeavyTypes): every pair has a paint,
/// so that every generated flight finds a livery. The light types fly
/// without airline and take the user package's paints.
const char* const generatorAirlines[] = {"KLM", "BAW", "DLH", "AFR", "EZY", "RYR", "SAS", "IBE", "UAE", "TAP"};
const char* const generatorTypes[] = {"A320", "A20N", "A321", "B738", "B38M", "E190", "E295", "A319",
                                      "B77W", "A333", "B789", "A359"};

/// The traffic package with a paint of every generated airline on every generated type.
std::vector<AircraftFile> lf_coverGenerator(std::vector<AircraftFile> FILES)
{
    const fs::path aig = "aig-aitraffic-oci-demo/SimObjects/Airplanes";
    for (const char* type : generatorTypes) {
        auto file = std::find_if(FILES.begin(), FILES.end(), [type](const AircraftFile& F) { return F.model == type; });
        if (file == FILES.end()) {
            FILES.push_back({aig / fmt::format("AIG_{}", type), type, "", fmt::format("AIG {}", type), {}});
            file = FILES.end() - 1;
        }
        for (const char* airline : generatorAirlines)
            if (std::none_of(file->liveries.begin(), file->liveries.end(),
                             [airline](const Livery& L) { return L.airline == airline; }))
                file->liveries.push_back({airline, "", false, ""});
    }
    return FILES;
}

std::vector<AircraftFile> lf_baseContainerPackage()
{
    using E = AircraftFile::Encoding;
    const fs::path fsltl = "fsltl-traffic-base/SimObjects/Airplanes";
    return {
        {fsltl / "FSLTL_A20N_Base", "", "Asobo_A320_NEO", "FSLTL A20N", lf_fleet({{"AFR", "F-HPNA"}, {"SAS", "SE-ROB"}, {"DLH", ""}})},
        {fsltl / "FSLTL_B748", "", "Asobo_B747_8i", "FSLTL B748", {{"DLH", "", false, ""}}, E::Utf8Bom},
        {fsltl / "FSLTL_B78X", "", "Asobo_B787_10", "FSLTL B78X", lf_fleet({{"KLM", ""}, {"UAE", ""}})},
    };
}

std::vector<AircraftFile> lf_userPackage()
{
    using E = AircraftFile::Encoding;
    const fs::path user = "user-aitraffic-demo/SimObjects/Airplanes";
    return {
        {user / "Demo_C172", "C172", "", "Demo Cessna 172",
         {{"ZZZZ", "", false, " white"}, {"", "", false, " N12 red"}, {"", "PH-PRV", false, " private"}}},
        {user / "Demo_PA28", "PA28", "", "Demo Piper Cherokee", {{"", "G-DEMO", false, ""}, {"", "", false, " blue"}}, E::Utf16Le},
        {user / "Demo_SR22", "SR22", "", "Demo Cirrus SR22", {{"ZZZZ", "", false, ""}}},
        {user / "Demo_DA40", "DA40", "", "Demo Diamond DA40", {{"", "D-EDEM", false, ""}}},
        {user / "Demo_C25C", "C25C", "", "Demo Citation CJ4", {{"NJE", "", false, ""}, {"ZZZZ", "", false, " bizjet"}}},
        {user / "Demo_EC35", "EC35", "", "Demo H135", {{"ZZZZ", "", false, " rescue"}}, E::Utf16Be},
        {user / "Demo_R44", "R44", "", "Demo Robinson R44", {{"", "", false, ""}}},
    };
}

/// Files with the faults the scan reports: an unknown airline, a doubled
/// key, sections with a gap in their numbers, no model at all.
void lf_faultyFiles(const fs::path& COMMUNITY)
{
    const fs::path user = COMMUNITY / "user-aitraffic-demo/SimObjects/Airplanes";
    lf_write(user / "Demo_Faulty_Airline/aircraft.cfg",
             "[GENERAL]\nicao_type_designator=A320\n[FLTSIM.0]\ntitle=\"Demo faulty airline XQX\"\nicao_airline=XQX\n");
    lf_write(user / "Demo_Faulty_Double/aircraft.cfg",
             "[GENERAL]\nicao_type_designator=A320\n[FLTSIM.0]\ntitle=\"Demo doubled\"\nicao_airline=DLH\nicao_airline=BAW\n");
    lf_write(user / "Demo_Faulty_Numbers/aircraft.cfg",
             "[GENERAL]\nicao_type_designator=B738\n[FLTSIM.0]\ntitle=\"Demo gap 0\"\n[FLTSIM.2]\ntitle=\"Demo gap 2\"\n");
    lf_write(user / "Demo_Faulty_Model/aircraft.cfg", "[GENERAL]\natc_type=\"none\"\n[FLTSIM.0]\ntitle=\"Demo no model\"\n");
    lf_write(user / "Demo_Model_Only/aircraft.cfg", "[GENERAL]\nicao_type_designator=B738\n");
}

/// An IVAO part: model in the folder name, airline in each title, and the
/// texture folders the package's sections name.
void lf_ivaoPart(const fs::path& COMMUNITY)
{
    const fs::path folder = COMMUNITY / "user-aitraffic-demo/IVAO_MTL/SimObjects/Airplanes/IVAO_E190";
    std::string text = "[General]\natc_type=\"IVAO\"\n";
    int section = 0;
    for (const auto* airline : {"KLC", "BAW"}) {
        text += fmt::format("\n[fltsim.{}]\ntitle=E190 {} IVAO demo\ntexture={}\n", section++, airline, airline);
        fs::create_directories(folder / fmt::format("texture.{}", airline));
    }
    lf_write(folder / "aircraft.cfg", text);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: tavo-demo-liveries COMMUNITY_FOLDER\n";
        return 2;
    }
    const fs::path community = argv[1];
    int files = 0;
    for (const auto& list : {lf_coverGenerator(lf_trafficPackage()), lf_baseContainerPackage(), lf_userPackage()})
        for (const auto& file : list) {
            lf_writeFile(community, file);
            ++files;
        }
    lf_faultyFiles(community);
    lf_ivaoPart(community);
    std::cout << "demo liveries: " << files + 6 << " aircraft.cfg files in " << community.string() << "\n";
    return 0;
}
