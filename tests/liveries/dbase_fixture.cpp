// Plain reference databases for tests, and the log capture.
#include "tests/liveries/dbase_fixture.h"

#include "core/log.h"
#include "liveries/dbase.h"
#include "tools/dbase_scramble.h"

#include <fstream>
#include <mutex>

namespace orv::test {

std::string PlainDbase::xml() const
{
    std::string out;
    const auto section = [&](const char* NAME, const std::string& INSIDE) {
        if (!INSIDE.empty()) out += std::string("<") + NAME + ">" + INSIDE + "</" + NAME + ">\n";
    };
    section("aircrafts", aircrafts);
    section("high_performance", highPerf);
    section("heavy", heavy);
    section("large", large);
    section("buzjet", buzjet);
    section("rotorcraft", rotorcraft);
    section("cargo_types", cargoTypes);
    section("similar_types", similar);
    section("ICAO_airlines", airlines);
    section("cargo_operators", cargoOperators);
    section("publishers", publishers);
    section("wingspans", wingspans);
    section("fixes", fixes);
    section("simaddons20", simaddons);
    section("thirdparties20", thirdParties20);
    section("thirdparties24", thirdParties24);
    section("dbase", records);
    return out;
}

void loadDbase(const PlainDbase& PLAIN, const std::string& FILE)
{
    gf_clearDbase();
    writeFile(FILE, gf_scrambleDbaseText(PLAIN.xml()));
    gf_readDbaseFile(FILE);
}

LogCapture::LogCapture() { gf_openLog("Log.txt"); }

LogCapture::~LogCapture()
{
    std::lock_guard lock(logMutex);
    logStream.close();
}

std::string LogCapture::text() const { return readFile("Log.txt"); }

bool LogCapture::contains(const std::string& LINE) const
{
    const auto all = text();
    return all.find("\n" + LINE + "\n") != std::string::npos || all.starts_with(LINE + "\n");
}

std::vector<std::string> fileLines(const std::filesystem::path& PATH)
{
    std::vector<std::string> lines;
    std::ifstream file(PATH);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

} // namespace orv::test
