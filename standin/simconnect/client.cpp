// The stand-in client library: the SimConnect_* calls over one loopback TCP
// connection per SimConnect_Open, talking to the stand-in simulator.
//
// Sending: every call appends one frame to the connection's buffer. Data
// writes stay buffered (a frame's worth of positions goes out in a few large
// writes); every other call, and the end of each dispatch, flushes.
#include "sim/simconnect_api.h"
#include "standin/simconnect/client_config.h"
#include "standin/simconnect/connection.h"
#include "standin/simconnect/wire.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>

using orv::SimConnection;
using orv::wire::ClientMsg;
using orv::wire::Writer;

namespace orv {

int gf_connectLoopback(const std::string& HOST, std::uint16_t PORT)
{
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(PORT);
    const std::string host = HOST == "localhost" ? "127.0.0.1" : HOST;
    if (inet_pton(AF_INET, host.c_str(), &addr.sin_addr) != 1) return -1;
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        ::close(fd);
        return -1;
    }
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

} // namespace orv

namespace {

/// Bytes in the buffer above which even data writes go out at once.
constexpr std::size_t kFlushBytes = 64 * 1024;
constexpr std::size_t kReadChunk = 64 * 1024;
/// The record version the library reports in dwVersion.
constexpr DWORD kRecordVersion = 4;

SimConnection* lf_conn(HANDLE H) { return static_cast<SimConnection*>(H); }

/// Writes the whole buffer; caller holds sendMutex. False when the socket failed.
bool lf_flushLocked(SimConnection& C)
{
    std::size_t done = 0;
    while (done < C.out.size()) {
        const ssize_t n = ::send(C.fd, C.out.data() + done, C.out.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            C.lost = true;
            C.out.clear();
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    C.out.clear();
    return true;
}

/// Builds and sends one frame. FILL writes the payload. A refusable call is
/// one the simulator may turn down (requests and AI operations).
template <typename Fill>
HRESULT lf_send(HANDLE H, ClientMsg TYPE, bool FLUSH, bool REFUSABLE, Fill&& FILL)
{
    SimConnection* c = lf_conn(H);
    if (c == nullptr) return E_INVALIDARG;
    if (c->lost) return E_FAIL;
    if (REFUSABLE) {
        int left = c->refuseCount.load();
        while (left > 0 && !c->refuseCount.compare_exchange_weak(left, left - 1)) {}
        if (left > 0) return E_FAIL;
    }
    std::lock_guard lock(c->sendMutex);
    const DWORD id = c->nextSendId++;
    Writer w(c->out, static_cast<std::uint32_t>(TYPE), id);
    FILL(w);
    w.finish();
    c->lastSendId = id;
    if (FLUSH || c->out.size() >= kFlushBytes) return lf_flushLocked(*c) ? S_OK : E_FAIL;
    return S_OK;
}

std::string_view lf_text(const char* TEXT) { return TEXT == nullptr ? std::string_view{} : std::string_view(TEXT); }

} // namespace

HRESULT SimConnect_Open(HANDLE* phSimConnect, LPCSTR szName, HWND, DWORD, HANDLE, DWORD ConfigIndex)
{
    if (phSimConnect == nullptr) return E_INVALIDARG;
    *phSimConnect = nullptr;
    const orv::SimAddress address = orv::gf_readSimAddress("SimConnect.cfg", ConfigIndex);
    const int fd = orv::gf_connectLoopback(address.host, address.port);
    if (fd < 0) return E_FAIL;
    auto* c = new SimConnection;
    c->fd = fd;
    const HRESULT hr = lf_send(c, ClientMsg::Open, true, false, [&](Writer& W) {
        W.str(lf_text(szName));
        W.u32(orv::wire::kProtocolVersion);
    });
    if (hr != S_OK) {
        ::close(fd);
        delete c;
        return E_FAIL;
    }
    *phSimConnect = c;
    return S_OK;
}

HRESULT SimConnect_Close(HANDLE hSimConnect)
{
    SimConnection* c = lf_conn(hSimConnect);
    if (c == nullptr) return E_INVALIDARG;
    lf_send(c, ClientMsg::Close, true, false, [](Writer&) {});
    ::shutdown(c->fd, SHUT_RDWR);
    ::close(c->fd);
    delete c;
    return S_OK;
}

HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwSendID)
{
    SimConnection* c = lf_conn(hSimConnect);
    if (c == nullptr || pdwSendID == nullptr) return E_INVALIDARG;
    std::lock_guard lock(c->sendMutex);
    *pdwSendID = c->lastSendId;
    return S_OK;
}

HRESULT SimConnect_SubscribeToSystemEvent(HANDLE h, SIMCONNECT_CLIENT_EVENT_ID EventID, const char* SystemEventName)
{
    return lf_send(h, ClientMsg::Subscribe, true, false, [&](Writer& W) {
        W.u32(EventID);
        W.str(lf_text(SystemEventName));
    });
}

HRESULT SimConnect_UnsubscribeFromSystemEvent(HANDLE h, SIMCONNECT_CLIENT_EVENT_ID EventID)
{
    return lf_send(h, ClientMsg::Unsubscribe, true, false, [&](Writer& W) { W.u32(EventID); });
}

HRESULT SimConnect_AddToDataDefinition(HANDLE h, SIMCONNECT_DATA_DEFINITION_ID DefineID, const char* DatumName,
                                       const char* UnitsName, SIMCONNECT_DATATYPE DatumType, float fEpsilon,
                                       DWORD DatumID)
{
    return lf_send(h, ClientMsg::AddDatum, true, false, [&](Writer& W) {
        W.u32(DefineID);
        W.str(lf_text(DatumName));
        W.str(lf_text(UnitsName));
        W.u32(DatumType);
        W.f32(fEpsilon);
        W.u32(DatumID);
    });
}

HRESULT SimConnect_ClearDataDefinition(HANDLE h, SIMCONNECT_DATA_DEFINITION_ID DefineID)
{
    return lf_send(h, ClientMsg::ClearDefinition, true, false, [&](Writer& W) { W.u32(DefineID); });
}

HRESULT SimConnect_RequestDataOnSimObject(HANDLE h, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                          SIMCONNECT_DATA_DEFINITION_ID DefineID, SIMCONNECT_OBJECT_ID ObjectID,
                                          SIMCONNECT_PERIOD Period, SIMCONNECT_DATA_REQUEST_FLAG Flags, DWORD origin,
                                          DWORD interval, DWORD limit)
{
    return lf_send(h, ClientMsg::RequestData, true, true, [&](Writer& W) {
        for (const DWORD v : {RequestID, DefineID, ObjectID, static_cast<DWORD>(Period), Flags, origin, interval, limit})
            W.u32(v);
    });
}

HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE h, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                              SIMCONNECT_DATA_DEFINITION_ID DefineID, DWORD dwRadiusMeters,
                                              SIMCONNECT_SIMOBJECT_TYPE type)
{
    return lf_send(h, ClientMsg::RequestDataByType, true, true, [&](Writer& W) {
        for (const DWORD v : {RequestID, DefineID, dwRadiusMeters, static_cast<DWORD>(type)}) W.u32(v);
    });
}

HRESULT SimConnect_SetDataOnSimObject(HANDLE h, SIMCONNECT_DATA_DEFINITION_ID DefineID, SIMCONNECT_OBJECT_ID ObjectID,
                                      SIMCONNECT_DATA_SET_FLAG Flags, DWORD ArrayCount, DWORD cbUnitSize,
                                      void* pDataSet)
{
    if (pDataSet == nullptr && cbUnitSize != 0) return E_INVALIDARG;
    const std::size_t bytes = static_cast<std::size_t>(cbUnitSize) * (ArrayCount == 0 ? 1 : ArrayCount);
    return lf_send(h, ClientMsg::SetData, false, false, [&](Writer& W) {
        for (const DWORD v : {DefineID, ObjectID, Flags, ArrayCount, cbUnitSize}) W.u32(v);
        W.u32(static_cast<std::uint32_t>(bytes));
        W.raw(pDataSet, bytes);
    });
}

HRESULT SimConnect_AICreateNonATCAircraft(HANDLE h, const char* szContainerTitle, const char* szTailNumber,
                                          SIMCONNECT_DATA_INITPOSITION InitPos, SIMCONNECT_DATA_REQUEST_ID RequestID)
{
    return lf_send(h, ClientMsg::AICreate, true, true, [&](Writer& W) {
        W.str(lf_text(szContainerTitle));
        W.str(lf_text(szTailNumber));
        for (const double v : {InitPos.Latitude, InitPos.Longitude, InitPos.Altitude, InitPos.Pitch, InitPos.Bank,
                               InitPos.Heading})
            W.f64(v);
        W.u32(InitPos.OnGround);
        W.u32(InitPos.Airspeed);
        W.u32(RequestID);
    });
}

HRESULT SimConnect_AIRemoveObject(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_DATA_REQUEST_ID RequestID)
{
    return lf_send(h, ClientMsg::AIRemove, true, true, [&](Writer& W) {
        W.u32(ObjectID);
        W.u32(RequestID);
    });
}

HRESULT SimConnect_AIReleaseControl(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_DATA_REQUEST_ID RequestID)
{
    return lf_send(h, ClientMsg::AIRelease, true, true, [&](Writer& W) {
        W.u32(ObjectID);
        W.u32(RequestID);
    });
}

HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, const char* szFlightPlanPath,
                                           SIMCONNECT_DATA_REQUEST_ID RequestID)
{
    return lf_send(h, ClientMsg::AIFlightPlan, true, true, [&](Writer& W) {
        W.u32(ObjectID);
        W.str(lf_text(szFlightPlanPath));
        W.u32(RequestID);
    });
}

HRESULT SimConnect_MapClientEventToSimEvent(HANDLE h, SIMCONNECT_CLIENT_EVENT_ID EventID, const char* EventName)
{
    return lf_send(h, ClientMsg::MapEvent, true, false, [&](Writer& W) {
        W.u32(EventID);
        W.str(lf_text(EventName));
    });
}

HRESULT SimConnect_TransmitClientEvent(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                       DWORD dwData, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                       SIMCONNECT_EVENT_FLAG Flags)
{
    return lf_send(h, ClientMsg::TransmitEvent, true, true, [&](Writer& W) {
        for (const DWORD v : {ObjectID, EventID, dwData, GroupID, Flags}) W.u32(v);
    });
}

HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE h, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                     SIMCONNECT_CLIENT_EVENT_ID EventID, bool bMaskable)
{
    return lf_send(h, ClientMsg::AddToGroup, true, false, [&](Writer& W) {
        W.u32(GroupID);
        W.u32(EventID);
        W.u32(bMaskable ? 1 : 0);
    });
}

HRESULT SimConnect_SetNotificationGroupPriority(HANDLE h, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID, DWORD uPriority)
{
    return lf_send(h, ClientMsg::GroupPriority, true, false, [&](Writer& W) {
        W.u32(GroupID);
        W.u32(uPriority);
    });
}

HRESULT SimConnect_RetrieveString(SIMCONNECT_RECV* pData, DWORD cbData, void* pStringV, char** pStringV_out,
                                  DWORD* pcbStringV)
{
    if (pData == nullptr || pStringV == nullptr || pStringV_out == nullptr || pcbStringV == nullptr)
        return E_INVALIDARG;
    const char* begin = static_cast<const char*>(pStringV);
    const char* end = reinterpret_cast<const char*>(pData) + cbData;
    if (begin < reinterpret_cast<const char*>(pData) || begin >= end) return E_FAIL;
    const void* nul = std::memchr(begin, '\0', static_cast<std::size_t>(end - begin));
    if (nul == nullptr) return E_FAIL;
    // Texts of variable length are padded to whole words on the wire.
    constexpr std::size_t kWord = 4;
    const std::size_t used = static_cast<const char*>(nul) - begin + 1;
    *pStringV_out = static_cast<char*>(pStringV);
    *pcbStringV = static_cast<DWORD>((used + kWord - 1) / kWord * kWord);
    return S_OK;
}

// --- dispatch ------------------------------------------------------------------

namespace {

/// Sizes the record buffer for a record of type T plus EXTRA bytes and
/// fills its common header.
template <typename T>
T& lf_newRecord(SimConnection& C, DWORD ID, std::size_t EXTRA = 0)
{
    C.record.assign(sizeof(T) + EXTRA, 0);
    auto* r = reinterpret_cast<T*>(C.record.data());
    r->dwSize = static_cast<DWORD>(C.record.size());
    r->dwVersion = kRecordVersion;
    r->dwID = ID;
    return *r;
}

void lf_copyText(char* OUT, std::size_t CAP, std::string_view TEXT)
{
    const std::size_t n = std::min(CAP - 1, TEXT.size());
    std::memcpy(OUT, TEXT.data(), n);
    OUT[n] = '\0';
}

/// Fills the event part shared by all event records.
void lf_eventFields(orv::wire::Reader& R, SIMCONNECT_RECV_EVENT& E)
{
    E.uGroupID = R.u32();
    E.uEventID = R.u32();
    E.dwData = R.u32();
}

/// Turns one frame into a record in C.record; false for frames that are no
/// record (handled here) or unknown.
bool lf_buildRecord(SimConnection& C, const orv::wire::Frame& F)
{
    using orv::wire::ServerMsg;
    orv::wire::Reader r(F.payload, F.payloadSize);
    switch (static_cast<ServerMsg>(F.type)) {
    case ServerMsg::Exception: {
        auto& e = lf_newRecord<SIMCONNECT_RECV_EXCEPTION>(C, SIMCONNECT_RECV_ID_EXCEPTION);
        e.dwException = r.u32();
        e.dwSendID = r.u32();
        e.dwIndex = r.u32();
        return true;
    }
    case ServerMsg::Open: {
        auto& o = lf_newRecord<SIMCONNECT_RECV_OPEN>(C, SIMCONNECT_RECV_ID_OPEN);
        lf_copyText(o.szApplicationName, sizeof o.szApplicationName, r.str());
        o.dwApplicationVersionMajor = r.u32();
        o.dwApplicationVersionMinor = r.u32();
        o.dwApplicationBuildMajor = r.u32();
        o.dwApplicationBuildMinor = r.u32();
        o.dwSimConnectVersionMajor = r.u32();
        o.dwSimConnectVersionMinor = r.u32();
        o.dwSimConnectBuildMajor = r.u32();
        o.dwSimConnectBuildMinor = r.u32();
        return true;
    }
    case ServerMsg::Quit:
        lf_newRecord<SIMCONNECT_RECV_QUIT>(C, SIMCONNECT_RECV_ID_QUIT);
        return true;
    case ServerMsg::Event:
        lf_eventFields(r, lf_newRecord<SIMCONNECT_RECV_EVENT>(C, SIMCONNECT_RECV_ID_EVENT));
        return true;
    case ServerMsg::ObjectAddRemove: {
        auto& e = lf_newRecord<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>(C, SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE);
        lf_eventFields(r, e);
        e.eObjType = static_cast<SIMCONNECT_SIMOBJECT_TYPE>(r.u32());
        return true;
    }
    case ServerMsg::FileName: {
        auto& e = lf_newRecord<SIMCONNECT_RECV_EVENT_FILENAME>(C, SIMCONNECT_RECV_ID_EVENT_FILENAME);
        lf_eventFields(r, e);
        lf_copyText(e.szFileName, sizeof e.szFileName, r.str());
        e.dwFlags = r.u32();
        return true;
    }
    case ServerMsg::Frame: {
        auto& e = lf_newRecord<SIMCONNECT_RECV_EVENT_FRAME>(C, SIMCONNECT_RECV_ID_EVENT_FRAME);
        lf_eventFields(r, e);
        e.fFrameRate = r.f32();
        e.fSimSpeed = r.f32();
        return true;
    }
    case ServerMsg::Data:
    case ServerMsg::DataByType: {
        DWORD head[7];
        for (DWORD& v : head) v = r.u32();
        const std::string_view data = r.str();
        // The data replaces dwData and runs on after it.
        const std::size_t extra = data.size() > sizeof(DWORD) ? data.size() - sizeof(DWORD) : 0;
        auto& d = lf_newRecord<SIMCONNECT_RECV_SIMOBJECT_DATA>(C, F.type, extra);
        d.dwRequestID = head[0];
        d.dwObjectID = head[1];
        d.dwDefineID = head[2];
        d.dwFlags = head[3];
        d.dwentrynumber = head[4];
        d.dwoutof = head[5];
        d.dwDefineCount = head[6];
        std::memcpy(&d.dwData, data.data(), data.size());
        return true;
    }
    case ServerMsg::AssignedObjectId: {
        auto& a = lf_newRecord<SIMCONNECT_RECV_ASSIGNED_OBJECT_ID>(C, SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID);
        a.dwRequestID = r.u32();
        a.dwObjectID = r.u32();
        return true;
    }
    case ServerMsg::RefuseCalls:
        C.refuseCount = static_cast<int>(r.u32());
        return false;
    }
    return false;
}

/// Reads what the socket holds without waiting; marks the loss of it.
void lf_readAvailable(SimConnection& C)
{
    if (C.inPos > 0 && C.inPos == C.in.size()) {
        C.in.clear();
        C.inPos = 0;
    }
    while (!C.lost) {
        const std::size_t old = C.in.size();
        C.in.resize(old + kReadChunk);
        const ssize_t n = ::recv(C.fd, C.in.data() + old, kReadChunk, MSG_DONTWAIT);
        if (n > 0) {
            C.in.resize(old + static_cast<std::size_t>(n));
            continue;
        }
        C.in.resize(old);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        C.lost = true; // 0: the simulator closed; other errors: the link broke
    }
}

/// The real library is C: nothing the dispatch function throws can pass
/// through it. A throw ends the process here, loudly, where the real one
/// would leave the program in an undefined state.
void lf_callDispatch(DispatchProc PROC, SIMCONNECT_RECV* RECORD, void* CONTEXT) noexcept
{
    try {
        PROC(RECORD, RECORD->dwSize, CONTEXT);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "the dispatch function threw: %s\n", e.what());
        std::abort();
    } catch (...) {
        std::fprintf(stderr, "the dispatch function threw\n");
        std::abort();
    }
}

void lf_deliverQuit(SimConnection& C, DispatchProc PROC, void* CONTEXT)
{
    C.quitDelivered = true;
    auto& q = lf_newRecord<SIMCONNECT_RECV_QUIT>(C, SIMCONNECT_RECV_ID_QUIT);
    lf_callDispatch(PROC, &q, CONTEXT);
}

} // namespace

namespace {

/// Cuts the next record out of what was read; false when none is whole yet.
/// A garbled stream counts as a lost connection.
bool lf_nextRecord(SimConnection& C)
{
    orv::wire::Frame f;
    try {
        while (orv::wire::gf_nextFrame(C.in, C.inPos, f))
            if (lf_buildRecord(C, f)) return true;
    } catch (const std::runtime_error&) {
        C.lost = true;
    }
    return false;
}

} // namespace

HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc pfcnDispatch, void* pContext)
{
    SimConnection* c = lf_conn(hSimConnect);
    if (c == nullptr || pfcnDispatch == nullptr) return E_INVALIDARG;
    if (c->quitDelivered) return E_FAIL;
    lf_readAvailable(*c);
    while (lf_nextRecord(*c)) {
        auto* rec = reinterpret_cast<SIMCONNECT_RECV*>(c->record.data());
        if (rec->dwID == SIMCONNECT_RECV_ID_QUIT) c->quitDelivered = true; // the simulator's QUIT ends the stream
        lf_callDispatch(pfcnDispatch, rec, pContext);
        if (c->quitDelivered) return S_OK;
    }
    if (c->lost) {
        lf_deliverQuit(*c, pfcnDispatch, pContext);
        return S_OK;
    }
    std::lock_guard lock(c->sendMutex);
    if (!c->out.empty()) lf_flushLocked(*c);
    return S_OK;
}
