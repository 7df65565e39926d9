// What the simulator link asks of the folders above it: the stand under the
// user's aircraft, and what the user's aircraft is (its title and model).
// The spine installs the answers before the client thread starts; the
// defaults know no stand and take no notice of the user's aircraft.
#pragma once

#include <string>

namespace orv {

struct SimAnswers {
    /// The stand at LAT, LON (the user's aircraft stands still there); empty when none.
    std::string (*userStand)(double LAT, double LON) = [](double, double) { return std::string(); };
    /// Remembers the stand the user's aircraft stands at.
    void (*storeUserStand)(const std::string& STAND) = [](const std::string&) {};
    /// Client thread: the user aircraft's title; may throw to the client thread's handlers.
    void (*userTitle)(const std::string& TITLE) = [](const std::string&) {};
    /// Client thread: the user aircraft's model; may throw to the client thread's handlers.
    void (*userModel)(const std::string& MODEL) = [](const std::string&) {};
};

/// Written before the client thread starts; read by the client thread.
extern SimAnswers simAnswers;

} // namespace orv
