// What a client asks of the stand-in simulator, message by message. The
// simulator's objections go back as exceptions carrying the call's packet id.
#include "standin/sim/server.h"

#include "sim/simconnect_api.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <numbers>

namespace orv::simstandin {
namespace {

using wire::ClientMsg;
using wire::Reader;

constexpr double kDeg = std::numbers::pi / 180.0;
/// The widest radius of a request by type, as the simulator allows.
constexpr std::uint32_t kMaxRadiusMeters = 200'000;

constexpr std::string_view kSystemEvents[] = {"sim",   "simstart", "simstop",  "pause", "objectadded",
                                              "objectremoved", "flightloaded", "aircraftloaded", "frame",
                                              "simframe", "1sec"};

std::string lf_lower(std::string_view TEXT)
{
    std::string s(TEXT);
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char C) { return std::tolower(C); });
    return s;
}

std::string lf_upper(std::string_view TEXT)
{
    std::string s(TEXT);
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char C) { return std::toupper(C); });
    return s;
}

void lf_open(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    C.appName = std::string(R.str());
    const std::uint32_t version = R.u32();
    if (version != wire::kProtocolVersion) {
        gf_sendException(C, SIMCONNECT_EXCEPTION_VERSION_MISMATCH, SEND_ID, version);
        return;
    }
    C.opened = true;
    gf_sendOpen(S, C);
}

void lf_subscribe(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    const std::uint32_t eventId = R.u32();
    const std::string name = lf_lower(R.str());
    if (std::find(std::begin(kSystemEvents), std::end(kSystemEvents), name) == std::end(kSystemEvents)) {
        gf_sendException(C, SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, SEND_ID, 2);
        return;
    }
    C.subscriptions[eventId] = name;
    // A new subscriber learns the flight's state at once; it would otherwise
    // wait for the next change.
    if (name == "sim") gf_sendEvent(C, eventId, S.world.running ? 1 : 0);
    if (name == "pause") gf_sendEvent(C, eventId, S.world.running ? 0 : 1);
}

void lf_addDatum(ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    const std::uint32_t defineId = R.u32();
    const std::string_view name = R.str();
    const std::string_view units = R.str();
    const std::uint32_t type = R.u32();
    DatumFault fault{};
    auto datum = gf_makeDatum(name, units, type, fault);
    if (!datum) {
        gf_sendException(C, fault.exception, SEND_ID, fault.argument);
        return;
    }
    C.definitions[defineId].push_back(std::move(*datum));
}

void lf_clearDefinition(ClientSession& C, Reader& R)
{
    const std::uint32_t defineId = R.u32();
    C.definitions.erase(defineId);
    std::erase_if(C.requests, [&](const auto& KV) { return KV.second.defineId == defineId; });
}

void lf_requestData(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    DataRequest q;
    q.requestId = R.u32();
    q.defineId = R.u32();
    q.objectId = R.u32();
    q.period = R.u32();
    q.flags = R.u32();
    if (q.period == SIMCONNECT_PERIOD_NEVER) {
        C.requests.erase(q.requestId);
        return;
    }
    if (!C.definitions.contains(q.defineId)) return gf_sendException(C, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 2);
    if (gf_findObject(S.world, q.objectId) == nullptr)
        return gf_sendException(C, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 3);
    if (q.period > SIMCONNECT_PERIOD_SECOND) return gf_sendException(C, SIMCONNECT_EXCEPTION_ERROR, SEND_ID, 4);
    if (q.period == SIMCONNECT_PERIOD_ONCE) {
        gf_answerRequest(S, C, q);
        return;
    }
    q.nextDueUtc = S.world.simUtc + 1.0;
    if (q.period == SIMCONNECT_PERIOD_SECOND && S.world.running) gf_answerRequest(S, C, q);
    C.requests[q.requestId] = std::move(q);
}

void lf_requestByType(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    const std::uint32_t requestId = R.u32();
    const std::uint32_t defineId = R.u32();
    const std::uint32_t radius = std::min(R.u32(), kMaxRadiusMeters);
    const std::uint32_t type = R.u32();
    const auto def = C.definitions.find(defineId);
    if (def == C.definitions.end()) return gf_sendException(C, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 2);

    std::vector<const SimObject*> found;
    const World& w = S.world;
    if (type == SIMCONNECT_SIMOBJECT_TYPE_USER || type == SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT ||
        type == SIMCONNECT_SIMOBJECT_TYPE_ALL)
        found.push_back(&w.user);
    if (type == SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT || type == SIMCONNECT_SIMOBJECT_TYPE_ALL) {
        const double radiusNm = radius / kMetersPerNm;
        for (const auto& [id, o] : w.ai)
            if (gf_distanceNm(w.user.latDeg, w.user.lonDeg, o.latDeg, o.lonDeg) <= radiusNm) found.push_back(&o);
    }
    std::string data;
    const auto count = static_cast<std::uint32_t>(found.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        data.clear();
        gf_packData(def->second, *found[i], w, data);
        gf_sendData(C, true, requestId, found[i]->id, defineId, 0, i + 1, count,
                    static_cast<std::uint32_t>(def->second.size()), data);
    }
}

/// The fields of a data write that is no position, for the recording.
std::string lf_fieldsJson(const std::vector<Datum>& DEF, const std::vector<double>& VALUES)
{
    std::string out = "{";
    for (std::size_t i = 0; i < DEF.size() && i < VALUES.size(); ++i) {
        if (i > 0) out += ',';
        out += fmt::format("{}:{}", gf_jsonText(DEF[i].name), VALUES[i]);
    }
    return out + "}";
}

void lf_setData(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    const std::uint32_t defineId = R.u32();
    const std::uint32_t objectId = R.u32();
    R.u32(); // flags: no tagged writes here
    const std::uint32_t arrayCount = R.u32();
    R.u32(); // unit size: the data's own size says it
    const std::string_view bytes = R.str();
    const auto def = C.definitions.find(defineId);
    if (def == C.definitions.end()) return gf_sendException(C, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 1);
    SimObject* o = gf_findObject(S.world, objectId);
    if (o == nullptr) return gf_sendException(C, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 2);
    if (arrayCount > 1) return gf_sendException(C, SIMCONNECT_EXCEPTION_INVALID_ARRAY, SEND_ID, 4);
    std::vector<double> values;
    if (!gf_unpackData(def->second, bytes.data(), bytes.size(), *o, &values))
        return gf_sendException(C, SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE, SEND_ID, 5);
    const bool pose = std::any_of(def->second.begin(), def->second.end(),
                                  [](const Datum& D) { return gf_isPositionVar(D.var); });
    if (pose) gf_recordPosition(S.recorder, S.world.simUtc, *o);
    else gf_recordData(S.recorder, S.world.simUtc, o->id, defineId, lf_fieldsJson(def->second, values));
}

void lf_createFailed(Server& S, ClientSession& C, std::uint32_t SEND_ID, const SimObject& O, std::string_view REASON)
{
    gf_sendException(C, SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED, SEND_ID, SIMCONNECT_UNUSED);
    gf_recordCreateFailed(S.recorder, S.world.simUtc, SEND_ID, O.atcId, O.title,
                          SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED, REASON);
}

void lf_create(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    PendingCreate p;
    SimObject& o = p.object;
    o.title = std::string(R.str());
    o.atcId = std::string(R.str());
    o.latDeg = R.f64();
    o.lonDeg = R.f64();
    o.altFt = R.f64();
    o.pitchRad = R.f64() * kDeg;
    o.bankRad = R.f64() * kDeg;
    o.headingRad = R.f64() * kDeg;
    const bool onGround = R.u32() != 0;
    o.tasKt = R.u32();
    p.requestId = R.u32();
    p.sendId = SEND_ID;
    p.client = C.id;
    p.dueFrame = S.frameNumber + kCreateDelayFrames;
    o.owner = C.id;
    gf_staticShape(o.title, o.staticCgFt, o.staticPitchRad);
    if (onGround) {
        o.altFt = gf_groundFt(S.world, o.latDeg, o.lonDeg) + o.staticCgFt;
        o.pitchRad = o.staticPitchRad;
    }
    gf_recordCreate(S.recorder, S.world.simUtc, SEND_ID, C.id, o.atcId, o.title, o);

    if (o.title.empty() || (S.world.titlesGiven && !S.world.titles.contains(o.title)))
        return lf_createFailed(S, C, SEND_ID, o, "unknown title");
    if (S.world.ai.size() + S.creates.size() >= S.world.maxObjects) {
        gf_sendException(C, SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS, SEND_ID, SIMCONNECT_UNUSED);
        return lf_createFailed(S, C, SEND_ID, o, "too many objects");
    }
    S.creates.push_back(std::move(p));
}

/// The AI object of a request, or nullptr after telling the client why not.
SimObject* lf_aiObject(Server& S, ClientSession& C, std::uint32_t OBJECT_ID, std::uint32_t SEND_ID)
{
    const auto it = S.world.ai.find(OBJECT_ID);
    if (it != S.world.ai.end()) return &it->second;
    const bool user = OBJECT_ID == 0 || OBJECT_ID == S.world.user.id;
    gf_sendException(C, user ? SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE
                             : SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 1);
    return nullptr;
}

void lf_remove(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    const std::uint32_t objectId = R.u32();
    if (lf_aiObject(S, C, objectId, SEND_ID) == nullptr) return;
    const bool queued = std::any_of(S.removes.begin(), S.removes.end(),
                                    [&](const PendingRemove& P) { return P.objectId == objectId; });
    gf_recordRemove(S.recorder, S.world.simUtc, SEND_ID, objectId);
    if (!queued) S.removes.push_back({S.frameNumber + kRemoveDelayFrames, objectId});
}

void lf_release(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    SimObject* o = lf_aiObject(S, C, R.u32(), SEND_ID);
    if (o == nullptr) return;
    o->released = true;
    gf_recordRelease(S.recorder, S.world.simUtc, o->id);
}

void lf_flightPlan(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    SimObject* o = lf_aiObject(S, C, R.u32(), SEND_ID);
    const std::string_view path = R.str();
    if (o == nullptr) return;
    if (path.empty()) return gf_sendException(C, SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED, SEND_ID, 2);
    o->flightPlan = std::string(path);
    gf_recordFlightPlan(S.recorder, S.world.simUtc, o->id, path);
}

void lf_mapEvent(ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    const std::uint32_t eventId = R.u32();
    const std::string name = lf_upper(R.str());
    if (C.clientEvents.contains(eventId)) return gf_sendException(C, SIMCONNECT_EXCEPTION_EVENT_ID_DUPLICATE, SEND_ID, 1);
    C.clientEvents[eventId] = name;
}

void lf_transmit(Server& S, ClientSession& C, Reader& R, std::uint32_t SEND_ID)
{
    const std::uint32_t objectId = R.u32();
    const std::uint32_t eventId = R.u32();
    const std::uint32_t data = R.u32();
    const auto name = C.clientEvents.find(eventId);
    if (name == C.clientEvents.end()) return gf_sendException(C, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 2);
    SimObject* o = gf_findObject(S.world, objectId);
    if (o == nullptr) return gf_sendException(C, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, SEND_ID, 1);
    gf_applyClientEvent(*o, name->second, data);
    gf_recordEvent(S.recorder, S.world.simUtc, o->id, name->second, data);
}

} // namespace

void gf_handleClientFrame(Server& S, ClientSession& C, const wire::Frame& F)
{
    Reader r(F.payload, F.payloadSize);
    const std::uint32_t sid = F.sendId;
    const auto type = static_cast<ClientMsg>(F.type);
    if (type == ClientMsg::Open) return lf_open(S, C, r, sid);
    if (!C.opened) return gf_sendException(C, SIMCONNECT_EXCEPTION_UNOPENED, sid, 0);
    switch (type) {
    case ClientMsg::Close: gf_endSession(S, C, "client closed"); break;
    case ClientMsg::Subscribe: lf_subscribe(S, C, r, sid); break;
    case ClientMsg::Unsubscribe: C.subscriptions.erase(r.u32()); break;
    case ClientMsg::AddDatum: lf_addDatum(C, r, sid); break;
    case ClientMsg::ClearDefinition: lf_clearDefinition(C, r); break;
    case ClientMsg::RequestData: lf_requestData(S, C, r, sid); break;
    case ClientMsg::RequestDataByType: lf_requestByType(S, C, r, sid); break;
    case ClientMsg::SetData: lf_setData(S, C, r, sid); break;
    case ClientMsg::AICreate: lf_create(S, C, r, sid); break;
    case ClientMsg::AIRemove: lf_remove(S, C, r, sid); break;
    case ClientMsg::AIRelease: lf_release(S, C, r, sid); break;
    case ClientMsg::AIFlightPlan: lf_flightPlan(S, C, r, sid); break;
    case ClientMsg::MapEvent: lf_mapEvent(C, r, sid); break;
    case ClientMsg::TransmitEvent: lf_transmit(S, C, r, sid); break;
    case ClientMsg::AddToGroup:
    case ClientMsg::GroupPriority: break; // groups only order events among clients; one client here
    default: gf_sendException(C, SIMCONNECT_EXCEPTION_ERROR, sid, 0); break;
    }
}

} // namespace orv::simstandin
