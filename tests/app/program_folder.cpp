// Test support: a ready program folder with its reference data.
#include "tests/app/program_folder.h"

#include "tests/liveries/dbase_fixture.h"
#include "tests/support/airports_file.h"
#include "tests/support/temp_dir.h"
#include "tools/dbase_scramble.h"
#include "tools/zip_writer.h"

#include <cstdlib>
#include <stdexcept>

namespace orv::test {

namespace fs = std::filesystem;

void makeProgramFolder(const fs::path& ROOT)
{
    for (const char* folder : {"docs", "sim/Community", "sim/Official", "downloads"})
        fs::create_directories(ROOT / folder);
    writeAirportDatabase(ROOT);
    const fs::path liveries = ROOT / "sim/Community/test-liveries";
    writeFile(liveries / "SimObjects/Airplanes/KLM738/aircraft.cfg",
              "[General]\nicao_type_designator=B738\n\n[fltsim.0]\ntitle=Test B738 KLM\nicao_airline=KLM\n"
              "atc_id=PH-BXA\n");
    std::string failure;
    if (!gf_writeZip(ROOT / "downloads/dbase.zip", {{"dbase.xml", gf_scrambleDbaseText(PlainDbase().xml())}}, &failure))
        throw std::runtime_error("dbase.zip: " + failure);
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config == nullptr) throw std::runtime_error("XDG_CONFIG_HOME is not set");
    writeFile(fs::path(config) / "TAVO/parameters.xml",
              "<?xml version=\"1.0\"?>\n<parameters>\n"
              "  <parameter name=\"MSFS_INSTALL_PATH\" value=\"" + (ROOT / "sim").string() + "\"/>\n"
              "  <parameter name=\"DOWNLOAD_URL\" value=\"file://" + (ROOT / "downloads").string() + "/\"/>\n"
              "  <parameter name=\"SCAN_AIRPORTS\" value=\"false\"/>\n"
              "  <parameter name=\"WINDOW_PORT\" value=\"0\"/>\n"
              "  <parameter name=\"LIG_AUTOMATIC\" value=\"false\"/>\n"
              "  <parameter name=\"lfolder0\" value=\"" + liveries.string() + "\"/>\n"
              "</parameters>\n");
}

} // namespace orv::test
