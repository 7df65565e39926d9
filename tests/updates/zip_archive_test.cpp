// The zip reader: entries, their text and content, and which entries must
// never be written out.
#include "tests/support/temp_dir.h"
#include "tools/zip_writer.h"
#include "updates/zip_archive.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(archive.readAsText(entries[0]), "") << "nothing is read from a closed archive";
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

} // namespace
} // namespace orv
