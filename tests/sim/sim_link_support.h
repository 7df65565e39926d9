// Test support for the simulator link: a fixture that gives each test a folder, an open log, short sleeps and
// a clean link; records made by hand for the dispatch; and waits that end on a condition.
#pragma once

#include "core/clock.h"
#include "core/flags.h"
#include "app/lifecycle.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/sim_messages.h"
#include "sim/sim_session.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace orv::test {

/// Waits up to 20 s for a condition (the simulator and the exit run on their own threads).
template <typename F>
bool eventually(F&& CONDITION)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        if (CONDITION()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return CONDITION();
}

/// How often TEXT stands in the log.
inline int countInLog(const std::string& TEXT)
{
    const std::string log = readFile("Log.txt");
    int n = 0;
    for (auto at = log.find(TEXT); at != std::string::npos; at = log.find(TEXT, at + TEXT.size())) ++n;
    return n;
}

/// A record made by hand: header, fields and the data that follows.
struct Made {
    std::vector<char> bytes;
    template <typename T>
    T& as() { return *reinterpret_cast<T*>(bytes.data()); }
    void dispatchIt() { dispatch(reinterpret_cast<SIMCONNECT_RECV*>(bytes.data()), DWORD(bytes.size()), nullptr); }
};

template <typename T>
Made makeRecord(DWORD ID, std::size_t EXTRA = 0)
{
    Made m;
    m.bytes.assign(sizeof(T) + EXTRA, 0);
    m.as<T>().dwSize = static_cast<DWORD>(m.bytes.size());
    m.as<T>().dwID = ID;
    return m;
}

/// A data record (by object, or by type with BY_TYPE) of REQUEST whose block is DATA.
inline Made makeData(DWORD REQUEST, DWORD OBJECT, const std::string& DATA, bool BY_TYPE = false)
{
    Made m = makeRecord<SIMCONNECT_RECV_SIMOBJECT_DATA>(
        BY_TYPE ? SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE : SIMCONNECT_RECV_ID_SIMOBJECT_DATA, DATA.size());
    auto& d = m.as<SIMCONNECT_RECV_SIMOBJECT_DATA>();
    d.dwRequestID = REQUEST;
    d.dwObjectID = OBJECT;
    d.dwentrynumber = d.dwoutof = 1;
    std::memcpy(&d.dwData, DATA.data(), DATA.size());
    return m;
}

/// The bytes of VALUE, as a data block holds them.
template <typename T>
std::string bytesOf(T VALUE) { return std::string(reinterpret_cast<const char*>(&VALUE), sizeof VALUE); }

/// The by-type reply of an aircraft in range: height above ground, ground, on ground, ATC ID.
inline void inRangeReply(DWORD OBJECT, double AGL, double GROUND, std::int64_t ON_GROUND, const std::string& ATC_ID)
{
    std::string id = ATC_ID.substr(0, 31);
    id.resize(32, '\0');
    makeData(requestInRange, OBJECT, bytesOf(AGL) + bytesOf(GROUND) + bytesOf(ON_GROUND) + id, true).dispatchIt();
}

/// Every shared flag and list of the link back to a fresh process.
inline void resetLink()
{
    simRunning = secondDataReady = exitInProgress = userClosed = restartPending = false;
    simNotConnected = true;
    exitReason = NOT_YET_SET;
    gf_clearSimQueues();
    lf_initSimQueues();
    lf_resetDispatchState();
    std::vector<SimMessage> drained; // the messages of the test before
    gf_takeMessages(drained);
    gf_clearError();
    gf_clearStatus();
}

class LinkTest : public ::testing::Test {
protected:
    TempDir dir;
    std::vector<SimMessage> messages; ///< every message taken so far

    void SetUp() override
    {
        gf_resetParameters();
        MSFS_2020.value = true;
        gf_openLog("Log.txt");
        gf_installFinalExit(); // the link's restarts run the whole exit
        gf_installAnswers();   // the user aircraft's title and model reach their rules
        sleepScale = 0.001;
        resetLink();
    }
    void TearDown() override
    {
        gf_stopClientThread(true);
        EXPECT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
        sleepScale = 1.0;
        gf_closeLog();
        resetLink();
    }
    /// Takes the waiting messages into `messages`; answers those of KIND taken so far.
    std::vector<SimMessage> take(MessageKind KIND)
    {
        std::vector<SimMessage> now, out;
        gf_takeMessages(now);
        messages.insert(messages.end(), now.begin(), now.end());
        for (const auto& m : messages)
            if (m.kind == KIND) out.push_back(m);
        return out;
    }
};

} // namespace orv::test
