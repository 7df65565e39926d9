// Test support for the simulator link: a fixture that gives each test a
// folder, an open log, short sleeps and a clean link; records made by hand
// for the dispatch; and waits that end on a condition.
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
    SIMCONNECT_RECV* rec() { return reinterpret_cast<SIMCONNECT_RECV*>(bytes.data()); }
    DWORD size() const { return static_cast<DWORD>(bytes.size()); }
    void dispatchIt() { dispatch(rec(), size(), nullptr); }
};

template <typename T>
Made makeRecord(DWORD ID, std::size_t EXTRA = 0)
{
    Made m;
    m.bytes.assign(sizeof(T) + EXTRA, 0);
    auto& r = m.as<T>();
    r.dwSize = static_cast<DWORD>(m.bytes.size());
    r.dwID = ID;
    return m;
}

/// A data record whose block is DATA.
inline Made makeData(DWORD ID, DWORD REQUEST, DWORD OBJECT, const std::string& DATA)
{
    Made m = makeRecord<SIMCONNECT_RECV_SIMOBJECT_DATA>(ID, DATA.size());
    auto& d = m.as<SIMCONNECT_RECV_SIMOBJECT_DATA>();
    d.dwRequestID = REQUEST;
    d.dwObjectID = OBJECT;
    d.dwentrynumber = d.dwoutof = 1;
    std::memcpy(&d.dwData, DATA.data(), DATA.size());
    return m;
}

template <typename T>
void put(std::string& OUT, T VALUE)
{
    OUT.append(reinterpret_cast<const char*>(&VALUE), sizeof VALUE);
}

/// The by-type block of definition 404.
inline std::string inRangeBlock(double AGL, double GROUND, std::int64_t ON_GROUND, const std::string& ATC_ID)
{
    std::string b;
    put(b, AGL);
    put(b, GROUND);
    put(b, ON_GROUND);
    std::string id = ATC_ID.substr(0, 31);
    id.resize(32, '\0');
    return b + id;
}

inline Made makeEvent(DWORD EVENT, DWORD DATA)
{
    Made m = makeRecord<SIMCONNECT_RECV_EVENT>(SIMCONNECT_RECV_ID_EVENT);
    m.as<SIMCONNECT_RECV_EVENT>().uEventID = EVENT;
    m.as<SIMCONNECT_RECV_EVENT>().dwData = DATA;
    return m;
}

/// Every shared flag and list of the link back to a fresh process.
inline void resetLink()
{
    simRunning = false;
    secondDataReady = false;
    exitInProgress = false;
    userClosed = false;
    restartPending = false;
    simNotConnected = true;
    exitReason = NOT_YET_SET;
    gf_clearSimQueues();
    lf_initSimQueues();
    lf_resetDispatchState();
    std::vector<SimMessage> drained;
    gf_takeMessages(drained);
    gf_clearError();
    gf_clearStatus();
}

class LinkTest : public ::testing::Test {
protected:
    TempDir dir;

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
        {
            std::lock_guard lock(logMutex);
            logStream.close();
        }
        resetLink();
    }
    std::vector<SimMessage> messages;
    /// Takes the waiting messages into `messages`; answers how many there are of KIND.
    std::size_t take(MessageKind KIND)
    {
        std::vector<SimMessage> now;
        gf_takeMessages(now);
        messages.insert(messages.end(), now.begin(), now.end());
        std::size_t n = 0;
        for (const auto& m : messages)
            if (m.kind == KIND) ++n;
        return n;
    }
    std::vector<SimMessage> of(MessageKind KIND) const
    {
        std::vector<SimMessage> out;
        for (const auto& m : messages)
            if (m.kind == KIND) out.push_back(m);
        return out;
    }
};

} // namespace orv::test
