// tavo-convert: public ADS-B history to the traffic service's recording.
//   tavo-convert readsb|states IN OUT [--type ICAO] [--category A3]
//                [--place FROM_LAT,FROM_LON,TO_LAT,TO_LON] [--alt-shift FT]
//                [--from EPOCH] [--to EPOCH]
#include "tools/trace_convert.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

orv::ConvertSetup lf_setup(int ARGC, char** ARGV)
{
    orv::ConvertSetup setup;
    for (int i = 4; i + 1 < ARGC; i += 2) {
        const std::string key = ARGV[i], value = ARGV[i + 1];
        if (key == "--type") setup.type = value;
        else if (key == "--category") setup.category = value;
        else if (key == "--alt-shift") setup.altitudeShiftFt = std::stod(value);
        else if (key == "--from") setup.fromTime = std::stod(value);
        else if (key == "--to") setup.toTime = std::stod(value);
        else if (key == "--place") {
            double v[4];
            char comma = 0;
            std::istringstream in(value);
            in >> v[0] >> comma >> v[1] >> comma >> v[2] >> comma >> v[3];
            if (!in) throw std::invalid_argument("--place wants FROM_LAT,FROM_LON,TO_LAT,TO_LON");
            setup.placeFrom = orv::LatLon{v[0], v[1]};
            setup.placeTo = orv::LatLon{v[2], v[3]};
        } else {
            throw std::invalid_argument("unknown option " + key);
        }
    }
    return setup;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4 || argc % 2 != 0) {
        std::cerr << "usage: tavo-convert readsb|states IN OUT [--type ICAO] [--category A3]\n"
                     "       [--place FROM_LAT,FROM_LON,TO_LAT,TO_LON] [--alt-shift FT] [--from EPOCH] [--to EPOCH]\n";
        return 2;
    }
    try {
        const orv::ConvertSetup setup = lf_setup(argc, argv);
        std::ifstream in(argv[2], std::ios::binary);
        if (!in) throw std::runtime_error(std::string("cannot read ") + argv[2]);
        std::ostringstream text;
        text << in.rdbuf();
        const std::string format = argv[1];
        if (format != "readsb" && format != "states") throw std::invalid_argument("the format is readsb or states");
        const auto lines = format == "readsb" ? orv::gf_convertReadsb(text.str(), setup)
                                              : orv::gf_convertStateVectors(text.str(), setup);
        std::ofstream out(argv[3], std::ios::trunc);
        for (const std::string& line : lines) out << line << '\n';
        if (!out) throw std::runtime_error(std::string("cannot write ") + argv[3]);
        std::cout << lines.size() << " lines written to " << argv[3] << "\n";
    } catch (const std::exception& e) {
        std::cerr << "tavo-convert: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
