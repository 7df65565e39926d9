// Reading SimConnect.cfg: the simulator's address for the client library.
#include "standin/simconnect/client_config.h"

#include "standin/simconnect/wire.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fstream>

namespace orv {
namespace {

constexpr unsigned long kMaxPort = 65535;

std::string lf_trim(const std::string& TEXT)
{
    const auto first = TEXT.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    const auto last = TEXT.find_last_not_of(" \t\r\n");
    return TEXT.substr(first, last - first + 1);
}

std::string lf_lower(std::string TEXT)
{
    std::transform(TEXT.begin(), TEXT.end(), TEXT.begin(),
                   [](unsigned char C) { return static_cast<char>(std::tolower(C)); });
    return TEXT;
}

} // namespace

SimAddress gf_readSimAddress(const std::string& PATH, std::uint32_t INDEX)
{
    SimAddress address;
    address.port = wire::kDefaultPort;
    std::ifstream in(PATH);
    if (!in) return address;

    const std::string wanted = INDEX == 0 ? "[simconnect]" : "[simconnect." + std::to_string(INDEX) + "]";
    bool inSection = false;
    std::string line;
    while (std::getline(in, line)) {
        line = lf_trim(line);
        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        if (line[0] == '[') {
            inSection = lf_lower(line) == wanted;
            continue;
        }
        if (!inSection) continue;
        const auto eq = line.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = lf_lower(lf_trim(line.substr(0, eq)));
        const std::string value = lf_trim(line.substr(eq + 1));
        if (key == "address" && !value.empty()) {
            address.host = value;
        } else if (key == "port") {
            unsigned long port = 0;
            const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), port);
            if (ec == std::errc() && end == value.data() + value.size() && port >= 1 && port <= kMaxPort)
                address.port = static_cast<std::uint16_t>(port);
        }
    }
    return address;
}

} // namespace orv
