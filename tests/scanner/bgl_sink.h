// Test support: a reading's sink that keeps what the reader gives back.
#pragma once

#include "scanner/bgl_reader.h"

#include <string>
#include <vector>

namespace orv::test {

struct CollectSink : BglSink {
    std::vector<ScannedAirport> airports;
    std::vector<std::string> messages, unresolved;
    bool recogniseAll = false; ///< every airport has an archive file of ARCHIVED stands
    int archived = 0;
    std::string publisher = "unknown";

    bool recognise(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT, const std::string& PATH) override
    {
        AIRPORT.bglPath = PATH;
        AIRPORT.publisher = publisher;
        ARCHIVED_COUNT = recogniseAll ? archived : 0;
        return recogniseAll;
    }
    void notRecognised(const std::string& PATH) override { unresolved.push_back(PATH); }
    void generate(ScannedAirport& AIRPORT) override { airports.push_back(AIRPORT); }
    void message(const std::string& TEXT) override { messages.push_back(TEXT); }
    /// Messages holding TEXT.
    [[nodiscard]] int count(const std::string& TEXT) const
    {
        int n = 0;
        for (const auto& m : messages) n += m.find(TEXT) != std::string::npos;
        return n;
    }
};

} // namespace orv::test
