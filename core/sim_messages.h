// The mailbox from the simulator's dispatch (client thread) to the engine
// (main thread). The dispatch posts; the engine drains once per pass.
#pragma once

#include <cstdint>
#include <vector>

namespace orv {

enum class MessageKind : std::int32_t {
    liveCreated = 0,   ///< a live object exists
    staticCreated = 1, ///< a static object exists
    removed = 2,       ///< object removed
    groundData = 3,    ///< id is the SIM ON GROUND value; ground altitude, height above ground
    staticData = 4,    ///< Static CG to Ground, Static Pitch
    block = 5,         ///< block this hexid
    createFailed = 6,
};

struct SimMessage {
    std::uint32_t objectId = 0;
    std::uint32_t id = 0; ///< hexid, static number, or the message's own value
    MessageKind kind = MessageKind::liveCreated;
    double value1 = 0;
    double value2 = 0;
};

/// Guarded by messageLock.
extern std::vector<SimMessage> simMessages;

/// Any thread: appends under messageLock.
void gf_postMessage(const SimMessage& MESSAGE);
/// Main thread: takes every waiting message out, in order, under messageLock.
void gf_takeMessages(std::vector<SimMessage>& INTO);

} // namespace orv
