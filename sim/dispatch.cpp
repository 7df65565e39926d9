// The dispatch: everything the simulator sends, sorted by record and by the
// program's identifiers, on the client thread. It reaches the engine only
// through gf_postMessage. What it throws is carried past the simulator's
// library and raised again on the client thread.
#include "sim/sim_session.h"
#include "sim/sim_answers.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/exit_request.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/sim_messages.h"
#include "core/user_position.h"
#include "core/window_state.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <exception>

namespace orv {

std::vector<std::uint32_t> pendingObjects;
std::atomic<float> frameRate{0.0f};

namespace {

/// Frame events between two readings of the frame rate.
constexpr int framesPerRateReading = 30;
/// Ground data is only wanted near the ground.
constexpr double groundDataCeilingFt = 2500.0;
/// "ATC ID" is a STRING32 field: at most 31 characters and a NUL.
constexpr std::size_t atcIdBytes = 32;

int frameCount = 0; ///< client thread

std::mutex simNameMutex;
std::string simNameText; ///< guarded by simNameMutex

void lf_setSimName(const std::string& NAME)
{
    {
        std::lock_guard lock(simNameMutex);
        simNameText = NAME;
    }
    gf_repaint();
}

/// A flight was loaded: the session starts again from the new flight.
void lf_newFlight(const char* TEXT)
{
    gf_logWarning(TEXT);
    gf_rememberUserStand();
    gf_requestExit(RESTART, 45);
}

void lf_event(const SIMCONNECT_RECV_EVENT& E)
{
    if (E.uEventID == eventSim) {
        simRunning = E.dwData == 1;
        gf_repaint(); // the flight lamp follows
    } else if (E.uEventID == eventFlightLoaded) {
        lf_newFlight("Flight loaded");
    }
}

void lf_objectAddRemove(const SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE& E)
{
    if (E.eObjType != SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT) return;
    if (E.uEventID == eventObjectAdded) {
        if (E.dwData > userObjectId) pendingObjects.push_back(E.dwData);
    } else if (E.uEventID == eventObjectRemoved) {
        gf_postMessage({E.dwData, 0, MessageKind::removed, 0, 0});
    }
}

void lf_frame(const SIMCONNECT_RECV_EVENT_FRAME& E)
{
    lf_onFrame();
    if (++frameCount >= framesPerRateReading) {
        frameRate = E.fFrameRate;
        frameCount = 0;
    }
}

/// A text field of a data record: up to its NUL, within the record.
std::string lf_text(const SIMCONNECT_RECV_SIMOBJECT_DATA& R, DWORD SIZE, std::size_t OFFSET, std::size_t CAP)
{
    const std::size_t have = gf_dataBytes(R, SIZE);
    if (OFFSET >= have) return {};
    const char* p = gf_dataBlock(R) + OFFSET;
    const std::size_t limit = std::min(CAP, have - OFFSET);
    return std::string(p, strnlen(p, limit));
}

template <typename T>
T lf_field(const SIMCONNECT_RECV_SIMOBJECT_DATA& R, DWORD SIZE, std::size_t OFFSET)
{
    T v{};
    if (OFFSET + sizeof v <= gf_dataBytes(R, SIZE)) std::memcpy(&v, gf_dataBlock(R) + OFFSET, sizeof v);
    return v;
}

} // namespace

const char* gf_dataBlock(const SIMCONNECT_RECV_SIMOBJECT_DATA& RECORD)
{
    return reinterpret_cast<const char*>(&RECORD.dwData);
}

std::size_t gf_dataBytes(const SIMCONNECT_RECV_SIMOBJECT_DATA& RECORD, DWORD SIZE)
{
    const std::size_t head = static_cast<std::size_t>(gf_dataBlock(RECORD) - reinterpret_cast<const char*>(&RECORD));
    return SIZE > head ? SIZE - head : 0;
}

std::string gf_simName()
{
    std::lock_guard lock(simNameMutex);
    return simNameText;
}

void lf_resetDispatchState()
{
    pendingObjects.clear();
    pendingObjects.reserve(64);
    frameCount = 0;
    simQuit = false;
}

void CALLBACK dispatch(SIMCONNECT_RECV* RECORD, DWORD SIZE, void*)
{
    if (RECORD == nullptr) return;
    switch (RECORD->dwID) {
    case SIMCONNECT_RECV_ID_EXCEPTION: lf_simException(*static_cast<SIMCONNECT_RECV_EXCEPTION*>(RECORD)); break;
    case SIMCONNECT_RECV_ID_OPEN: lf_simOpened(*static_cast<SIMCONNECT_RECV_OPEN*>(RECORD)); break;
    case SIMCONNECT_RECV_ID_QUIT:
        simRunning = false;
        simQuit = true;
        break;
    case SIMCONNECT_RECV_ID_EVENT: lf_event(*static_cast<SIMCONNECT_RECV_EVENT*>(RECORD)); break;
    case SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE:
        lf_objectAddRemove(*static_cast<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE*>(RECORD));
        break;
    case SIMCONNECT_RECV_ID_EVENT_FILENAME: lf_newFlight("New file loaded"); break;
    case SIMCONNECT_RECV_ID_EVENT_FRAME: lf_frame(*static_cast<SIMCONNECT_RECV_EVENT_FRAME*>(RECORD)); break;
    case SIMCONNECT_RECV_ID_SIMOBJECT_DATA:
        lf_simObjectData(*static_cast<SIMCONNECT_RECV_SIMOBJECT_DATA*>(RECORD), SIZE);
        break;
    case SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE:
        lf_simObjectByType(*static_cast<SIMCONNECT_RECV_SIMOBJECT_DATA*>(RECORD), SIZE);
        break;
    case SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID: // the id of a creation is paired by ATC ID instead
    case SIMCONNECT_RECV_ID_CLIENT_DATA:
    case 27: break;
    default: gf_log(fmt::format("! Unknown Dispatch dwID {}", RECORD->dwID)); break;
    }
}

namespace {

/// What the simulator's library calls. That library is C: nothing may be
/// thrown through it. The first exception of a call is kept in CONTEXT (an
/// std::exception_ptr) and the rest of that call's records are skipped.
void CALLBACK lf_dispatchFromLibrary(SIMCONNECT_RECV* RECORD, DWORD SIZE, void* CONTEXT) noexcept
{
    auto& kept = *static_cast<std::exception_ptr*>(CONTEXT);
    if (kept) return;
    try {
        dispatch(RECORD, SIZE, nullptr);
    } catch (...) {
        kept = std::current_exception();
    }
}

} // namespace

void lf_dispatchWaiting()
{
    std::exception_ptr thrown;
    SimConnect_CallDispatch(simHandle, lf_dispatchFromLibrary, &thrown);
    if (thrown) std::rethrow_exception(thrown);
}

void lf_simOpened(const SIMCONNECT_RECV_OPEN& R)
{
    const std::string raw(R.szApplicationName, strnlen(R.szApplicationName, sizeof R.szApplicationName));
    if (raw.empty()) {
        gf_log("! Simulator name empty?");
        return;
    }
    simConnected = true;
    gf_repaint();
    std::string name;
    std::copy_if(raw.begin(), raw.end(), std::back_inserter(name),
                 [](unsigned char C) { return std::isalnum(C) || C == ' '; });
    std::string shown;
    if (name == "KittyHawk") {
        if (!MSFS_2020.value)
            throw UserErrorException(71, fmt::format("MSFS 2020 is running ..., switch Sim or toggle the Install path "
                                                     "checkbox of {}", programName));
        shown = "MSFS 2020";
    } else if (name == "SunRise") {
        if (MSFS_2020.value)
            throw UserErrorException(71, fmt::format("MSFS 2024 is running ..., switch Sim or toggle the Install path "
                                                     "checkbox of {}", programName));
        shown = "MSFS 2024";
    } else {
        throw UserErrorException(77, fmt::format("\"{}\" not being MSFS 2020 or MSFS 2024 connects ... ? ", name));
    }
    if (MSFS_2020.value)
        shown = fmt::format("{} ({}.{}.{}.{})", shown, R.dwApplicationVersionMajor, R.dwApplicationVersionMinor,
                            R.dwApplicationBuildMajor, R.dwApplicationBuildMinor);
    gf_log(shown + " connected ");
    lf_setSimName(shown);
    gf_clearStatus();
}

void lf_simException(const SIMCONNECT_RECV_EXCEPTION& R)
{
    switch (R.dwException) {
    case SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID: {
        const UserState state = gf_userState();
        if (!gf_isNoPosition(state.lat, state.lon)) gf_logWarning("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID");
        break;
    }
    case SIMCONNECT_EXCEPTION_VERSION_MISMATCH:
        throw UserErrorException(95, fmt::format("Simconnect Version Mismatch, dwindex: {} ", R.dwIndex));
    case SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS: gf_showStatus("SimConnect: too many objects (max 1000)", true); break;
    case SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE: gf_log("SIMCON EXCEP 19"); break;
    case SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED: lf_createFailed(R.dwSendID); break;
    case SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED: gf_logWarning("Simconnect Exception: load flight plan failed"); break;
    case SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE: gf_log("SIMCON EXCEP 24"); break;
    default: gf_logWarning(fmt::format("SIMCON EXCEP {}", R.dwException)); break;
    }
}

void lf_simObjectData(const SIMCONNECT_RECV_SIMOBJECT_DATA& R, DWORD SIZE)
{
    switch (R.dwRequestID) {
    case requestStaticCg:
        gf_postMessage({R.dwObjectID, 0, MessageKind::staticData, lf_field<double>(R, SIZE, 0),
                        lf_field<double>(R, SIZE, sizeof(double))});
        break;
    case requestUserTitle: simAnswers.userTitle(lf_text(R, SIZE, 0, gf_dataBytes(R, SIZE))); break;
    case requestUserModel: simAnswers.userModel(lf_text(R, SIZE, 0, atcIdBytes)); break;
    case requestSimOnGround: {
        const UserState state = gf_userState();
        if (!gf_isNoPosition(state.lat, state.lon)) {
            userOnGround = lf_field<std::int64_t>(R, SIZE, 0) != 0;
            userGroundKnown = true;
        }
        secondDataReady = true; // the tick runs on, position or not
        break;
    }
    case requestUserState: lf_userStateReply(R, SIZE); break;
    default: break;
    }
}

void lf_simObjectByType(const SIMCONNECT_RECV_SIMOBJECT_DATA& R, DWORD SIZE)
{
    if (R.dwRequestID != requestInRange || R.dwObjectID <= userObjectId) return;
    const double agl = lf_field<double>(R, SIZE, 0);
    const double groundAlt = lf_field<double>(R, SIZE, sizeof(double));
    const auto onGround = lf_field<std::int64_t>(R, SIZE, 2 * sizeof(double));
    const std::string atcId = lf_text(R, SIZE, 2 * sizeof(double) + sizeof(std::int64_t), atcIdBytes - 1);

    const auto pending = std::find(pendingObjects.begin(), pendingObjects.end(), R.dwObjectID);
    if (pending != pendingObjects.end()) {
        *pending = pendingObjects.back();
        pendingObjects.pop_back();
        lf_pairNewObject(R.dwObjectID, atcId, agl);
        return;
    }
    if (agl <= groundDataCeilingFt && !atcId.empty() && atcId.back() != '*')
        gf_postMessage({R.dwObjectID, static_cast<std::uint32_t>(onGround), MessageKind::groundData, groundAlt, agl});
}

} // namespace orv
