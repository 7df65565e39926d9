// The stand-in simulator's web side, on loopback only: a live map page of
// the user aircraft and every AI object, the state as JSON, and the control
// channel for tests and people (pause, run, move, teleport, change aircraft,
// frame rate, refuse requests, drop clients, quit).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace orv::simstandin {

struct Server;
struct ViewServer;

/// Starts serving on 127.0.0.1:PORT in a thread of its own. Throws
/// std::runtime_error when the port cannot be had.
std::unique_ptr<ViewServer, void (*)(ViewServer*)> gf_startView(Server& S, std::uint16_t PORT);

/// The world as JSON (the page's and the tests' view of it). Takes S.mutex.
std::string gf_stateJson(Server& S);

/// The map page.
const char* gf_viewPage();

} // namespace orv::simstandin
