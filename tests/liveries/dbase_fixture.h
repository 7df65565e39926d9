// Test support for the livery catalogue: reference databases written in plain
// text, scrambled with the program's key and read through the real reader; a
// log opened in the test's folder; the liveries and side lists of a scan as
// one text that a table row can hold.
#pragma once

#include "liveries/livery_data.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orv::test {

/// The sections of a plain dbase.xml; each string is the inside of a section.
struct PlainDbase {
    std::string aircrafts = R"(<aircraft types="B738,B739,B38M,A319,A320,A20N,A321,A359,B744,B77W,A388,CRJ7,E190,B736,B737"/>
                               <aircraft types="C172, C152 ,SR22,BE36,DV20,C25C,CL60,EC35,R44,F16,E300"/>)";
    std::string large = R"(<lar types="B738,B739,B38M,A319,A320,A20N,A321,CRJ7,E190,B736,B737"/>)";
    std::string heavy = R"(<hvy types="A359,B744,B77W,A388"/>)";
    std::string buzjet = R"(<bzj types="C25C,CL60"/>)";
    std::string rotorcraft = R"(<rot types="EC35,R44"/>)";
    std::string highPerf = R"(<hpf types="F16,E300"/>)";
    std::string cargoTypes = R"(<cargo_type types="B744"/>)";
    std::string similar = R"(<similar types="B739,B738,B38M"/><similar types="A20N,A320"/>)";
    std::string airlines = R"(<ICAO codes="KLM,DLH,BAW,AFR,UAE,TRA,EZY,PVT"/>)";
    std::string cargoOperators = R"(<ICAO codes="KLM"/>)";
    std::string publishers;
    /// Wing spans in metres.
    std::string wingspans = R"(<wingspan type="B738" meters="35.79"/><wingspan type="A320" meters="35.80"/>
                               <wingspan type="B744" meters="64.44"/><wingspan type="A388" meters="79.75"/>
                               <wingspan type="C172" meters="11.00"/><wingspan type="E190" meters="28.72"/>
                               <wingspan type="EC35" meters="10.20"/><wingspan type="CL60" meters="19.61"/>
                               <wingspan type="F16" meters="9.96"/>)";
    std::string fixes = R"(<fx wro="A32N" cor="A20N"/>)";
    std::string simaddons = R"(<simaddon20 arpts="EHAM-scenery"/>)";
    std::string thirdParties20;
    std::string thirdParties24;
    std::string records = R"(<db reg="PH-BXA" airl="KLM" type="B738"/>
                             <db reg="PH-BXB" airl="KLM" type="B738" cargo="true"/>
                             <db reg="PH-HZA" airl="KLM" type="B738" opr="TRA"/>
                             <db reg="D-AIAB" airl="DLH" type="A320"/>
                             <db reg="G-EZAA" airl="EZY" type="A319"/>
                             <db reg="N12" airl="PVT" type="C172"/>
                             <db reg="N123AB" airl="PVT" type="C172"/>
                             <db reg="XX-NOA" type="B738"/>)";

    /// The whole document, sections without content left out.
    [[nodiscard]] std::string xml() const;
};

/// Scrambles PLAIN, writes it to FILE and reads it into the tables (which are
/// emptied first). Rethrows what the reader throws.
void loadDbase(const PlainDbase& PLAIN, const std::string& FILE = "temp2.xml");

/// Opens Log.txt in the current folder; closes it at the end.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    [[nodiscard]] std::string text() const;
    [[nodiscard]] bool contains(const std::string& LINE) const;
    /// Every one of LINES is a whole line of the log.
    void expectLines(std::initializer_list<std::string> LINES) const;
};

/// Every line of a file, without line ends.
std::vector<std::string> fileLines(const std::filesystem::path& PATH);

/// LIVERIES one a line as "airline/model/title/regcode" (and "/cargo"), then
/// the lines of the side lists as "airline: ", "model: ", "fix: ", "cfg: ",
/// "section: " and "empty: " lines; no trailing line end.
std::string gf_outcome(const std::vector<LiveryData>& LIVERIES = {});
/// Empties the six side lists.
void gf_clearSideLists();

/// The what() of the exception CALL throws, or "nothing thrown".
template <typename F>
std::string gf_thrown(F&& CALL)
{
    try {
        CALL();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "nothing thrown";
}

/// A program folder of its own with a log and the parameters' defaults, the
/// plain reference data loaded and the scan's lists empty.
class LiveriesTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    /// What a kind of test sets back before and after each test.
    virtual void reset() {}
    TempDir temp;
    LogCapture log;
};

} // namespace orv::test
