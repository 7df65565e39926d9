// Version texts: both formats, comparison, and the server's addresses.
#include "updates/downloads.h"

#include "core/parameters.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace orv {
namespace {

TEST(Version, BothFormatsGiveTheSameVersion)
{
    const Version expected{10, 9, 3};
    for (const char* text : {"10.9.3", R"({"major":10,"minor":9,"patch":3})", R"({ "patch": 3, "minor": 9, "major": 10 })",
                             "10-9_3", R"({"major":10.7,"minor":9.2,"patch":3.99})"})
        EXPECT_EQ(gf_parseVersion(text), expected) << text;
    EXPECT_EQ(gf_parseVersion(""), Version{});
    EXPECT_EQ(gf_versionText({10, 10, 0}), "10.10.0");
    EXPECT_EQ(runningVersion, expected);
}

TEST(Version, TextThatIsNeitherFormatThrows)
{
    EXPECT_THROW(gf_parseVersion("{"), nlohmann::json::parse_error) << "the first line of a pretty-printed object";
    EXPECT_THROW(gf_parseVersion("ten"), nlohmann::json::parse_error);
    EXPECT_THROW(gf_parseVersion("10.9"), nlohmann::json::type_error) << "a number, not an object";
    EXPECT_THROW(gf_parseVersion(R"({"major":"10","minor":9,"patch":3})"), nlohmann::json::type_error);
    EXPECT_THROW(gf_parseVersion("99999999999.1.1"), std::out_of_range);
    EXPECT_THROW(gf_parseVersion(R"({"major":1e12,"minor":9,"patch":3})"), std::out_of_range);
}

TEST(Version, NewerComparesMajorThenMinorThenPatch)
{
    const Version running{10, 9, 3};
    EXPECT_TRUE(gf_isNewer({10, 10, 0}, running));
    EXPECT_TRUE(gf_isNewer({10, 9, 4}, running));
    EXPECT_TRUE(gf_isNewer({11, 0, 0}, running));
    EXPECT_FALSE(gf_isNewer({10, 9, 3}, running));
    EXPECT_FALSE(gf_isNewer({9, 99, 99}, running));
    EXPECT_FALSE(gf_isNewer({10, 8, 99}, running));
}

TEST(Version, ArchiveBaseFollowsTheSimulator)
{
    DOWNLOAD_URL.value = "http://server/downloads";
    MSFS_2020.value = true;
    EXPECT_EQ(gf_downloadBase(), "http://server/downloads/");
    EXPECT_EQ(gf_archiveBase(false), "http://server/downloads/MSFS/");
    MSFS_2020.value = false;
    EXPECT_EQ(gf_archiveBase(false), "http://server/downloads/MSFS2024/");
    EXPECT_EQ(gf_archiveBase(true), "http://server/downloads/MSFS/");
    DOWNLOAD_URL.value = DOWNLOAD_URL.defaultValue;
    MSFS_2020.value = MSFS_2020.defaultValue;
}

} // namespace
} // namespace orv
