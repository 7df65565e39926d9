// The stand-in simulator's sockets and loop: accepting clients, reading their
// frames, writing their outboxes, and keeping the frame clock.
#include "standin/sim/server.h"

#include "sim/simconnect_api.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace orv::simstandin {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kReadChunk = 64 * 1024;
/// A client this far behind in reading is dropped, not waited for.
constexpr std::size_t kMaxOutbox = 256u * 1024 * 1024;
/// Frame gaps longer than this (a stopped process) do not jump the clock.
constexpr double kMaxFrameGapS = 0.25;
constexpr int kListenBacklog = 16;

constexpr std::uint32_t kVersion2020[4] = {11, 0, 282174, 999};
constexpr std::uint32_t kVersion2024[4] = {12, 1, 300000, 0};

void lf_nonBlocking(int FD) { ::fcntl(FD, F_SETFL, ::fcntl(FD, F_GETFL) | O_NONBLOCK); }

int lf_listen(std::uint16_t PORT)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) throw std::runtime_error("cannot make a socket");
    const int one = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(PORT);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK); // loopback only: nobody else may fly here
    if (::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, kListenBacklog) != 0) {
        ::close(fd);
        throw std::runtime_error(fmt::format("cannot listen on 127.0.0.1:{}: {}", PORT, std::strerror(errno)));
    }
    lf_nonBlocking(fd);
    return fd;
}

void lf_readTitles(World& W, const std::string& PATH)
{
    std::ifstream in(PATH);
    if (!in) throw std::runtime_error(fmt::format("cannot read the titles {}", PATH));
    std::string line;
    while (std::getline(in, line)) {
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
        if (!line.empty()) W.titles.insert(line);
    }
    W.titlesGiven = true;
}

void lf_accept(Server& S)
{
    while (true) {
        const int fd = ::accept4(S.listenFd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) return;
        const int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        auto c = std::make_unique<ClientSession>();
        c->id = S.nextSessionId++;
        c->fd = fd;
        S.sessions.push_back(std::move(c));
    }
}

/// Reads and handles what a client sent; marks it closing when it is gone.
void lf_readClient(Server& S, ClientSession& C)
{
    char buf[kReadChunk];
    while (!C.closing) {
        const ssize_t n = ::recv(C.fd, buf, sizeof buf, 0);
        if (n > 0) {
            C.in.append(buf, static_cast<std::size_t>(n));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        gf_endSession(S, C, "client closed");
        break;
    }
    wire::Frame f;
    try {
        while (!C.closing && wire::gf_nextFrame(C.in, C.inPos, f)) gf_handleClientFrame(S, C, f);
    } catch (const std::runtime_error&) {
        gf_endSession(S, C, "client garbled"); // a broken stream cannot be resynchronised
    }
    C.in.erase(0, C.inPos);
    C.inPos = 0;
}

void lf_writeClient(Server& S, ClientSession& C)
{
    std::size_t done = 0;
    while (done < C.out.size()) {
        const ssize_t n = ::send(C.fd, C.out.data() + done, C.out.size() - done, MSG_NOSIGNAL);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        gf_endSession(S, C, "client lost");
        break;
    }
    C.out.erase(0, done);
    if (C.out.size() > kMaxOutbox) gf_endSession(S, C, "client too slow");
}

void lf_closeFinished(Server& S)
{
    std::erase_if(S.sessions, [](const std::unique_ptr<ClientSession>& C) {
        if (!C->closing) return false;
        ::close(C->fd);
        return true;
    });
}

/// One round of the loop: wait for input or the next frame, then do both.
void lf_round(Server& S, Clock::time_point& NEXT_FRAME)
{
    std::vector<pollfd> fds;
    {
        std::lock_guard lock(S.mutex);
        fds.push_back({S.listenFd, POLLIN, 0});
        fds.push_back({S.wakeFd, POLLIN, 0});
        for (const auto& c : S.sessions)
            fds.push_back({c->fd, static_cast<short>(POLLIN | (c->out.empty() ? 0 : POLLOUT)), 0});
    }
    const auto wait = std::max<long long>(
        0, std::chrono::duration_cast<std::chrono::nanoseconds>(NEXT_FRAME - Clock::now()).count());
    constexpr long long kNsPerS = 1'000'000'000;
    const timespec timeout{static_cast<time_t>(wait / kNsPerS), static_cast<long>(wait % kNsPerS)};
    ::ppoll(fds.data(), fds.size(), &timeout, nullptr);
    if (fds[1].revents & POLLIN) {
        std::uint64_t count;
        [[maybe_unused]] const ssize_t n = ::read(S.wakeFd, &count, sizeof count);
    }

    std::lock_guard lock(S.mutex);
    lf_accept(S);
    for (std::size_t i = 0; i < S.sessions.size(); ++i) lf_readClient(S, *S.sessions[i]);
    const auto now = Clock::now();
    if (now >= NEXT_FRAME) {
        const double dt = std::min(kMaxFrameGapS, std::chrono::duration<double>(now - S.lastFrame).count());
        S.lastFrame = now;
        gf_simFrame(S, dt);
        NEXT_FRAME += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / S.fps));
        if (NEXT_FRAME < now) NEXT_FRAME = now; // fell behind: do not rush to catch up
    }
    // What the recording got this round is on disk before any answer leaves:
    // a client that sees a reply also finds the lines that came before it.
    gf_flushRecording(S.recorder);
    for (auto& c : S.sessions)
        if (!c->closing) lf_writeClient(S, *c);
    lf_closeFinished(S);
}

} // namespace

void gf_initServer(Server& S, const SimOptions& O)
{
    S.options = O;
    World& w = S.world;
    w.user.id = kUserObjectId;
    w.user.isUser = true;
    w.user.title = O.title;
    w.user.atcModel = O.atcModel;
    w.user.atcId = O.atcId;
    w.user.staticCgFt = kUserStaticCgFt;
    w.user.lightStates = kLightNav | kLightBeacon;
    w.groundFt = O.groundFt;
    w.maxObjects = O.maxObjects;
    w.running = !O.paused;
    w.simUtc = O.startUtc ? *O.startUtc : static_cast<double>(std::time(nullptr));
    constexpr double kDegToRad = 3.14159265358979323846 / 180.0;
    gf_placeUser(w, O.userLat, O.userLon, O.userAltFt ? &*O.userAltFt : nullptr, O.userHeadingDeg * kDegToRad);
    w.user.gsKt = O.userSpeedKt;
    w.user.tasKt = O.userSpeedKt;
    if (!O.titlesPath.empty()) lf_readTitles(w, O.titlesPath);
    if (!O.recordPath.empty()) gf_openRecording(S.recorder, O.recordPath);
    if (!O.scenarioPath.empty()) {
        std::ifstream in(O.scenarioPath);
        if (!in) throw std::runtime_error(fmt::format("cannot read the scenario {}", O.scenarioPath));
        std::stringstream text;
        text << in.rdbuf();
        S.scenario = gf_parseScenario(text.str());
    }
    S.startUtc = w.simUtc;

    S.appName = !O.appName.empty() ? O.appName : (O.simYear == 2020 ? "KittyHawk" : "SunRise");
    std::copy(std::begin(O.simYear == 2020 ? kVersion2020 : kVersion2024),
              std::end(O.simYear == 2020 ? kVersion2020 : kVersion2024), S.appVersion);
    S.fps = O.fps;
    S.measuredFps = static_cast<float>(O.fps);
    S.port = O.port != 0 ? O.port : wire::kDefaultPort;
    S.listenFd = lf_listen(S.port);
    S.wakeFd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    S.lastFrame = S.rateStart = Clock::now();
}

void gf_runServer(Server& S)
{
    auto nextFrame = Clock::now();
    while (!S.quitRequested) lf_round(S, nextFrame);

    std::lock_guard lock(S.mutex);
    for (auto& c : S.sessions) {
        gf_sendQuit(*c);
        // The last words go out blocking: the process ends right after.
        const int flags = ::fcntl(c->fd, F_GETFL);
        ::fcntl(c->fd, F_SETFL, flags & ~O_NONBLOCK);
        lf_writeClient(S, *c);
        ::shutdown(c->fd, SHUT_RDWR);
        ::close(c->fd);
    }
    S.sessions.clear();
    gf_closeRecording(S.recorder);
    ::close(S.listenFd);
    ::close(S.wakeFd);
}

void gf_requestQuit(Server& S)
{
    S.quitRequested = true;
    gf_wakeServer(S);
}

void gf_wakeServer(Server& S)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t n = ::write(S.wakeFd, &one, sizeof one);
}

void gf_dropClients(Server& S)
{
    for (auto& c : S.sessions) {
        ::shutdown(c->fd, SHUT_RDWR);
        gf_endSession(S, *c, "client dropped");
    }
}

} // namespace orv::simstandin
