// The park airport as the feed sees it.
#include "feed/park_view.h"

#include <mutex>

namespace orv {

namespace {

std::mutex parkViewLock; ///< a leaf lock over the view
ParkView parkViewNow;

} // namespace

void gf_publishParkView(const ParkView& VIEW)
{
    std::lock_guard lock(parkViewLock);
    parkViewNow = VIEW;
}

ParkView gf_parkView()
{
    std::lock_guard lock(parkViewLock);
    return parkViewNow;
}

} // namespace orv
