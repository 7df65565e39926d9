// The publication of the traffic page's snapshot and the aircraft's stories,
// on the main thread. The snapshot is built whole and then swapped in under
// snapshotMutex; the stories are written under storyMutex. Both are leaf
// locks, held for a pointer copy or a few appends, never while logging.
#include "ui/traffic_view.h"

#include "core/log.h"
#include "core/recent_log.h"
#include "core/user_position.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "traffic/engine.h"
#include "traffic/parking_calls.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace orv {

std::vector<StandMark> (*trafficStands)() = [] { return std::vector<StandMark>(); };

namespace {

/// What the publication remembers of an aircraft, to tell its changes.
struct Story {
    std::deque<std::string> lines; ///< at most storyLines
    std::uint64_t lastSeen = 0;    ///< the publication that last saw the aircraft
    std::string phase, livery;
};

std::mutex snapshotMutex; ///< guards snapshot (the pointer); a leaf lock
std::shared_ptr<const TrafficSnapshot> snapshot = std::make_shared<TrafficSnapshot>();
std::mutex storyMutex; ///< guards stories; a leaf lock
std::unordered_map<std::uint32_t, Story> stories;
std::uint64_t publications = 0; ///< main thread
std::uint64_t nextLogLine = 1;  ///< main thread: the first log line not yet sorted

/// Names shorter than this are codes of airlines and types, not of one aircraft.
constexpr std::size_t shortestName = 4;
/// A story not seen for ten minutes of publications goes.
constexpr std::uint64_t storyLifePublications = 10 * 60 * 100 / publishEveryPasses;

AircraftView lf_view(const ActCore& RECORD)
{
    AircraftView v;
    v.hexid = RECORD.hexid;
    v.callsign = RECORD.callsign;
    v.icaoType = RECORD.icaoType;
    v.airline = RECORD.airline;
    v.regcode = RECORD.regcode;
    v.origin = RECORD.origin;
    v.destination = RECORD.destination;
    v.livery = RECORD.livery;
    v.matchStep = RECORD.matchStep;
    v.objectId = RECORD.objectId;
    if (RECORD.standId != 0) v.stand = parkingCalls.standName(RECORD.standId);
    return v;
}

AircraftView lf_liveView(const act& RECORD)
{
    AircraftView v = lf_view(RECORD);
    v.phase = gf_phaseText(RECORD);
    v.lat = RECORD.lat;
    v.lon = RECORD.lon;
    v.headingDeg = std::fmod(RECORD.heading * radToDeg + 360.0, 360.0);
    v.altitudeFt = RECORD.altitude;
    v.speedKt = std::abs(RECORD.speedOut);
    v.onGround = RECORD.onGround;
    return v;
}

AircraftView lf_staticView(const StaticAct& RECORD)
{
    AircraftView v = lf_view(RECORD);
    v.live = false;
    v.phase = "parked";
    v.lat = RECORD.standPos.lat;
    v.lon = RECORD.standPos.lon;
    v.headingDeg = std::fmod(RECORD.standHeading * radToDeg + 360.0, 360.0);
    v.onGround = true;
    return v;
}

void lf_append(Story& STORY, std::string LINE)
{
    if (STORY.lines.size() >= storyLines) STORY.lines.pop_front();
    STORY.lines.push_back(std::move(LINE));
}

std::string lf_matchText(std::int32_t STEP) { return STEP < 0 ? std::string("=again=") : fmt::format("={}=", STEP); }

/// The changes of one aircraft since the last publication, into its story.
void lf_followChanges(const AircraftView& VIEW, const std::string& NOW)
{
    Story& story = stories[VIEW.hexid];
    if (story.lastSeen == 0) lf_append(story, fmt::format("{} seen: {}", NOW, VIEW.phase));
    else if (story.phase != VIEW.phase) lf_append(story, fmt::format("{} {} -> {}", NOW, story.phase, VIEW.phase));
    if (story.livery != VIEW.livery && !VIEW.livery.empty())
        lf_append(story, fmt::format("{} livery {} {}", NOW, lf_matchText(VIEW.matchStep), VIEW.livery));
    story.phase = VIEW.phase;
    story.livery = VIEW.livery;
    story.lastSeen = publications;
}

/// Splits a log line into the words that could name an aircraft.
template <typename EACH>
void lf_words(std::string_view LINE, EACH&& EACH_WORD)
{
    constexpr std::string_view separators = " \t,;:()[]{}\"'=/<>";
    std::size_t at = 0;
    while (at < LINE.size()) {
        const std::size_t start = LINE.find_first_not_of(separators, at);
        if (start == std::string_view::npos) return;
        const std::size_t end = std::min(LINE.find_first_of(separators, start), LINE.size());
        if (end - start >= shortestName) EACH_WORD(LINE.substr(start, end - start));
        at = end;
    }
}

/// The new log lines into the stories of the aircraft they name by callsign or registration.
void lf_sortLogLines(const std::vector<std::string>& LINES, const std::vector<AircraftView>& AIRCRAFT,
                     const std::string& NOW)
{
    if (LINES.empty()) return;
    std::unordered_map<std::string_view, std::uint32_t> names;
    for (const AircraftView& v : AIRCRAFT) {
        std::string_view callsign = v.callsign;
        while (callsign.ends_with('_')) callsign.remove_suffix(1); // a ghost is still the same aircraft
        if (callsign.size() >= shortestName) names.emplace(callsign, v.hexid);
        if (v.regcode.size() >= shortestName) names.emplace(v.regcode, v.hexid);
    }
    if (names.empty()) return;
    std::vector<std::uint32_t> named;
    for (const std::string& line : LINES) {
        named.clear();
        lf_words(line, [&](std::string_view WORD) {
            const auto found = names.find(WORD);
            if (found != names.end() && std::find(named.begin(), named.end(), found->second) == named.end())
                named.push_back(found->second);
        });
        for (std::uint32_t hexid : named) lf_append(stories[hexid], fmt::format("{} | {}", NOW, line));
    }
}

/// Stories of aircraft long gone, and the oldest gone ones beyond the limit, are dropped.
void lf_dropOldStories()
{
    std::erase_if(stories, [](const auto& ENTRY) { return publications - ENTRY.second.lastSeen > storyLifePublications; });
    if (stories.size() <= storiesKept) return;
    std::vector<std::pair<std::uint64_t, std::uint32_t>> byAge;
    for (const auto& [hexid, story] : stories) byAge.emplace_back(story.lastSeen, hexid);
    std::sort(byAge.begin(), byAge.end());
    for (std::size_t k = 0; k < byAge.size() - storiesKept; ++k) stories.erase(byAge[k].second);
}

} // namespace

std::string gf_phaseText(const act& RECORD)
{
    switch (RECORD.state) {
    case ActState::waiting: return "waiting";
    case ActState::creating: return "creating";
    case ActState::recreating: return "recreating";
    case ActState::removing: return "removing";
    case ActState::active: break;
    }
    switch (RECORD.phase) {
    case Phase::pushBack: return "push-back";
    case Phase::pushedBack: return "pushed back";
    case Phase::moving: return RECORD.rollout ? "rollout" : "taxi";
    case Phase::takingOff: return "take-off";
    case Phase::flying: return RECORD.landing ? "landing" : "air";
    case Phase::taxiToStand: return "taxi to stand";
    case Phase::atStand: return "at stand";
    case Phase::unset: break;
    }
    return "new";
}

namespace {

void lf_publish()
{
    auto next = std::make_shared<TrafficSnapshot>();
    next->number = ++publications;
    next->userKnown = !gf_isNoPosition(ownPosition.lat, ownPosition.lon);
    next->userLat = ownPosition.lat;
    next->userLon = ownPosition.lon;
    next->userHeadingDeg = std::fmod(ownPosition.headingRad * radToDeg + 360.0, 360.0);
    next->rangeNm = rangeNm;
    next->parkCode = gf_parkDisplay().code;
    next->stands = trafficStands();
    next->aircraft.reserve(liveList.size() + staticList.size());
    for (const act& record : liveList)
        if (!record.eraseNow) next->aircraft.push_back(lf_liveView(record));
    for (const StaticAct& record : staticList) next->aircraft.push_back(lf_staticView(record));

    const std::string now = gf_timeOfDay();
    // Taken before storyMutex: the log's lock is never held inside it.
    std::vector<std::string> lines;
    nextLogLine = gf_recentLogLines(nextLogLine, lines);
    {
        std::lock_guard lock(storyMutex);
        for (const AircraftView& v : next->aircraft) lf_followChanges(v, now);
        lf_sortLogLines(lines, next->aircraft, now);
        lf_dropOldStories();
    }
    std::shared_ptr<const TrafficSnapshot> old;
    {
        std::lock_guard lock(snapshotMutex);
        old = std::exchange(snapshot, std::move(next));
    }
    // The old snapshot is freed here, outside the lock, unless a page still reads it.
}

} // namespace

void gf_publishTraffic()
{
    try {
        lf_publish();
    } catch (const std::exception& e) {
        // The map stays as it was; the engine goes on.
        gf_log(fmt::format("! gf_publishTraffic exception {}", e.what()));
    }
}

std::shared_ptr<const TrafficSnapshot> gf_trafficSnapshot()
{
    std::lock_guard lock(snapshotMutex);
    return snapshot;
}

std::vector<std::string> gf_storyOf(std::uint32_t HEXID)
{
    std::lock_guard lock(storyMutex);
    const auto found = stories.find(HEXID);
    if (found == stories.end()) return {};
    return {found->second.lines.begin(), found->second.lines.end()};
}

void gf_resetTrafficView()
{
    {
        std::lock_guard lock(storyMutex);
        stories.clear();
    }
    std::lock_guard lock(snapshotMutex);
    snapshot = std::make_shared<TrafficSnapshot>();
}

} // namespace orv
