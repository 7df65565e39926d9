// The zip reader: entries, their text and content, and which entries must
// never be written out.
#include "tests/support/temp_dir.h"
#include "tools/zip_writer.h"
#include "updates/zip_archive.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <sstream>

namespace orv {
namespace {

TEST(ZipArchiveTest, ListsAndReadsEntriesAndDamagedArchivesDoNotOpen)
{
    test::TempDir temp;
    const std::string big(300000, 'x');
    ASSERT_TRUE(gf_writeZip("a.zip", {{"one.txt", "first"}, {"sub/", ""}, {"sub/two.xml", big}, {"link", "one.txt", true}}));
    ZipArchive archive("a.zip", "", ZipArchive::Encryption::None);
    ASSERT_TRUE(archive.open(ZipArchive::ReadOnly, false));
    const auto entries = archive.getEntries(ZipArchive::Current);
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0].name, "one.txt");
    EXPECT_TRUE(!entries[0].isDirectory() && entries[1].isDirectory());
    EXPECT_EQ(entries[2].size, big.size());
    EXPECT_TRUE(!entries[2].link && entries[3].link);
    EXPECT_EQ(archive.readAsText(entries[0]), "first");
    std::ostringstream out;
    EXPECT_EQ(archive.readContent(entries[2], out), ZipArchive::ok);
    EXPECT_EQ(out.str(), big);
    archive.close();
    EXPECT_FALSE(archive.isOpen());
    EXPECT_TRUE(archive.getEntries().empty());
    EXPECT_FALSE(archive.readAsText(entries[0])) << "a closed archive reads nothing";
    test::writeFile("bad.zip", "this is no zip archive at all");
    test::writeFile("empty.zip", "");
    for (const char* name : {"absent.zip", "bad.zip", "empty.zip"}) EXPECT_FALSE(ZipArchive(name).open()) << name;
}

TEST(ZipArchiveTest, RefusedEntries)
{
    const std::pair<ZipEntry, bool> cases[] = {
        {{"EHAM.xml"}, true},          {{"sub/EHAM.xml"}, true},           {{"a..b/c..txt"}, true},
        {{"../EHAM.xml"}, false},      {{"sub/../../EHAM.xml"}, false},    {{"sub\\..\\..\\EHAM.xml"}, false},
        {{"sub/.."}, false},           {{"/etc/passwd"}, false},           {{"\\windows\\evil.exe"}, false},
        {{"C:/evil.exe"}, false},      {{""}, false},                      {{"fine.txt", 0, 0, true}, false},
    };
    for (const auto& [entry, allowed] : cases)
        EXPECT_EQ(gf_entryRefusal(entry).empty(), allowed) << "\"" << entry.name << "\" link " << entry.link;
}

TEST(ZipArchiveTest, AnEntryThatCannotBeReadIsNoText)
{
    test::TempDir temp;
    std::string text;
    for (int i = 0; i < 4000; ++i) text += "<db airl=\"KLM\" reg=\"PH-" + std::to_string(i) + "\"/>\n";
    ASSERT_TRUE(gf_writeZip("a.zip", {{"good.xml", text}, {"bad.xml", text, false, true}}));
    ZipArchive archive("a.zip");
    ASSERT_TRUE(archive.open());
    const auto entries = archive.getEntries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(archive.readAsText(entries[0]), std::optional<std::string>(text));
    EXPECT_FALSE(archive.readAsText(entries[1])) << "a damaged entry read as text";
    std::ostringstream out;
    EXPECT_EQ(archive.readContent(entries[1], out), ZipArchive::errorRead);
    // An entry longer than the caller allows is refused, whole or in a stream.
    EXPECT_FALSE(archive.readAsText(entries[0], ZipArchive::Current, text.size() - 1));
    EXPECT_EQ(archive.readContent(entries[0], out, ZipArchive::Current, text.size() - 1), ZipArchive::errorTooLarge);
}

TEST(ZipArchiveTest, TheClaimedSizeIsNoReservation)
{
    test::TempDir temp;
    ASSERT_TRUE(gf_writeZip("a.zip", {{"small.xml", "<small/>"}}));
    ZipArchive archive("a.zip");
    ASSERT_TRUE(archive.open());
    // What the directory claims is only a hint: a lie of an exabyte reserves nothing.
    for (const std::uint64_t claimed : {std::uint64_t{0}, std::uint64_t{3}, std::uint64_t{1} << 60, ~std::uint64_t{0}}) {
        ZipEntry entry = archive.getEntries().at(0);
        entry.size = claimed;
        std::optional<std::string> text;
        EXPECT_NO_THROW(text = archive.readAsText(entry)) << claimed;
        EXPECT_EQ(text, std::optional<std::string>("<small/>")) << claimed;
    }
}

} // namespace
} // namespace orv
