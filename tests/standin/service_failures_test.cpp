// Failures on demand: their parsing, how they are counted off, the status
// answers on every path, and the control path. How the other kinds of answer
// (text status, no JSON, empty, custom, held back) reach a client is shown by
// the feed's tests against this service and by service_http_test.cpp.
#include "service_test_support.h"

#include "standin/service/failures.h"
#include "standin/service/service_paths.h"

namespace orv::test {
namespace {

TEST(ServiceFailures, SpecsAreParsedOrRefused)
{
    const Failure f = gf_parseFailure("buffer:stall:3:2:1500");
    EXPECT_EQ(f.request, RequestKind::Buffer);
    EXPECT_EQ(f.kind, FailureKind::Stall);
    EXPECT_EQ(f.count, 3);
    EXPECT_EQ(f.after, 2);
    EXPECT_EQ(f.stallMs, 1500);
    EXPECT_EQ(gf_parseFailure("auth:405").status, 405);
    for (const char* bad : {"traffic", "traffic:", "lunch:500", "traffic:99", "traffic:600", "traffic:500:x",
                            "traffic:500:-1", "traffic:500:1:0:5:9", "traffic:teapot"}) {
        EXPECT_THROW(gf_parseFailure(bad), std::invalid_argument) << bad;
    }
}

TEST(ServiceFailures, AfterLetsRequestsThroughAndCountZeroHitsUntilCleared)
{
    FailurePlan plan;
    plan.failures.push_back(gf_parseFailure("traffic:500:2:1"));
    EXPECT_FALSE(gf_takeFailure(plan, RequestKind::Weather));
    EXPECT_FALSE(gf_takeFailure(plan, RequestKind::Traffic)); // let through
    EXPECT_TRUE(gf_takeFailure(plan, RequestKind::Traffic));
    EXPECT_TRUE(gf_takeFailure(plan, RequestKind::Traffic));
    EXPECT_FALSE(gf_takeFailure(plan, RequestKind::Traffic));
    EXPECT_TRUE(plan.failures.empty());
    ServiceDriver d;
    ASSERT_EQ(d.post("/control/fail", "request=any&answer=403&count=0").httpStatus, 200);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(d.status("/v4/nearestmetar", "GUID=x&toffset=0&lat=1&lon=1"), 403);
    ASSERT_EQ(d.post("/control/clear", "").httpStatus, 200);
    EXPECT_EQ(d.status("/v4/nearestmetar", "GUID=x&toffset=0&lat=1&lon=1"), 401);
}

TEST(ServiceFailures, EveryKindOfRequestIsAnsweredWithTheStatusAimedAtIt)
{
    const std::string box = "GUID={}&top=53&bottom=52&left=4&right=5&toffset=0&querytype=";
    const std::tuple<const char*, const char*, std::string> requests[] = {
        {"auth", "/v4/auth", "license=KEY2&software=T"},
        {"deauth", "/v4/deauth", "GUID={}"},
        {"nearestmetar", "/v4/nearestmetar", "GUID={}&toffset=0&lat=52&lon=4"},
        {"weather", "/v4/weather", "GUID={}&querytype=locwx&toffset=0&lat=52&lon=4&alt=0&airports="},
        {"traffic", "/v4/traffic", box + "locationtraffic"},
        {"buffer", "/v4/traffic", box + "locationtraffic&buffercount=5&buffertime=6"},
        {"parked", "/v4/traffic", box + "parkedtraffic"},
        {"any", "/v4/traffic", box + "locationtraffic"},
    };
    for (const auto& [kind, path, body] : requests) {
        for (const int status : {400, 401, 402, 403, 404, 405, 406, 500, 503}) {
            ServiceDriver d;
            const std::string guid = d.login();
            d.now += 10;
            d.state.failures.failures.push_back(gf_parseFailure(std::string(kind) + ":" + std::to_string(status)));
            // The status and its message, nothing else; no new session, and a 401 drops the one there was.
            EXPECT_EQ(d.answer(path, body, guid), gf_statusAnswer(status)) << kind;
            EXPECT_TRUE(d.state.failures.failures.empty()) << kind << " " << status;
            EXPECT_EQ(d.state.sessions.size(), status == 401 && std::string(kind) != "auth" ? 0u : 1u) << kind;
        }
    }
}

TEST(ServiceControl, RefusesBadValuesAndReportsState)
{
    ServiceDriver d;
    EXPECT_EQ(d.post("/control/fail", "request=traffic&answer=lunch").httpStatus, 400);
    EXPECT_EQ(d.post("/control/set", "rrl=0").httpStatus, 400);
    EXPECT_EQ(d.post("/control/set", "qnh=%7Bbroken").httpStatus, 400);
    EXPECT_EQ(d.post("/control/nothing", "").httpStatus, 404);
    ASSERT_EQ(d.post("/control/set", "qnh=%221013%22&station=LFPG&wrrl=2500").httpStatus, 200);
    EXPECT_EQ(d.state.setup.qnh, "1013");
    EXPECT_EQ(d.state.setup.station, "LFPG");
    EXPECT_EQ(d.state.setup.wrrlMs, 2500);
    d.login();
    const auto state = d.answer("/control/state", "");
    EXPECT_EQ(state["sessions"].size(), 1u);
    EXPECT_EQ(state["logins"], 1);
    ASSERT_EQ(d.post("/control/drop", "").httpStatus, 200);
    EXPECT_TRUE(d.state.sessions.empty());
}

} // namespace
} // namespace orv::test
