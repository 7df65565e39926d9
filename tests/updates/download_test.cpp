// Downloads from a server on the loopback address: files, version checks,
// the installer, the add-on data and the reference documents.
#include "tests/liveries/dbase_fixture.h"
#include "tests/updates/download_server.h"
#include "tools/dbase_scramble.h"
#include "tools/zip_writer.h"
#include "updates/downloads.h"
#include "updates/updates.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/dbase.h"
#include "liveries/liveries.h"

#include <curl/curl.h>
#include <nlohmann/json.hpp>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::writeFile;

class Downloads : public ::testing::Test {
protected:
    test::TempDir temp;
    test::LogCapture log;
    test::DownloadServer server{temp / "server"};
    fs::path served = temp / "server";

    void SetUp() override
    {
        gf_resetParameters();
        DOWNLOAD_URL.value = server.base();
        gf_setUserFolder();
        fs::create_directories(userFolder);
        fs::create_directories(inputFolder);
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
    /// The add-on data of VERSION, with entries that must not be written out: one climbs out of its
    /// folder, one is a link and one cannot be read.
    void serveAddon(const char* VERSION)
    {
        std::string stands;
        for (int i = 0; i < 2000; ++i) stands += "<stand name=\"A" + std::to_string(i) + "\"/>\n";
        writeFile(served / "mysimaddon24/version.json", VERSION);
        zip("mysimaddon24/my_simaddon2024.zip", {{"EHAM.xml", "<airport icao=\"EHAM\"/>"}, {"sub/", ""}, {"sub/EGLL.xml", "egll"},
                                                 {"../escape.xml", "x"}, {"LFPG.xml", "/etc/passwd", true},
                                                 {"EDDF.xml", stands, false, true}});
    }
};

TEST_F(Downloads, FilesAndVersionFiles)
{
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    std::string body;
    for (int i = 0; i < 100000; ++i) body += static_cast<char>(i % 251);
    writeFile(served / "data.bin", body);
    EXPECT_TRUE(gf_downloadFile(curl.get(), server.base() + "data.bin", "got.bin", true));
    EXPECT_EQ(readFile("got.bin"), body);
    EXPECT_FALSE(gf_downloadFile(curl.get(), server.base() + "absent.bin", "got.bin", true));
    EXPECT_FALSE(gf_downloadFile(nullptr, server.base() + "data.bin", "got.bin", true));
    EXPECT_FALSE(gf_downloadFile(curl.get(), server.base() + "data.bin", "no/such/folder/got.bin", true));
    // A file whose last bytes never reach the disk is no download.
    writeFile(served / "small.txt", "fits into the write buffer");
    EXPECT_FALSE(gf_downloadFile(curl.get(), server.base() + "small.txt", "/dev/full", true));
    EXPECT_TRUE(log.contains("could not write output file: /dev/full"));
    EXPECT_TRUE(log.contains("could not open output file: no/such/folder/got.bin"));
    // A version file is read by its first line; a missing one gives zeros.
    const std::pair<const char*, Version> versions[] = {
        {"10.9.3\nsomething else\n", {10, 9, 3}}, {"{\"major\":10,\"minor\":9,\"patch\":3}", {10, 9, 3}}, {"", {}}, {nullptr, {}}};
    for (const auto& [text, version] : versions) {
        fs::remove(served / "v.json");
        if (text) writeFile(served / "v.json", text);
        EXPECT_EQ(gf_fetchVersion(curl.get(), server.base() + "v.json"), version) << (text ? text : "missing");
        EXPECT_TRUE(!text || !fs::exists("version.json")) << "deleted after reading";
    }
    EXPECT_TRUE(log.contains("downloading \"" + server.base() + "v.json\" failed"));
    writeFile(served / "v.json", "{\n  \"major\": 10,\n  \"minor\": 9,\n  \"patch\": 3\n}\n");
    EXPECT_THROW(gf_fetchVersion(curl.get(), server.base() + "v.json"), nlohmann::json::parse_error);
}

TEST_F(Downloads, ANewerProgramStopsTheStartWithItsInstaller)
{
    // Installer entries that climb out of their folder are refused, and so is a damaged archive.
    zip("release/setup_TAVO_d_v10.9.4.zip", {{"../../evil.exe", "bad"}, {"link.exe", "/etc/passwd", true}});
    EXPECT_FALSE(gf_fetchInstaller({10, 9, 4}));
    EXPECT_FALSE(fs::exists("install_new_version.exe"));
    log.expectLines({"! archive entry \"../../evil.exe\" of setup_TAVO_d_v10.9.4.zip refused: it climbs out of its folder",
                     "! archive entry \"link.exe\" of setup_TAVO_d_v10.9.4.zip refused: it is a link"});
    writeFile(served / "release/setup_TAVO_d_v10.9.5.zip", "damaged");
    EXPECT_FALSE(gf_fetchInstaller({10, 9, 5}));
    EXPECT_TRUE(log.contains("could not open setup_TAVO_d_v10.9.5.zip"));
    for (const char* version : {"10.9.3", "9.99.99"}) {
        writeFile(served / "release/version.json", version);
        EXPECT_NO_THROW(gf_checkProgramVersion()) << version;
    }
    fs::remove(served / "release/version.json");
    EXPECT_NO_THROW(gf_checkProgramVersion());
    EXPECT_TRUE(log.contains("Program Version file not found?"));
    writeFile(served / "release/version.json", "10.9.6");
    EXPECT_NO_THROW(gf_checkProgramVersion()) << "a missing installer lets the start go on";
    EXPECT_TRUE(log.contains("Downloading program installer file version 10.9.6 failed"));
    EXPECT_EQ(statusText, "The downloading/unzipping of the new version failed? Try manually via velmora website");
    writeFile(served / "release/version.json", "10.10.0\n");
    zip("release/setup_TAVO_d_v10.10.0.zip", {{"setup.exe", "installer bytes"}});
    PROGRAM_INSTALL_PATH.value = "/opt/tavo";
    EXPECT_EQ(test::gf_thrown([] { gf_checkProgramVersion(); }), // code 99 shows its text alone
              "New version 10.10.0 available. Exit here, and run as administrator:   \"/opt/tavo/install_new_version.exe\"");
    EXPECT_EQ(readFile("install_new_version.exe"), "installer bytes");
    EXPECT_FALSE(fs::exists("setup_TAVO_d_v10.10.0.zip"));
    log.expectLines({"downloaded setup_TAVO_d_v10.10.0.zip", "setup_TAVO_d_v10.10.0.zip unzipped to install_new_version.exe"});
}

TEST_F(Downloads, AddonDataNewerOrMissingReplacesTheFolder)
{
    EXPECT_FALSE(gf_updateMySimaddon());
    EXPECT_TRUE(log.contains("No mysimaddon version info found at the TAVO server?"));
    serveAddon("2.1.0");
    writeFile(mySimaddonFolder / "OLD.txt", "old");
    MYSIMADDON24_VERSION.value = "2.0.9";
    EXPECT_TRUE(gf_updateMySimaddon());
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "OLD.txt"));
    EXPECT_EQ(readFile(mySimaddonFolder / "EHAM.txt"), "<airport icao=\"EHAM\"/>");
    EXPECT_EQ(readFile(mySimaddonFolder / "EGLL.txt"), "egll");
    for (const auto& refused : {mySimaddonFolder / "escape.txt", mySimaddonFolder / "LFPG.txt", fs::path("escape.xml"),
                                mySimaddonFolder / "EDDF.txt"})
        EXPECT_FALSE(fs::exists(refused)) << refused << ": no entry refused or unreadable, nor a part of it, is written";
    EXPECT_EQ(MYSIMADDON24_VERSION.value, "2.1.0");
    EXPECT_NE(readFile(gf_parametersPath()).find("value=\"2.1.0\""), std::string::npos);
    log.expectLines({"! archive entry \"EDDF.xml\" of my_simaddon2024.zip could not be read, code -2",
                     "my_simaddon2024.zip unzipped 2 files", "mysimaddon has been updated to version 2.1.0"});
    EXPECT_FALSE(fs::exists("my_simaddon2024.zip"));
    // The same version fetches only when the folder is gone, and a restart with the folder there asks nothing.
    fs::remove(mySimaddonFolder / "EHAM.txt");
    EXPECT_FALSE(gf_updateMySimaddon());
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "EHAM.txt"));
    fs::remove_all(mySimaddonFolder);
    EXPECT_TRUE(gf_mySimaddonMissing());
    gf_checkAddonData(true);
    EXPECT_TRUE(fs::exists(mySimaddonFolder / "EHAM.txt"));
    const int requests = server.requests();
    gf_checkAddonData(false);
    EXPECT_EQ(server.requests(), requests);
    // A damaged archive empties the folder and leaves the version for the next start.
    writeFile(served / "mysimaddon24/version.json", "3.0.0");
    writeFile(served / "mysimaddon24/my_simaddon2024.zip", "damaged");
    EXPECT_FALSE(gf_updateMySimaddon());
    EXPECT_TRUE(fs::is_empty(mySimaddonFolder));
    EXPECT_EQ(MYSIMADDON24_VERSION.value, "2.1.0");
    EXPECT_TRUE(log.contains("could not open my_simaddon2024.zip"));
}

TEST_F(Downloads, ReferenceDocumentsAreUnpackedToTheirTarget)
{
    EXPECT_FALSE(gf_fetchDbase(inputFolder / "temp2.xml"));
    EXPECT_TRUE(log.contains("downloading dbase failed?"));
    zip("dbase.zip", {{"dbase.xml", "<first/>"}, {"folder/", ""}, {"again.xml", "<last/>"}, {"../out.xml", "<no/>"}});
    EXPECT_TRUE(gf_fetchDbase(inputFolder / "temp2.xml"));
    EXPECT_EQ(readFile(inputFolder / "temp2.xml"), "<last/>") << "the last entry stands";
    EXPECT_FALSE(fs::exists("dbase.zip") || fs::exists("out.xml"));
    zip("AIG-regcodes.zip", {{"AIG-regcodes.xml", "<AIG-regcodes/>"}});
    EXPECT_TRUE(gf_fetchAigRegcodes(inputFolder / "AIG-regcodes.xml"));
    EXPECT_EQ(readFile(inputFolder / "AIG-regcodes.xml"), "<AIG-regcodes/>");
    // An archive with no entry at all, only its end-of-directory record, is no failure.
    fs::remove(inputFolder / "AIG-regcodes.xml");
    writeFile(served / "AIG-regcodes.zip", std::string("PK\x05\x06", 4) + std::string(18, '\0'));
    EXPECT_TRUE(gf_fetchAigRegcodes(inputFolder / "AIG-regcodes.xml"));
    EXPECT_FALSE(fs::exists(inputFolder / "AIG-regcodes.xml"));
    // The reference database read from the server, and its absence.
    zip("dbase.zip", {{"dbase.xml", gf_scrambleDbaseText(test::PlainDbase{}.xml())}});
    gf_readDbase();
    EXPECT_TRUE(gf_validModel("B738"));
    EXPECT_EQ(gf_dbaseAirline("PH-BXA"), "KLM");
    EXPECT_FALSE(fs::exists(inputFolder / "temp2.xml"));
    fs::remove(served / "dbase.zip");
    const auto thrown = test::gf_thrown([] { gf_readDbase(); });
    EXPECT_TRUE(thrown.starts_with("sys error 23: ")) << thrown;
    EXPECT_NE(thrown.find("data base could not be read from on-line?"), std::string::npos) << thrown;
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
        const std::string archive = std::string(d.word) + ".zip";
        for (const bool damaged : {true, false}) { // the whole archive, or one entry that cannot be read
            writeFile(target, "stale");
            if (damaged) writeFile(served / archive, "damaged");
            else zip(archive, {{std::string(d.word) + ".xml", text, false, true}});
            EXPECT_FALSE(d.fetch(target)) << d.word << damaged;
            EXPECT_TRUE(log.contains(std::string("unzipping ") + d.word + " failed?")) << d.word;
            EXPECT_FALSE(fs::exists(target)) << d.word << damaged << ": no file is left behind";
        }
    }
    EXPECT_TRUE(test::gf_thrown([] { gf_readDbase(); }).starts_with("sys error 23: ")) << "a damaged database was read";
}

} // namespace
} // namespace orv
