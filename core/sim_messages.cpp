// The dispatch-to-engine mailbox.
#include "core/sim_messages.h"

#include "core/flags.h"

#include <mutex>

namespace orv {

std::vector<SimMessage> simMessages;

void gf_postMessage(const SimMessage& MESSAGE)
{
    std::lock_guard lock(messageLock);
    simMessages.push_back(MESSAGE);
}

void gf_takeMessages(std::vector<SimMessage>& INTO)
{
    INTO.clear();
    std::lock_guard lock(messageLock);
    INTO.swap(simMessages);
}

} // namespace orv
