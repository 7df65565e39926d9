// The wire between the stand-in client library and the stand-in simulator:
// length-prefixed binary frames over one loopback TCP connection per client.
//
// A frame is: u32 size (of everything after it), u32 type, u32 sendId, then
// the payload. Numbers go in the host's byte order (both ends live on the same
// machine), texts as u32 length plus bytes, blobs the same way.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orv::wire {

/// The simulator's port when SimConnect.cfg names none.
inline constexpr std::uint16_t kDefaultPort = 50500;
inline constexpr std::uint32_t kProtocolVersion = 1;
/// Bytes of the size word, and of type + sendId that follow it.
inline constexpr std::size_t kSizeBytes = 4;
inline constexpr std::size_t kHeadBytes = 8;
/// A frame larger than this is a broken peer, not a message.
inline constexpr std::uint32_t kMaxFrameBytes = 1u << 20;

/// What the client sends; each carries its packet id in sendId.
enum class ClientMsg : std::uint32_t {
    Open = 1,          ///< str appName, u32 protocol version
    Close,             ///<
    Subscribe,         ///< u32 eventId, str name
    Unsubscribe,       ///< u32 eventId
    AddDatum,          ///< u32 defineId, str name, str units, u32 type, f32 epsilon, u32 datumId
    ClearDefinition,   ///< u32 defineId
    RequestData,       ///< u32 requestId, defineId, objectId, period, flags, origin, interval, limit
    RequestDataByType, ///< u32 requestId, defineId, radiusMeters, objectType
    SetData,           ///< u32 defineId, objectId, flags, arrayCount, unitSize, blob data
    AICreate,          ///< str title, str tail, f64 lat lon alt pitch bank heading, u32 onGround airspeed, u32 requestId
    AIRemove,          ///< u32 objectId, requestId
    AIRelease,         ///< u32 objectId, requestId
    AIFlightPlan,      ///< u32 objectId, str path, u32 requestId
    MapEvent,          ///< u32 eventId, str name
    TransmitEvent,     ///< u32 objectId, eventId, data, groupId, flags
    AddToGroup,        ///< u32 groupId, eventId, maskable
    GroupPriority,     ///< u32 groupId, priority
};

/// What the simulator sends. The values of records equal their dwID.
enum class ServerMsg : std::uint32_t {
    Exception = 1,        ///< u32 exception, sendId, index
    Open = 2,             ///< str appName, u32 x4 application version, u32 x4 interface version
    Quit = 3,             ///<
    Event = 4,            ///< u32 groupId, eventId, data
    ObjectAddRemove = 5,  ///< u32 groupId, eventId, data, objectType
    FileName = 6,         ///< u32 groupId, eventId, data, str fileName, u32 flags
    Frame = 7,            ///< u32 groupId, eventId, data, f32 frameRate, f32 simSpeed
    Data = 8,             ///< u32 requestId, objectId, defineId, flags, entry, outOf, defineCount, blob data
    DataByType = 9,       ///< as Data
    AssignedObjectId = 12,///< u32 requestId, objectId
    /// Not a record: tells the client library to refuse its next N requests,
    /// so that tests can make the simulator say no. u32 count.
    RefuseCalls = 1000,
};

/// Appends one frame's fields to a text used as a byte buffer.
struct Writer {
    std::string& out;
    std::size_t start;

    Writer(std::string& OUT, std::uint32_t TYPE, std::uint32_t SEND_ID) : out(OUT), start(OUT.size())
    {
        u32(0);
        u32(TYPE);
        u32(SEND_ID);
    }
    void raw(const void* DATA, std::size_t BYTES) { out.append(static_cast<const char*>(DATA), BYTES); }
    void u32(std::uint32_t VALUE) { raw(&VALUE, sizeof VALUE); }
    void f32(float VALUE) { raw(&VALUE, sizeof VALUE); }
    void f64(double VALUE) { raw(&VALUE, sizeof VALUE); }
    void str(std::string_view TEXT)
    {
        u32(static_cast<std::uint32_t>(TEXT.size()));
        raw(TEXT.data(), TEXT.size());
    }
    /// Writes the size word; call once when the payload is complete.
    void finish()
    {
        const auto size = static_cast<std::uint32_t>(out.size() - start - kSizeBytes);
        std::memcpy(out.data() + start, &size, sizeof size);
    }
};

/// Reads one frame's payload; running past its end throws std::runtime_error.
struct Reader {
    const char* data;
    std::size_t size;
    std::size_t pos = 0;

    Reader(const char* DATA, std::size_t SIZE) : data(DATA), size(SIZE) {}
    void raw(void* OUT, std::size_t BYTES)
    {
        if (BYTES > size - pos) throw std::runtime_error("wire: frame too short");
        std::memcpy(OUT, data + pos, BYTES);
        pos += BYTES;
    }
    std::uint32_t u32()
    {
        std::uint32_t v;
        raw(&v, sizeof v);
        return v;
    }
    float f32()
    {
        float v;
        raw(&v, sizeof v);
        return v;
    }
    double f64()
    {
        double v;
        raw(&v, sizeof v);
        return v;
    }
    std::string_view str()
    {
        const std::uint32_t n = u32();
        if (n > size - pos) throw std::runtime_error("wire: text runs past the frame");
        std::string_view v(data + pos, n);
        pos += n;
        return v;
    }
};

/// One frame cut out of a receive buffer.
struct Frame {
    std::uint32_t type;
    std::uint32_t sendId;
    const char* payload;
    std::size_t payloadSize;
};

/// Looks for a whole frame at BUF[POS...]; on success fills FRAME, advances
/// POS and answers true. Throws std::runtime_error on an impossible size.
inline bool gf_nextFrame(const std::string& BUF, std::size_t& POS, Frame& FRAME)
{
    if (BUF.size() - POS < kSizeBytes) return false;
    std::uint32_t size;
    std::memcpy(&size, BUF.data() + POS, sizeof size);
    if (size < kHeadBytes || size > kMaxFrameBytes) throw std::runtime_error("wire: bad frame size");
    if (BUF.size() - POS - kSizeBytes < size) return false;
    const char* p = BUF.data() + POS + kSizeBytes;
    std::memcpy(&FRAME.type, p, 4);
    std::memcpy(&FRAME.sendId, p + 4, 4);
    FRAME.payload = p + kHeadBytes;
    FRAME.payloadSize = size - kHeadBytes;
    POS += kSizeBytes + size;
    return true;
}

} // namespace orv::wire
