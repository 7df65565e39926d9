// The service's sessions, paces and parameter checks, on the test's clock.
#include <regex>

#include "service_test_support.h"

namespace orv::test {
namespace {

TEST(ServiceSessions, LoginHandsOutGuidPacesAndServer)
{
    ServiceDriver d;
    const auto answer = d.postJson("/v4/auth", "license=KEY1&software=TAVO_10.9.3");
    EXPECT_EQ(answer["status"], 200);
    EXPECT_EQ(answer["rrl"], d.state.setup.rrlMs);
    EXPECT_EQ(answer["wrrl"], d.state.setup.wrrlMs);
    EXPECT_EQ(answer["server"], d.state.setup.serverName);
    const std::regex guid("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(answer["GUID"].get<std::string>(), guid)) << answer["GUID"];
}

TEST(ServiceSessions, OneSessionPerLicence)
{
    ServiceDriver d;
    const std::string first = d.login("KEY1");
    d.now += 5;
    EXPECT_EQ(d.postJson("/v4/auth", "license=KEY1&software=TAVO_1")["status"], 405);
    // Another licence is not hindered.
    EXPECT_FALSE(d.login("KEY2").empty());
    d.now += 5;
    EXPECT_EQ(d.postJson("/v4/deauth", "GUID=" + first)["status"], 200);
    d.now += 5;
    EXPECT_NE(d.login("KEY1"), first);
}

TEST(ServiceSessions, LoginWithinTwoSecondsOfTheLastContactIsTooSoon)
{
    ServiceDriver d;
    const std::string guid = d.login();
    d.now += 10;
    ASSERT_EQ(d.postJson("/v4/deauth", "GUID=" + guid)["status"], 200);
    d.now += 1.9;
    EXPECT_EQ(d.postJson("/v4/auth", "license=KEY1&software=T")["status"], 406);
    d.now += 2.0;
    EXPECT_EQ(d.postJson("/v4/auth", "license=KEY1&software=T")["status"], 200);
    EXPECT_EQ(d.state.counters.paceViolations, 1u);
}

TEST(ServiceSessions, UnknownGuidIsNoSessionAndMissingGuidAParameterFault)
{
    ServiceDriver d;
    d.login();
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody("empty GUID?"))["status"], 401);
    EXPECT_EQ(d.postJson("/v4/deauth", "GUID=nonsense")["status"], 401);
    EXPECT_EQ(d.postJson("/v4/weather", "querytype=locwx&toffset=0&lat=1&lon=1&alt=0&airports=")["status"], 400);
}

TEST(ServiceSessions, LicenceListRefusesOthersAndUnusedSessionsExpire)
{
    ServiceDriver d;
    d.state.setup.licences = {"GOOD"};
    EXPECT_EQ(d.postJson("/v4/auth", "license=BAD&software=T")["status"], 404);
    const std::string guid = d.login("GOOD");
    d.now += d.state.setup.sessionTimeoutSeconds + 1;
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid))["status"], 401);
    EXPECT_FALSE(d.login("GOOD").empty());
}

TEST(ServicePaces, TrafficInsideRrlGetsSlowDownAndKeepsNoPace)
{
    ServiceDriver d;
    const std::string guid = d.login();
    d.now += 3;
    const auto first = d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid));
    EXPECT_EQ(first["status"], 200);
    EXPECT_EQ(first["rrl"], 2000);
    d.now += 1.999;
    const auto early = d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid));
    EXPECT_EQ(early["status"], 406);
    EXPECT_FALSE(early.contains("rrl"));
    // The refused request counts as the last one: the pace runs from it.
    d.now += 1.5;
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid))["status"], 406);
    d.now += 2.0;
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid))["status"], 200);
    EXPECT_EQ(d.state.counters.paceViolations, 2u);
}

TEST(ServicePaces, WeatherClassSharesWrrlAndIsApartFromTraffic)
{
    ServiceDriver d;
    const std::string guid = d.login();
    d.now += 3;
    const std::string metar = "GUID=" + guid + "&toffset=0&lat=52.3000&lon=4.7600";
    EXPECT_EQ(d.postJson("/v4/nearestmetar", metar)["status"], 200);
    // Traffic right after weather is fine: separate classes.
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid))["status"], 200);
    d.now += 2.9;
    EXPECT_EQ(d.postJson("/v4/weather", ServiceDriver::weatherBody(guid))["status"], 406);
    d.now += 3.0;
    const auto weather = d.postJson("/v4/weather", ServiceDriver::weatherBody(guid));
    EXPECT_EQ(weather["status"], 200);
    EXPECT_EQ(weather["wrrl"], 3000);
}

TEST(ServicePaces, ParkedTrafficHasItsOwnPace)
{
    ServiceDriver d;
    const std::string guid = d.login();
    d.now += 3;
    const std::string parked =
        "GUID=" + guid + "&top=53.00&bottom=52.00&left=4.00&right=5.00&querytype=parkedtraffic&toffset=0";
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid))["status"], 200);
    EXPECT_EQ(d.postJson("/v4/traffic", parked)["status"], 200);
    d.now += 0.5;
    EXPECT_EQ(d.postJson("/v4/traffic", parked)["status"], 406);
}

TEST(ServicePaces, EnforcedPaceIsTheOneLastHandedToTheSession)
{
    ServiceDriver d;
    const std::string guid = d.login();
    d.now += 3;
    ASSERT_EQ(d.post("/control/set", "rrl=5000").httpStatus, 200);
    // The session still holds 2000 until an answer hands it 5000.
    const auto answer = d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid));
    EXPECT_EQ(answer["rrl"], 5000);
    d.now += 2.5;
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid))["status"], 406);
}

struct BadRequest {
    const char* path;
    const char* body; ///< "{}" stands for the GUID
};

void PrintTo(const BadRequest& REQUEST, std::ostream* OUT) { *OUT << REQUEST.path << " " << REQUEST.body; }

class ServiceParameterFaults : public ::testing::TestWithParam<BadRequest> {};

TEST_P(ServiceParameterFaults, AnswerStatus400)
{
    ServiceDriver d;
    const std::string guid = d.login();
    d.now += 10;
    std::string body = GetParam().body;
    if (const auto at = body.find("{}"); at != std::string::npos) body.replace(at, 2, guid);
    EXPECT_EQ(d.postJson(GetParam().path, body)["status"], 400) << body;
}

INSTANTIATE_TEST_SUITE_P(
    Table, ServiceParameterFaults,
    ::testing::Values(
        BadRequest{"/v4/auth", "software=TAVO_1"}, BadRequest{"/v4/auth", "license=K2"},
        BadRequest{"/v4/traffic", "GUID={}&top=53&bottom=52&left=4&querytype=locationtraffic&toffset=0"},
        BadRequest{"/v4/traffic", "GUID={}&top=51&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=0"},
        BadRequest{"/v4/traffic", "GUID={}&top=53&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=-1"},
        BadRequest{"/v4/traffic", "GUID={}&top=53&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=40321"},
        BadRequest{"/v4/traffic", "GUID={}&top=53&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=1.5"},
        BadRequest{"/v4/traffic", "GUID={}&top=53&bottom=52&left=4&right=5&querytype=everything&toffset=0"},
        BadRequest{
            "/v4/traffic",
            "GUID={}&top=53&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=0&buffercount=0&buffertime=6"},
        BadRequest{"/v4/traffic",
                   "GUID={}&top=53&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=0&buffercount=5"},
        BadRequest{"/v4/traffic", "GUID={}&top=x&bottom=52&left=4&right=5&querytype=locationtraffic&toffset=0"},
        BadRequest{"/v4/nearestmetar", "GUID={}&toffset=0&lat=95&lon=4"},
        BadRequest{"/v4/nearestmetar", "GUID={}&toffset=0&lat=52"},
        BadRequest{"/v4/weather", "GUID={}&querytype=wx&toffset=0&lat=52&lon=4&alt=0&airports="},
        BadRequest{"/v4/weather", "GUID={}&querytype=locwx&toffset=0&lat=52&lon=4&alt=0"}));

TEST(ServiceWeather, NearestStationAndQnhAsConfigured)
{
    ServiceDriver d;
    d.state.setup.qnh = "29.92";
    d.state.setup.station = "EGLL";
    const std::string guid = d.login();
    d.now += 3;
    const auto metar = d.postJson("/v4/nearestmetar", "GUID=" + guid + "&toffset=0&lat=51.4700&lon=-0.4500");
    ASSERT_EQ(metar["data"].size(), 1u);
    EXPECT_EQ(metar["data"][0]["ICAO"], "EGLL");
    d.now += 3;
    // An empty airports value is allowed and answered for the nearest station.
    const auto weather =
        d.postJson("/v4/weather", "GUID=" + guid + "&querytype=locwx&toffset=0&lat=51.4&lon=-0.4&alt=0&airports=");
    EXPECT_EQ(weather["data"]["QNH"], "29.92");
    EXPECT_EQ(weather["data"]["ICAO"], "EGLL");
    d.state.setup.station.clear();
    d.now += 3;
    EXPECT_TRUE(d.postJson("/v4/nearestmetar", "GUID=" + guid + "&toffset=0&lat=51.47&lon=-0.45")["data"].empty());
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
