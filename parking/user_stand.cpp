// The stand under the user's aircraft. The simulator link asks it on its own
// thread, the window and the feed read it too, so it is answered from a copy
// of the stands' names and positions that the main thread publishes whenever
// the stand table is loaded or emptied, never from the table itself. The
// copy, the last answer and the stand the link remembered share one lock, a
// leaf: nothing else is taken while it is held.
#include "parking/parking.h"
#include "parking/stands.h"

#include <mutex>

namespace orv {

namespace {

/// The user's aircraft is on a stand within this distance, nautical miles (55 m).
constexpr double userStandNm = 0.029697624190064796;

struct StandSpot {
    std::string name;
    LatLon pos;
};

std::mutex userStandMutex;        ///< guards the four values below
std::vector<StandSpot> standSpots; ///< written by the main thread (lf_publishStandSpots)
LatLon lastPosition{-1000, -1000};
std::string lastStand;
std::string storedUserStand;      ///< written by the simulator link's thread, taken by the main thread

} // namespace

void lf_publishStandSpots()
{
    std::vector<StandSpot> spots;
    spots.reserve(standTable.size());
    for (const Stand& stand : standTable) spots.push_back({stand.name, {stand.lat, stand.lon}});
    const std::lock_guard lock(userStandMutex);
    standSpots = std::move(spots);
    lastPosition = {-1000, -1000};
    lastStand.clear();
}

std::string gf_userStand(const UserPosition& POSITION)
{
    if (!POSITION.onGround) return {};
    const std::lock_guard lock(userStandMutex);
    if (standSpots.empty()) return {};
    if (POSITION.lat == lastPosition.lat && POSITION.lon == lastPosition.lon) return lastStand;
    double nearest = userStandNm;
    std::string found;
    for (const StandSpot& spot : standSpots) {
        const double distance = gf_distanceNm({POSITION.lat, POSITION.lon}, spot.pos);
        if (distance > nearest) continue;
        nearest = distance;
        found = spot.name;
    }
    lastPosition = {POSITION.lat, POSITION.lon};
    lastStand = found;
    return found;
}

void gf_storeUserStand(const std::string& STAND)
{
    const std::lock_guard lock(userStandMutex);
    storedUserStand = STAND;
}

std::string lf_takeStoredUserStand()
{
    const std::lock_guard lock(userStandMutex);
    return std::exchange(storedUserStand, std::string());
}

} // namespace orv
