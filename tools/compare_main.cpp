// tavo-compare: how well the simulator's aircraft followed the recording.
//   tavo-compare TRAFFIC.jsonl SIM-RECORD.jsonl --replay-start EPOCH [--delay 30]
#include "tools/follow_compare.h"

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> lf_lines(const std::string& PATH)
{
    std::ifstream in(PATH);
    if (!in) throw std::runtime_error("cannot read " + PATH);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        if (!line.empty()) lines.push_back(line);
    return lines;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 5 || argc % 2 != 1) {
        std::cerr << "usage: tavo-compare TRAFFIC.jsonl SIM-RECORD.jsonl --replay-start EPOCH [--delay 30]\n";
        return 2;
    }
    try {
        orv::CompareSetup setup;
        for (int i = 3; i + 1 < argc; i += 2) {
            const std::string key = argv[i];
            if (key == "--replay-start") setup.replayStart = std::stod(argv[i + 1]);
            else if (key == "--delay") setup.delaySeconds = std::stod(argv[i + 1]);
            else throw std::invalid_argument("unknown option " + key);
        }
        std::cout << orv::gf_followTable(orv::gf_compareFollow(lf_lines(argv[1]), lf_lines(argv[2]), setup));
    } catch (const std::exception& e) {
        std::cerr << "tavo-compare: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
