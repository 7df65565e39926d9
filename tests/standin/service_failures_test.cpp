// Failures on demand: their parsing, how they are counted off, and the
// answers they give.
#include "service_test_support.h"

#include "standin/service/failures.h"

namespace orv::test {
namespace {

TEST(ServiceFailureSpec, ParsesEveryField)
{
    const Failure f = gf_parseFailure("buffer:stall:3:2:1500");
    EXPECT_EQ(f.request, RequestKind::Buffer);
    EXPECT_EQ(f.kind, FailureKind::Stall);
    EXPECT_EQ(f.count, 3);
    EXPECT_EQ(f.after, 2);
    EXPECT_EQ(f.stallMs, 1500);
    const Failure g = gf_parseFailure("auth:405");
    EXPECT_EQ(g.kind, FailureKind::Status);
    EXPECT_EQ(g.status, 405);
    EXPECT_EQ(g.count, 1);
    EXPECT_EQ(g.after, 0);
}

TEST(ServiceFailureSpec, RefusesWhatIsNoFailure)
{
    for (const char* bad : {"traffic", "traffic:", "lunch:500", "traffic:99", "traffic:600", "traffic:500:x",
                            "traffic:500:-1", "traffic:500:1:0:5:9", "traffic:teapot"}) {
        EXPECT_THROW(gf_parseFailure(bad), std::invalid_argument) << bad;
    }
}

TEST(ServiceFailurePlan, AfterLetsRequestsThroughThenCountHits)
{
    FailurePlan plan;
    plan.failures.push_back(gf_parseFailure("traffic:500:2:1"));
    EXPECT_FALSE(gf_takeFailure(plan, RequestKind::Weather));
    EXPECT_FALSE(gf_takeFailure(plan, RequestKind::Traffic)); // let through
    EXPECT_TRUE(gf_takeFailure(plan, RequestKind::Traffic));
    EXPECT_TRUE(gf_takeFailure(plan, RequestKind::Traffic));
    EXPECT_FALSE(gf_takeFailure(plan, RequestKind::Traffic));
    EXPECT_TRUE(plan.failures.empty());
}

TEST(ServiceFailurePlan, CountZeroHitsUntilCleared)
{
    ServiceDriver d;
    ASSERT_EQ(d.post("/control/fail", "request=any&answer=403&count=0").httpStatus, 200);
    for (int i = 0; i < 5; ++i) {
        d.now += 10;
        EXPECT_EQ(d.postJson("/v4/nearestmetar", "GUID=x&toffset=0&lat=1&lon=1")["status"], 403);
    }
    ASSERT_EQ(d.post("/control/clear", "").httpStatus, 200);
    EXPECT_EQ(d.postJson("/v4/nearestmetar", "GUID=x&toffset=0&lat=1&lon=1")["status"], 401);
}

TEST(ServiceFailureAnswers, RefusedLoginsCarryTheirStatus)
{
    for (const int status : {402, 404, 405, 500, 400}) {
        ServiceDriver d;
        d.state.failures.failures.push_back(gf_parseFailure("auth:" + std::to_string(status)));
        const auto answer = d.postJson("/v4/auth", "license=K&software=T");
        EXPECT_EQ(answer["status"], status);
        EXPECT_FALSE(answer.contains("GUID"));
        EXPECT_TRUE(answer["message"].is_string());
        EXPECT_TRUE(d.state.sessions.empty());
    }
}

TEST(ServiceFailureAnswers, A401DropsTheSessionForBothReaders)
{
    ServiceDriver d;
    const std::string guid = d.login();
    d.state.failures.failures.push_back(gf_parseFailure("traffic:401"));
    d.now += 3;
    EXPECT_EQ(d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid))["status"], 401);
    d.now += 3;
    EXPECT_EQ(d.postJson("/v4/weather", ServiceDriver::weatherBody(guid))["status"], 401);
    EXPECT_EQ(d.postJson("/v4/deauth", "GUID=" + guid)["status"], 401);
}

TEST(ServiceFailureAnswers, TextStatusNotJsonEmptyAndStall)
{
    ServiceDriver d;
    const std::string guid = d.login();
    auto& plan = d.state.failures.failures;
    plan.push_back(gf_parseFailure("traffic:textstatus"));
    d.now += 3;
    const auto text = d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid));
    EXPECT_EQ(text["status"], "200");
    EXPECT_TRUE(text.contains("data"));

    plan.push_back(gf_parseFailure("traffic:notjson"));
    d.now += 3;
    const auto page = d.post("/v4/traffic", ServiceDriver::trafficBody(guid));
    EXPECT_FALSE(nlohmann::json::accept(page.body));
    EXPECT_EQ(page.apiStatus, 0);

    plan.push_back(gf_parseFailure("traffic:empty"));
    d.now += 3;
    EXPECT_TRUE(d.post("/v4/traffic", ServiceDriver::trafficBody(guid)).body.empty());

    plan.push_back(gf_parseFailure("traffic:stall:1:0:250"));
    d.now += 3;
    const auto held = d.post("/v4/traffic", ServiceDriver::trafficBody(guid));
    EXPECT_TRUE(held.stall);
    EXPECT_EQ(held.stallMs, 250);
    EXPECT_EQ(answerJson(held)["status"], 200);
}

TEST(ServiceFailureAnswers, CustomBodyIsAnsweredAsItIs)
{
    ServiceDriver d;
    ASSERT_EQ(d.post("/control/fail", "request=auth&answer=custom&body=%7B%22status%22%3A200%7D").httpStatus, 200);
    const auto answer = d.post("/v4/auth", "license=K&software=T");
    EXPECT_EQ(answer.body, R"({"status":200})");
    EXPECT_EQ(answer.apiStatus, 200);
    EXPECT_TRUE(d.state.sessions.empty()) << "the custom answer stands in for the login";
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
    const auto state = d.postJson("/control/state", "");
    EXPECT_EQ(state["sessions"].size(), 1u);
    EXPECT_EQ(state["logins"], 1);
    ASSERT_EQ(d.post("/control/drop", "").httpStatus, 200);
    EXPECT_TRUE(d.state.sessions.empty());
}

} // namespace
} // namespace orv::test
