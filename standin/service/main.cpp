// tavo-service: the traffic web service stand-in. Serves the live-traffic
// API and the download tree on the loopback address until SIGINT/SIGTERM,
// or with --generate writes a recording of generated traffic.
#include <csignal>
#include <cmath>
#include <cstdio>
#include <exception>
#include <iostream>

#include <fmt/format.h>

#include "standin/service/noise.h"
#include "standin/service/options.h"

namespace {

int lf_generate(const orv::ServiceOptions& OPTIONS)
{
    orv::GeneratedTraffic traffic = orv::gf_generateTraffic(OPTIONS.generator);
    if (OPTIONS.noise) traffic.recording = orv::gf_addNoise(traffic.recording, OPTIONS.generator.seed);
    orv::gf_writeLines(OPTIONS.generatePath, traffic.recording);
    fmt::print("{} lines of live traffic written to {}\n", traffic.recording.size(), OPTIONS.generatePath);
    if (!OPTIONS.parkedOutPath.empty()) {
        orv::gf_writeLines(OPTIONS.parkedOutPath, traffic.parked);
        fmt::print("{} parked aircraft written to {}\n", traffic.parked.size(), OPTIONS.parkedOutPath);
    }
    return 0;
}

int lf_serve(const orv::ServiceOptions& OPTIONS)
{
    orv::ServiceState state;
    state.setup = OPTIONS.service;
    state.failures.failures = OPTIONS.failures;
    if (!OPTIONS.trafficPath.empty()) state.recording = orv::gf_loadRecording(OPTIONS.trafficPath);
    if (!OPTIONS.parkedPath.empty()) state.parked = orv::gf_loadParked(OPTIONS.parkedPath);
    const double start = OPTIONS.replayStart.value_or(std::floor(orv::gf_serviceNow()));
    state.clock = orv::ReplayClock{start - state.recording.firstTime, OPTIONS.loop};

    // The signals are taken by sigwait below; every thread started from here
    // on inherits the blocked mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    auto service = orv::gf_startService(std::move(state), OPTIONS.server);
    fmt::print("tavo-service listening on {}\n", orv::gf_serviceAddress(*service));
    fmt::print("{} recorded aircraft, {} positions; {} parked aircraft\n", service->state.recording.tracks.size(),
               service->state.recording.pointCount, service->state.parked.entries.size());
    std::fflush(stdout);
    int received = 0;
    sigwait(&signals, &received);
    orv::gf_stopService(*service);
    fmt::print("tavo-service stopped by signal {}\n", received);
    return 0;
}

} // namespace

int main(int ARGC, char** ARGV)
{
    try {
        const orv::ServiceOptions options = orv::gf_parseOptions(std::vector<std::string>(ARGV + 1, ARGV + ARGC));
        if (options.help) {
            std::cout << orv::kServiceUsage;
            return 0;
        }
        return options.generatePath.empty() ? lf_serve(options) : lf_generate(options);
    } catch (const std::exception& e) {
        std::cerr << "tavo-service: " << e.what() << '\n';
        return 2;
    }
}
