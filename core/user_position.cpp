// The engine's and the readers' copies of the user position.
#include "core/user_position.h"

namespace orv {

UserPosition ownPosition;
UserPosition rtPosition;
std::mutex rtPositionMutex;

void gf_publishRtPosition()
{
    std::lock_guard lock(rtPositionMutex);
    rtPosition = ownPosition;
}

UserPosition gf_rtPosition()
{
    std::lock_guard lock(rtPositionMutex);
    return rtPosition;
}

} // namespace orv
