// Test support: a small airport database for the program folders of the tests.
#include "tests/support/airports_file.h"

#include "tests/support/temp_dir.h"

namespace orv::test {

void writeAirportDatabase(const std::filesystem::path& ROOT)
{
    writeFile(ROOT / "input/airports_msfs.xml",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<airports>\n"
              "  <airport alt=\"-11\" lat=\"52.308601\" lon=\"4.76389\" iata=\"AMS\" code=\"EHAM\"/>\n"
              "  <airport alt=\"3\" lat=\"52.191898\" lon=\"5.14694\" iata=\"\" code=\"EHHV\"/>\n"
              "  <airport alt=\"3\" lat=\"52.923401\" lon=\"4.78062\" iata=\"DHR\" code=\"EHKD\"/>\n"
              "  <airport alt=\"-13\" lat=\"52.453188\" lon=\"5.514622\" iata=\"LEY\" code=\"EHLE\"/>\n"
              "  <airport alt=\"-15\" lat=\"51.956902\" lon=\"4.43722\" iata=\"RTM\" code=\"EHRD\"/>\n"
              "</airports>\n");
}

} // namespace orv::test
