// Plain reference databases for tests, the log capture and the outcome text.
#include "tests/liveries/dbase_fixture.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/dbase.h"
#include "liveries/scan_driver.h"
#include "tools/dbase_scramble.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <fstream>
#include <mutex>

namespace orv::test {

namespace {
const std::pair<const char*, SideList*> sideLists[] = {{"airline", &invalidAirlines}, {"model", &invalidModels},
                                                       {"fix", &codeFixes},           {"cfg", &invalidCfgFiles},
                                                       {"section", &incompleteSections}, {"empty", &emptyCfgFiles}};
} // namespace

std::string PlainDbase::xml() const
{
    const std::pair<const char*, const std::string*> sections[] = {
        {"aircrafts", &aircrafts},      {"high_performance", &highPerf}, {"heavy", &heavy},
        {"large", &large},              {"buzjet", &buzjet},             {"rotorcraft", &rotorcraft},
        {"cargo_types", &cargoTypes},   {"similar_types", &similar},     {"ICAO_airlines", &airlines},
        {"cargo_operators", &cargoOperators}, {"publishers", &publishers}, {"wingspans", &wingspans},
        {"fixes", &fixes},              {"simaddons20", &simaddons},     {"thirdparties20", &thirdParties20},
        {"thirdparties24", &thirdParties24}, {"dbase", &records}};
    std::string out;
    for (const auto& [name, inside] : sections)
        if (!inside->empty()) out += fmt::format("<{0}>{1}</{0}>\n", name, *inside);
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

void LogCapture::expectLines(std::initializer_list<std::string> LINES) const
{
    for (const auto& line : LINES) EXPECT_TRUE(contains(line)) << line;
}

std::vector<std::string> fileLines(const std::filesystem::path& PATH)
{
    std::vector<std::string> lines;
    std::ifstream file(PATH);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

std::string gf_outcome(const std::vector<LiveryData>& LIVERIES)
{
    std::vector<std::string> lines;
    for (const auto& l : LIVERIES)
        lines.push_back(fmt::format("{}/{}/{}/{}{}", l.airline, l.model, l.title, l.regcode, l.cargo ? "/cargo" : ""));
    for (const auto& [name, list] : sideLists)
        for (const auto& line : list->copy()) lines.push_back(fmt::format("{}: {}", name, line));
    return fmt::format("{}", fmt::join(lines, "\n"));
}

void gf_clearSideLists()
{
    for (const auto& [name, list] : sideLists) list->clear();
}

void LiveriesTest::SetUp()
{
    gf_resetParameters();
    gf_setUserFolder();
    std::filesystem::create_directories(userFolder);
    lf_makeFolders();
    loadDbase(PlainDbase{});
    lf_clearScanLists();
    reset();
}

void LiveriesTest::TearDown()
{
    reset();
    lf_clearScanLists();
    gf_clearDbase();
    gf_resetParameters();
}

} // namespace orv::test
