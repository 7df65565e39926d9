// Benchmarks of the simulator link and its stand-in, against real tavo-sim
// processes started here (from the folder of this program):
//  - the client thread's work for one Frame with 1,000 position updates
//    (lf_onFrame and the flush of what it wrote to the socket);
//  - the frames per second tavo-sim sustains with 1,000 AI objects whose
//    positions a client writes at every Frame event, with and without its
//    recording.
#include "core/flags.h"
#include "sim/sim_session.h"
#include "standin/simconnect/wire.h"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int objectCount = 1000;
constexpr auto startLimit = std::chrono::seconds(20);

std::uint16_t lf_freePort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    ::close(fd);
    return ntohs(addr.sin_port);
}

/// A tavo-sim process for one benchmark, and a client connection to it.
struct Sim {
    pid_t pid = -1;
    HANDLE handle = nullptr;
    fs::path folder;
    std::vector<DWORD> objects;
    int frames = 0;

    explicit Sim(std::vector<std::string> ARGS)
    {
        folder = fs::temp_directory_path() / ("tavo-bench-" + std::to_string(::getpid()) + "-" + std::to_string(lf_freePort()));
        fs::create_directories(folder);
        const std::uint16_t port = lf_freePort();
        ARGS.insert(ARGS.end(), {"--port", std::to_string(port), "--view-port", std::to_string(lf_freePort()),
                                 "--max-objects", std::to_string(objectCount), "--user", "47.0,8.0"});
        const std::string program = (fs::read_symlink("/proc/self/exe").parent_path() / "tavo-sim").string();
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (auto& a : ARGS) argv.push_back(a.data());
        argv.push_back(nullptr);
        pid = ::fork();
        if (pid == 0) {
            ::execv(program.c_str(), argv.data());
            ::_exit(127);
        }
        std::ofstream(folder / "SimConnect.cfg") << "[SimConnect]\nPort=" << port << "\n";
        const fs::path before = fs::current_path();
        fs::current_path(folder);
        const auto deadline = Clock::now() + startLimit;
        while (SimConnect_Open(&handle, "bench", nullptr, 0, nullptr, 0) != S_OK) {
            if (Clock::now() > deadline) throw std::runtime_error("tavo-sim did not come up");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        fs::current_path(before);
    }
    ~Sim()
    {
        if (handle != nullptr) SimConnect_Close(handle);
        ::kill(pid, SIGTERM);
        int status = 0;
        ::waitpid(pid, &status, 0);
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    static void onRecord(SIMCONNECT_RECV* R, DWORD, void* CTX)
    {
        auto* self = static_cast<Sim*>(CTX);
        if (R->dwID == SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE)
            self->objects.push_back(static_cast<SIMCONNECT_RECV_EVENT*>(R)->dwData);
        else if (R->dwID == SIMCONNECT_RECV_ID_EVENT_FRAME)
            ++self->frames;
    }
    void pump() { SimConnect_CallDispatch(handle, onRecord, this); }
    /// Definition 402 as the link defines it, and 1,000 AI objects around the user.
    void populate()
    {
        for (const char* v : {"Plane Latitude", "Plane Longitude"}) SimConnect_AddToDataDefinition(handle, orv::defPosition, v, "degree");
        for (const char* v : {"Plane Pitch degrees", "Plane Bank degrees", "Plane Heading degrees true"})
            SimConnect_AddToDataDefinition(handle, orv::defPosition, v, "radians");
        SimConnect_AddToDataDefinition(handle, orv::defPosition, "Plane Altitude", "feet");
        SimConnect_AddToDataDefinition(handle, orv::defPosition, "Vertical Speed", "feet per second");
        SimConnect_AddToDataDefinition(handle, orv::defPosition, "Airspeed True", "knots");
        SimConnect_SubscribeToSystemEvent(handle, orv::eventObjectAdded, "ObjectAdded");
        for (int i = 0; i < objectCount; ++i) {
            SIMCONNECT_DATA_INITPOSITION init{47.0 + i * 1e-4, 8.0, 500, 0, 0, 0, 0, 0};
            SimConnect_AICreateNonATCAircraft(handle, "Airbus A320 Bench", ("B" + std::to_string(i)).c_str(), init, 104);
        }
        const auto deadline = Clock::now() + startLimit;
        while (objects.size() < objectCount && Clock::now() < deadline) {
            pump();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (objects.size() < objectCount) throw std::runtime_error("tavo-sim made too few objects");
    }
    void writePositions(std::vector<orv::PositionUpdate>& LIST, int ROUND) const
    {
        LIST.clear();
        for (int i = 0; i < objectCount; ++i)
            LIST.push_back({47.0 + i * 1e-4 + ROUND * 1e-6, 8.0, -0.02, 0.0, 1.0, 500.0 + ROUND % 7, 0.0, 140.0, objects[i]});
    }
};

void BM_onFrame1000Positions(benchmark::State& state)
{
    Sim sim({});
    sim.populate();
    orv::simHandle = sim.handle;
    orv::userObjectId = 1;
    orv::simRequestsOff = false;
    orv::lf_initSimQueues();
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        sim.pump(); // what the simulator sent meanwhile, and the last flush
        std::this_thread::sleep_for(std::chrono::milliseconds(5)); // the simulator reads at its pace, not ours
        sim.writePositions(*orv::positionFill, ++round);
        orv::lf_swapPositions();
        state.ResumeTiming();
        orv::lf_onFrame();
        SimConnect_CallDispatch(sim.handle, Sim::onRecord, &sim); // the rest of the frame's turn: the flush
    }
    orv::simHandle = nullptr;
    state.counters["positions/frame"] = objectCount;
}
BENCHMARK(BM_onFrame1000Positions)->Unit(benchmark::kMicrosecond)->Iterations(300);

/// Frames per second that tavo-sim keeps up while a client writes every
/// object's position at each Frame event.
void lf_frameRate(benchmark::State& state, bool RECORD)
{
    std::vector<std::string> args = {"--fps", "1000"};
    const fs::path record = fs::temp_directory_path() / ("tavo-bench-record-" + std::to_string(::getpid()) + ".jsonl");
    if (RECORD) args.insert(args.end(), {"--record", record.string()});
    Sim sim(args);
    sim.populate();
    SimConnect_SubscribeToSystemEvent(sim.handle, orv::eventFrame, "Frame");
    std::vector<orv::PositionUpdate> list;
    double framesPerSecond = 0, batchesPerSecond = 0;
    for (auto _ : state) {
        const auto start = Clock::now();
        const int startFrames = sim.frames;
        int written = sim.frames;
        int round = 0;
        while (Clock::now() - start < std::chrono::seconds(3)) {
            sim.pump();
            if (sim.frames == written) {
                std::this_thread::sleep_for(std::chrono::microseconds(200));
                continue;
            }
            written = sim.frames; // answer the latest frame, as the link does
            sim.writePositions(list, ++round);
            for (auto& u : list) SimConnect_SetDataOnSimObject(sim.handle, orv::defPosition, u.objectId, 0, 0, 64, &u.lat);
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        framesPerSecond = (sim.frames - startFrames) / seconds;
        batchesPerSecond = round / seconds;
    }
    state.counters["frames/s"] = framesPerSecond;
    state.counters["batches/s"] = batchesPerSecond; // frames answered with all 1,000 positions
    state.counters["objects"] = objectCount;
    std::error_code ignored;
    fs::remove(record, ignored);
}

void BM_standInFramesPerSecond(benchmark::State& state) { lf_frameRate(state, false); }
void BM_standInFramesPerSecondRecording(benchmark::State& state) { lf_frameRate(state, true); }
BENCHMARK(BM_standInFramesPerSecond)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_standInFramesPerSecondRecording)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
