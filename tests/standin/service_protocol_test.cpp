// The service's sessions, paces and parameter checks, on the test's clock. What
// a login hands out and the weather it answers are shown by the feed's tests.
#include "service_test_support.h"

namespace orv::test {
namespace {

const std::string kWeather = "&querytype=locwx&toffset=0&lat=52.3000&lon=4.7600&alt=1200&airports=EHAM";
const std::string kMetar = "&toffset=0&lat=52.3000&lon=4.7600";

TEST(ServiceSessions, OneSessionPerListedLicenceAndNoLoginWithinTwoSeconds)
{
    ServiceDriver d;
    d.state.setup.licences = {"KEY1", "KEY2"};
    EXPECT_EQ(d.status("/v4/auth", "license=BAD&software=T"), 404);
    const std::string first = d.login("KEY1");
    d.now += 5;
    EXPECT_EQ(d.status("/v4/auth", "license=KEY1&software=T"), 405);
    EXPECT_FALSE(d.login("KEY2").empty()); // another licence is not hindered
    d.now += 5;
    EXPECT_EQ(d.status("/v4/deauth", "GUID={}", first), 200);
    d.now += 1.9;
    EXPECT_EQ(d.status("/v4/auth", "license=KEY1&software=T"), 406); // counts as the last contact too
    d.now += 2.0;
    EXPECT_NE(d.login("KEY1"), first);
    EXPECT_EQ(d.state.counters.paceViolations, 1u);
}

TEST(ServiceSessions, UnknownAndIdleSessionsAreGoneAndAMissingGuidIsAParameterFault)
{
    ServiceDriver d;
    const std::string guid = d.login();
    EXPECT_EQ(d.status("/v4/traffic", ServiceDriver::trafficBody("nonsense")), 401);
    EXPECT_EQ(d.status("/v4/deauth", "GUID=nonsense"), 401);
    EXPECT_EQ(d.status("/v4/weather", kWeather), 400);
    d.now += d.state.setup.sessionTimeoutSeconds + 1;
    EXPECT_EQ(d.status("/v4/traffic", ServiceDriver::trafficBody(guid)), 401);
    EXPECT_FALSE(d.login().empty());
}

TEST(ServicePaces, EachClassKeepsItsPaceAndARefusedRequestCountsAsItsLast)
{
    ServiceDriver d;
    const std::string guid = d.login(), traffic = ServiceDriver::trafficBody(guid);
    d.now += 3;
    EXPECT_EQ(d.answer("/v4/traffic", traffic)["rrl"], 2000);
    // Parked traffic and weather are classes of their own.
    EXPECT_EQ(d.status("/v4/traffic", "GUID={}&top=53&bottom=52&left=4&right=5&querytype=parkedtraffic&toffset=0",
                       guid), 200);
    EXPECT_EQ(d.status("/v4/nearestmetar", "GUID={}" + kMetar, guid), 200);
    d.now += 1.999;
    const auto early = d.answer("/v4/traffic", traffic);
    EXPECT_EQ(early["status"], 406);
    EXPECT_FALSE(early.contains("rrl"));
    EXPECT_EQ(d.status("/v4/weather", "GUID={}" + kWeather, guid), 406); // the pace of nearestmetar
    d.now += 1.5;
    EXPECT_EQ(d.status("/v4/traffic", traffic), 406);
    d.now += 2.0;
    EXPECT_EQ(d.status("/v4/traffic", traffic), 200);
    EXPECT_EQ(d.answer("/v4/weather", "GUID=" + guid + kWeather)["wrrl"], 3000);
    EXPECT_EQ(d.state.counters.paceViolations, 3u);
    // The pace enforced is the one last handed to the session.
    ASSERT_EQ(d.post("/control/set", "rrl=5000").httpStatus, 200);
    d.now += 2.0;
    EXPECT_EQ(d.answer("/v4/traffic", traffic)["rrl"], 5000);
    d.now += 2.5;
    EXPECT_EQ(d.status("/v4/traffic", traffic), 406);
}

TEST(ServiceParameters, FaultyRequestsAreAnswered400)
{
    ServiceDriver d;
    const std::string guid = d.login(), box = "GUID={}&top=53&bottom=52&left=4&right=5&querytype=locationtraffic";
    const std::pair<const char*, std::string> cases[] = {
        {"/v4/auth", "software=TAVO_1"},
        {"/v4/auth", "license=K2"},
        {"/v4/traffic", "GUID={}&top=53&bottom=52&left=4&querytype=locationtraffic&toffset=0"},
        {"/v4/traffic", "GUID={}&top=51&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=0"},
        {"/v4/traffic", "GUID={}&top=x&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=0"},
        {"/v4/traffic", "GUID={}&top=53&bottom=52&left=4&right=5&querytype=everything&toffset=0"},
        {"/v4/traffic", box + "&toffset=-1"},
        {"/v4/traffic", box + "&toffset=40321"},
        {"/v4/traffic", box + "&toffset=1.5"},
        {"/v4/traffic", box + "&toffset=0&buffercount=0&buffertime=6"},
        {"/v4/traffic", box + "&toffset=0&buffercount=5"},
        {"/v4/nearestmetar", "GUID={}&toffset=0&lat=95&lon=4"},
        {"/v4/nearestmetar", "GUID={}&toffset=0&lat=52"},
        {"/v4/weather", "GUID={}&querytype=wx&toffset=0&lat=52&lon=4&alt=0&airports="},
        {"/v4/weather", "GUID={}&querytype=locwx&toffset=0&lat=52&lon=4&alt=0"},
    };
    for (const auto& [path, body] : cases) {
        d.now += 10; // outside every pace
        EXPECT_EQ(d.status(path, body, guid), 400) << path << " " << body;
    }
}

TEST(ServiceForm, DecodesPlusPercentAndKeepsLastDuplicate)
{
    const FormFields form = gf_parseForm("a=1&b=x+y%2Bz&a=2&flag&=e&c=%zz&d=%4");
    EXPECT_EQ(form.at("a"), "2");
    EXPECT_EQ(form.at("b"), "x y+z");
    EXPECT_EQ(form.at("flag"), "");
    EXPECT_EQ(form.at("c"), "%zz");
    EXPECT_EQ(form.at("d"), "%4");
    EXPECT_EQ(gf_formInteger(form, "a"), 2);
    EXPECT_FALSE(gf_formInteger(form, "b"));
    EXPECT_FALSE(gf_formDouble(form, "missing"));
}

} // namespace
} // namespace orv::test
