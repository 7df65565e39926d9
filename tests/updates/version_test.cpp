// Version texts: both formats, comparison, and the server's addresses.
#include "updates/downloads.h"

#include "core/parameters.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace orv {
namespace {

/// The version TEXT gives, or the kind of exception it throws.
std::string parsed(const char* TEXT)
{
    try {
        return gf_versionText(gf_parseVersion(TEXT));
    } catch (const nlohmann::json::parse_error&) {
        return "parse_error";
    } catch (const nlohmann::json::type_error&) {
        return "type_error";
    } catch (const std::out_of_range&) {
        return "out_of_range";
    }
}

TEST(Version, TextsInEitherFormatAndTheirComparison)
{
    const std::pair<const char*, const char*> cases[] = {
        {"10.9.3", "10.9.3"}, {R"({"major":10,"minor":9,"patch":3})", "10.9.3"}, {R"({ "patch": 3, "minor": 9, "major": 10 })", "10.9.3"},
        {"10-9_3", "10.9.3"}, {R"({"major":10.7,"minor":9.2,"patch":3.99})", "10.9.3"}, {"", "0.0.0"}, {"10.10.0", "10.10.0"},
        {"{", "parse_error"}, // the first line of a pretty-printed object
        {"ten", "parse_error"}, {"10.9", "type_error"}, {R"({"major":"10","minor":9,"patch":3})", "type_error"},
        {"99999999999.1.1", "out_of_range"}, {R"({"major":1e12,"minor":9,"patch":3})", "out_of_range"},
    };
    for (const auto& [text, version] : cases) EXPECT_EQ(parsed(text), version) << text;
    EXPECT_EQ(runningVersion, (Version{10, 9, 3}));
    for (const Version newer : {Version{10, 10, 0}, {10, 9, 4}, {11, 0, 0}}) EXPECT_TRUE(gf_isNewer(newer, runningVersion));
    for (const Version older : {Version{10, 9, 3}, {9, 99, 99}, {10, 8, 99}}) EXPECT_FALSE(gf_isNewer(older, runningVersion));
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
