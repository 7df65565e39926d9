// One client connection of the stand-in client library: the socket, the
// outgoing buffer with its packet ids, and the incoming bytes that the
// dispatch turns into records.
#pragma once

#include "sim/simconnect_api.h"
#include "standin/simconnect/wire.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace orv {

struct SimConnection {
    int fd = -1;

    /// Guards out, nextSendId, lastSendId: any thread may call the library,
    /// the dispatch thread reads at the same time.
    std::mutex sendMutex;
    std::string out;
    DWORD nextSendId = 1;
    DWORD lastSendId = 0;

    /// Set by whichever side first sees the socket fail.
    std::atomic<bool> lost{false};
    /// Requests still to refuse, as the simulator asked (wire RefuseCalls).
    std::atomic<int> refuseCount{0};

    // Dispatch thread only.
    bool quitDelivered = false;
    std::string in;
    std::size_t inPos = 0;
    std::vector<char> record; ///< the record being handed to the dispatch
};

/// Opens a TCP connection to HOST:PORT (IPv4 text or "localhost"); -1 on failure.
int gf_connectLoopback(const std::string& HOST, std::uint16_t PORT);

} // namespace orv
