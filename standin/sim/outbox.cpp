// Records from the stand-in simulator to one client, appended to its outbox;
// the server loop writes the outbox to the socket.
#include "standin/sim/server.h"

#include "sim/simconnect_api.h"

namespace orv::simstandin {
namespace {

using wire::ServerMsg;
using wire::Writer;

/// Simulator events come without a notification group of the client's.
constexpr std::uint32_t kNoGroup = 0xFFFFFFFFu;
constexpr float kSimSpeed = 1.0f;
/// The client interface version the stand-in reports.
constexpr std::uint32_t kInterfaceVersion[4] = {11, 0, 62651, 3};

Writer lf_begin(ClientSession& C, ServerMsg TYPE) { return Writer(C.out, static_cast<std::uint32_t>(TYPE), 0); }

} // namespace

void gf_sendException(ClientSession& C, std::uint32_t EXCEPTION, std::uint32_t SEND_ID, std::uint32_t INDEX)
{
    Writer w = lf_begin(C, ServerMsg::Exception);
    w.u32(EXCEPTION);
    w.u32(SEND_ID);
    w.u32(INDEX);
    w.finish();
}

void gf_sendOpen(Server& S, ClientSession& C)
{
    Writer w = lf_begin(C, ServerMsg::Open);
    w.str(S.appName);
    for (const std::uint32_t v : S.appVersion) w.u32(v);
    for (const std::uint32_t v : kInterfaceVersion) w.u32(v);
    w.finish();
}

void gf_sendQuit(ClientSession& C) { lf_begin(C, ServerMsg::Quit).finish(); }

void gf_sendEvent(ClientSession& C, std::uint32_t EVENT_ID, std::uint32_t DATA)
{
    Writer w = lf_begin(C, ServerMsg::Event);
    w.u32(kNoGroup);
    w.u32(EVENT_ID);
    w.u32(DATA);
    w.finish();
}

void gf_sendObjectAddRemove(ClientSession& C, std::uint32_t EVENT_ID, std::uint32_t OBJECT_ID)
{
    Writer w = lf_begin(C, ServerMsg::ObjectAddRemove);
    w.u32(kNoGroup);
    w.u32(EVENT_ID);
    w.u32(OBJECT_ID);
    w.u32(SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    w.finish();
}

void gf_sendFileName(ClientSession& C, std::uint32_t EVENT_ID, const std::string& FILE_NAME)
{
    Writer w = lf_begin(C, ServerMsg::FileName);
    w.u32(kNoGroup);
    w.u32(EVENT_ID);
    w.u32(0);
    w.str(FILE_NAME);
    w.u32(0);
    w.finish();
}

void gf_sendFrame(ClientSession& C, std::uint32_t EVENT_ID, float FRAME_RATE)
{
    Writer w = lf_begin(C, ServerMsg::Frame);
    w.u32(kNoGroup);
    w.u32(EVENT_ID);
    w.u32(0);
    w.f32(FRAME_RATE);
    w.f32(kSimSpeed);
    w.finish();
}

void gf_sendData(ClientSession& C, bool BY_TYPE, std::uint32_t REQUEST_ID, std::uint32_t OBJECT_ID,
                 std::uint32_t DEFINE_ID, std::uint32_t FLAGS, std::uint32_t ENTRY, std::uint32_t OUT_OF,
                 std::uint32_t DEFINE_COUNT, const std::string& DATA)
{
    Writer w = lf_begin(C, BY_TYPE ? ServerMsg::DataByType : ServerMsg::Data);
    for (const std::uint32_t v : {REQUEST_ID, OBJECT_ID, DEFINE_ID, FLAGS, ENTRY, OUT_OF, DEFINE_COUNT}) w.u32(v);
    w.str(DATA);
    w.finish();
}

void gf_sendAssignedId(ClientSession& C, std::uint32_t REQUEST_ID, std::uint32_t OBJECT_ID)
{
    Writer w = lf_begin(C, ServerMsg::AssignedObjectId);
    w.u32(REQUEST_ID);
    w.u32(OBJECT_ID);
    w.finish();
}

void gf_sendRefuse(ClientSession& C, std::uint32_t COUNT)
{
    Writer w = lf_begin(C, ServerMsg::RefuseCalls);
    w.u32(COUNT);
    w.finish();
}

} // namespace orv::simstandin
