// Downloads from a server on the loopback address: files, version checks,
// the installer, the add-on data and the reference documents.
#include "tests/liveries/dbase_fixture.h"
#include "tests/updates/download_server.h"
#include "tools/dbase_scramble.h"
#include "tools/zip_writer.h"
#include "updates/downloads.h"
#include "updates/updates.h"

#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/dbase.h"
#include "liveries/liveries.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::DownloadServer;
using test::LogCapture;
using test::readFile;
using test::TempDir;
using test::writeFile;

class Downloads : public ::testing::Test {
protected:
    TempDir temp;
    LogCapture log;
    DownloadServer server{temp / "server"};
    fs::path served = temp / "server";

    void SetUp() override
    {
        gf_resetParameters();
        DOWNLOAD_URL.value = server.base();
        gf_setUserFolder();
        fs::create_directories(userFolder);
        gf_clearStatus();
    }
    void TearDown() override
    {
        gf_clearStatus();
        gf_clearDbase();
        gf_resetParameters();
    }
    void zip(const fs::path& WHERE, const std::vector<ZipWriteEntry>& ENTRIES)
    {
        fs::create_directories((served / WHERE).parent_path());
        ASSERT_TRUE(gf_writeZip(served / WHERE, ENTRIES));
    }
};

struct Curl {
    CURL* handle = curl_easy_init();
    ~Curl() { curl_easy_cleanup(handle); }
};

TEST_F(Downloads, FileArrivesWhole)
{
    std::string body;
    for (int i = 0; i < 100000; ++i) body += static_cast<char>(i % 251);
    writeFile(served / "data.bin", body);
    Curl curl;
    EXPECT_TRUE(gf_downloadFile(curl.handle, server.base() + "data.bin", "got.bin", true));
    EXPECT_EQ(readFile("got.bin"), body);
}

TEST_F(Downloads, MissingFileIsAFailure)
{
    Curl curl;
    EXPECT_FALSE(gf_downloadFile(curl.handle, server.base() + "absent.bin", "got.bin", true));
    EXPECT_FALSE(gf_downloadFile(nullptr, server.base() + "absent.bin", "got.bin", true));
    EXPECT_FALSE(gf_downloadFile(curl.handle, server.base() + "absent.bin", "no/such/folder/got.bin", true));
    EXPECT_TRUE(log.contains("could not open output file: no/such/folder/got.bin"));
    // A file whose last bytes never reach the disk is no download.
    writeFile(served / "small.txt", "fits into the write buffer");
    EXPECT_FALSE(gf_downloadFile(curl.handle, server.base() + "small.txt", "/dev/full", true));
    EXPECT_TRUE(log.contains("could not write output file: /dev/full"));
}

TEST_F(Downloads, VersionFileIsReadByItsFirstLine)
{
    Curl curl;
    writeFile(served / "v1.json", "10.9.3\nsomething else\n");
    EXPECT_EQ(gf_fetchVersion(curl.handle, server.base() + "v1.json"), (Version{10, 9, 3}));
    writeFile(served / "v2.json", "{\"major\":10,\"minor\":9,\"patch\":3}");
    EXPECT_EQ(gf_fetchVersion(curl.handle, server.base() + "v2.json"), (Version{10, 9, 3}));
    writeFile(served / "v3.json", "{\n  \"major\": 10,\n  \"minor\": 9,\n  \"patch\": 3\n}\n");
    EXPECT_THROW(gf_fetchVersion(curl.handle, server.base() + "v3.json"), nlohmann::json::parse_error);
    writeFile(served / "v4.json", "");
    EXPECT_EQ(gf_fetchVersion(curl.handle, server.base() + "v4.json"), Version{});
    EXPECT_FALSE(fs::exists("version.json")) << "deleted after reading";
}

TEST_F(Downloads, MissingVersionFileGivesZeros)
{
    Curl curl;
    const auto url = server.base() + "release/version.json";
    EXPECT_EQ(gf_fetchVersion(curl.handle, url), Version{});
    EXPECT_TRUE(log.contains("downloading \"" + url + "\" failed"));
}

TEST_F(Downloads, NewerProgramStopsTheStartWithItsInstaller)
{
    writeFile(served / "release/version.json", "10.10.0\n");
    zip("release/setup_TAVO_d_v10.10.0.zip", {{"setup.exe", "installer bytes"}});
    PROGRAM_INSTALL_PATH.value = "/opt/tavo";
    try {
        gf_checkProgramVersion();
        FAIL() << "no update offered";
    } catch (const UserErrorException& e) {
        EXPECT_EQ(e.code, 99);
        EXPECT_STREQ(e.what(), "New version 10.10.0 available. Exit here, and run as administrator:   \"/opt/tavo/install_new_version.exe\"");
    }
    EXPECT_EQ(readFile("install_new_version.exe"), "installer bytes");
    EXPECT_FALSE(fs::exists("setup_TAVO_d_v10.10.0.zip"));
    EXPECT_TRUE(log.contains("downloaded setup_TAVO_d_v10.10.0.zip"));
    EXPECT_TRUE(log.contains("setup_TAVO_d_v10.10.0.zip unzipped to install_new_version.exe"));
}

TEST_F(Downloads, SameOrOlderProgramGoesOn)
{
    for (const char* version : {"10.9.3", "9.99.99"}) {
        writeFile(served / "release/version.json", version);
        EXPECT_NO_THROW(gf_checkProgramVersion()) << version;
    }
    fs::remove(served / "release/version.json");
    EXPECT_NO_THROW(gf_checkProgramVersion());
    EXPECT_TRUE(log.contains("Program Version file not found?"));
}

TEST_F(Downloads, MissingInstallerLetsTheStartGoOn)
{
    writeFile(served / "release/version.json", "10.9.4");
    EXPECT_NO_THROW(gf_checkProgramVersion());
    EXPECT_TRUE(log.contains("Downloading program installer file version 10.9.4 failed"));
    EXPECT_EQ(statusText, "The downloading/unzipping of the new version failed? Try manually via velmora website");
}

TEST_F(Downloads, InstallerEntriesThatClimbOutAreRefused)
{
    zip("release/setup_TAVO_d_v10.9.4.zip", {{"../../evil.exe", "bad"}, {"link.exe", "/etc/passwd", true}});
    EXPECT_FALSE(gf_fetchInstaller({10, 9, 4}));
    EXPECT_FALSE(fs::exists("install_new_version.exe"));
    EXPECT_TRUE(log.contains("! archive entry \"../../evil.exe\" of setup_TAVO_d_v10.9.4.zip refused: it climbs out of its folder"));
    EXPECT_TRUE(log.contains("! archive entry \"link.exe\" of setup_TAVO_d_v10.9.4.zip refused: it is a link"));
    writeFile(served / "release/setup_TAVO_d_v10.9.5.zip", "damaged");
    EXPECT_FALSE(gf_fetchInstaller({10, 9, 5}));
    EXPECT_TRUE(log.contains("could not open setup_TAVO_d_v10.9.5.zip"));
}

class AddonData : public Downloads {
protected:
    void serve(const char* VERSION)
    {
        writeFile(served / "mysimaddon24/version.json", VERSION);
        zip("mysimaddon24/my_simaddon2024.zip",
            {{"EHAM.xml", "<airport icao=\"EHAM\"/>"}, {"sub/", ""}, {"sub/EGLL.xml", "egll"}, {"../escape.xml", "x"},
             {"LFPG.xml", "/etc/passwd", true}});
    }
};

TEST_F(AddonData, NewerVersionReplacesTheFolder)
{
    serve("2.1.0");
    writeFile(mySimaddonFolder / "OLD.txt", "old");
    MYSIMADDON24_VERSION.value = "2.0.9";
    EXPECT_TRUE(gf_updateMySimaddon());
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "OLD.txt"));
    EXPECT_EQ(readFile(mySimaddonFolder / "EHAM.txt"), "<airport icao=\"EHAM\"/>");
    EXPECT_EQ(readFile(mySimaddonFolder / "EGLL.txt"), "egll");
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "escape.txt"));
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "LFPG.txt"));
    EXPECT_FALSE(fs::exists("escape.xml"));
    EXPECT_EQ(MYSIMADDON24_VERSION.value, "2.1.0");
    EXPECT_NE(readFile(gf_parametersPath()).find("value=\"2.1.0\""), std::string::npos);
    EXPECT_TRUE(log.contains("my_simaddon2024.zip unzipped 2 files"));
    EXPECT_TRUE(log.contains("mysimaddon has been updated to version 2.1.0"));
    EXPECT_FALSE(fs::exists("my_simaddon2024.zip"));
}

TEST_F(AddonData, SameVersionFetchesOnlyWhenTheFolderIsGone)
{
    serve("2.1.0");
    MYSIMADDON24_VERSION.value = "2.1.0";
    fs::create_directories(mySimaddonFolder);
    EXPECT_FALSE(gf_updateMySimaddon());
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "EHAM.txt"));
    fs::remove_all(mySimaddonFolder);
    EXPECT_TRUE(gf_mySimaddonMissing());
    EXPECT_TRUE(gf_updateMySimaddon());
    EXPECT_TRUE(fs::exists(mySimaddonFolder / "EHAM.txt"));
}

TEST_F(AddonData, DamagedArchiveLeavesTheVersionForTheNextStart)
{
    writeFile(served / "mysimaddon24/version.json", "3.0.0");
    writeFile(served / "mysimaddon24/my_simaddon2024.zip", "damaged");
    writeFile(mySimaddonFolder / "OLD.txt", "old");
    MYSIMADDON24_VERSION.value = "2.0.0";
    EXPECT_FALSE(gf_updateMySimaddon());
    EXPECT_TRUE(fs::is_empty(mySimaddonFolder));
    EXPECT_EQ(MYSIMADDON24_VERSION.value, "2.0.0");
    EXPECT_TRUE(log.contains("could not open my_simaddon2024.zip"));
}

TEST_F(AddonData, AnEntryThatCannotBeReadIsLeftOut)
{
    writeFile(served / "mysimaddon24/version.json", "2.1.0");
    std::string text;
    for (int i = 0; i < 2000; ++i) text += "<stand name=\"A" + std::to_string(i) + "\"/>\n";
    zip("mysimaddon24/my_simaddon2024.zip", {{"EHAM.xml", text}, {"EGLL.xml", text, false, true}});
    MYSIMADDON24_VERSION.value = "2.0.9";
    EXPECT_TRUE(gf_updateMySimaddon());
    EXPECT_EQ(readFile(mySimaddonFolder / "EHAM.txt"), text);
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "EGLL.txt")) << "an empty or partial file was written";
    EXPECT_TRUE(log.contains("! archive entry \"EGLL.xml\" of my_simaddon2024.zip could not be read, code -2"));
    EXPECT_TRUE(log.contains("my_simaddon2024.zip unzipped 1 files"));
}

TEST_F(AddonData, NoVersionOnTheServer)
{
    EXPECT_FALSE(gf_updateMySimaddon());
    EXPECT_TRUE(log.contains("No mysimaddon version info found at the TAVO server?"));
}

TEST_F(AddonData, StartUpStepFetchesAMissingFolderOnce)
{
    serve("2.1.0");
    MYSIMADDON24_VERSION.value = "2.1.0";
    gf_checkAddonData(true);
    EXPECT_TRUE(fs::exists(mySimaddonFolder / "EHAM.txt"));
    const int requests = server.requests();
    gf_checkAddonData(false);
    EXPECT_EQ(server.requests(), requests) << "a restart with the folder there asks nothing";
}

TEST_F(Downloads, ReferenceDocumentsAreUnpackedToTheirTarget)
{
    zip("dbase.zip", {{"dbase.xml", "<first/>"}, {"folder/", ""}, {"again.xml", "<last/>"}, {"../out.xml", "<no/>"}});
    fs::create_directories(inputFolder);
    EXPECT_TRUE(gf_fetchDbase(inputFolder / "temp2.xml"));
    EXPECT_EQ(readFile(inputFolder / "temp2.xml"), "<last/>") << "the last entry stands";
    EXPECT_FALSE(fs::exists("dbase.zip"));
    EXPECT_FALSE(fs::exists("out.xml"));
    zip("AIG-regcodes.zip", {{"AIG-regcodes.xml", "<AIG-regcodes/>"}});
    EXPECT_TRUE(gf_fetchAigRegcodes(inputFolder / "AIG-regcodes.xml"));
    EXPECT_EQ(readFile(inputFolder / "AIG-regcodes.xml"), "<AIG-regcodes/>");
}

TEST_F(Downloads, ReferenceDocumentFailures)
{
    fs::create_directories(inputFolder);
    EXPECT_FALSE(gf_fetchDbase(inputFolder / "temp2.xml"));
    EXPECT_TRUE(log.contains("downloading dbase failed?"));
    writeFile(inputFolder / "temp2.xml", "stale");
    writeFile(served / "dbase.zip", "damaged");
    EXPECT_FALSE(gf_fetchDbase(inputFolder / "temp2.xml"));
    EXPECT_TRUE(log.contains("unzipping dbase failed?"));
    EXPECT_FALSE(fs::exists(inputFolder / "temp2.xml")) << "no file is left behind";
    // An archive with no entry at all: only its end-of-directory record.
    writeFile(served / "AIG-regcodes.zip", std::string("PK\x05\x06", 4) + std::string(18, '\0'));
    EXPECT_TRUE(gf_fetchAigRegcodes(inputFolder / "AIG-regcodes.xml")) << "an empty archive is no failure";
    EXPECT_FALSE(fs::exists(inputFolder / "AIG-regcodes.xml"));
}

TEST_F(Downloads, AReferenceDocumentThatCannotBeReadIsAFailureNotAnEmptyFile)
{
    fs::create_directories(inputFolder);
    const std::string text = gf_scrambleDbaseText(test::PlainDbase{}.xml());
    const struct {
        const char* word;
        bool (*fetch)(const fs::path&);
    } documents[] = {{"dbase", gf_fetchDbase}, {"AIG-regcodes", gf_fetchAigRegcodes}};
    for (const auto& d : documents) {
        const fs::path target = inputFolder / (std::string(d.word) + ".xml");
        writeFile(target, "stale");
        zip(std::string(d.word) + ".zip", {{std::string(d.word) + ".xml", text, false, true}});
        EXPECT_FALSE(d.fetch(target)) << d.word;
        EXPECT_TRUE(log.contains(std::string("unzipping ") + d.word + " failed?")) << d.word;
        EXPECT_FALSE(fs::exists(target)) << d.word << ": no file is left behind";
    }
    try {
        gf_readDbase();
        FAIL() << "a damaged database was read";
    } catch (const SysErrorException& e) {
        EXPECT_EQ(e.code, 23);
    }
}

TEST_F(Downloads, ReferenceDatabaseFromTheServer)
{
    zip("dbase.zip", {{"dbase.xml", gf_scrambleDbaseText(test::PlainDbase{}.xml())}});
    fs::create_directories(inputFolder);
    gf_readDbase();
    EXPECT_TRUE(gf_validModel("B738"));
    EXPECT_EQ(gf_dbaseAirline("PH-BXA"), "KLM");
    EXPECT_FALSE(fs::exists(inputFolder / "temp2.xml"));
    fs::remove(served / "dbase.zip");
    try {
        gf_readDbase();
        FAIL() << "read without a server file";
    } catch (const SysErrorException& e) {
        EXPECT_EQ(e.code, 23);
        EXPECT_NE(std::string(e.what()).find("data base could not be read from on-line?"), std::string::npos);
    }
}

} // namespace
} // namespace orv
