// One livery out of an aircraft.cfg, the side lists of what could not be
// used, and the set of titles accepted in the present scan. Worker tasks fill
// the lists at once, so each has a lock of its own.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace orv {

struct LiveryData {
    std::string airline; ///< three letters, "ZZZ" without airline, "PVT" private
    std::string model;
    std::string title;   ///< unique in the catalogue
    std::string regcode; ///< 5 to 12 characters, or empty
    std::uint32_t lfolder = 0; ///< scanned folder, from 1; 0 when read back from file
    bool cargo = false;
    friend bool operator==(const LiveryData&, const LiveryData&) = default;
};

/// A list of report lines that worker tasks add to at once.
struct SideList {
    mutable std::mutex lock;
    std::vector<std::string> lines;

    void add(std::string LINE)
    {
        const std::lock_guard guard(lock);
        lines.push_back(std::move(LINE));
    }
    [[nodiscard]] std::vector<std::string> copy() const
    {
        const std::lock_guard guard(lock);
        return lines;
    }
    [[nodiscard]] std::size_t size() const
    {
        const std::lock_guard guard(lock);
        return lines.size();
    }
    void clear()
    {
        const std::lock_guard guard(lock);
        lines.clear();
    }
};

extern SideList invalidAirlines;    ///< InvalidAirlineCodes.txt
extern SideList invalidModels;      ///< InvalidAircraftCodes.txt
extern SideList codeFixes;          ///< Fixes.txt
extern SideList invalidCfgFiles;    ///< InvalidAircraftCfgFiles.txt
extern SideList incompleteSections; ///< IncompleFltsimSections.txt
extern SideList emptyCfgFiles;      ///< AircraftCfgWithNoFltsimSection.txt

/// Titles accepted in the present scan, under knownTitlesLock.
extern std::set<std::string, std::less<>> knownTitles;
extern std::mutex knownTitlesLock;

/// Titles not to be used, filled before the scan starts.
extern std::vector<std::string> dontUseTitles;
/// A hashed view of dontUseTitles, built by gf_indexDontUseTitles before the
/// worker tasks start: a title test per section must not walk the vector.
extern std::unordered_set<std::string_view> dontUseIndex;
void gf_indexDontUseTitles();

/// The only way a LiveryData is made: the title enters knownTitles. A title
/// that was there already gives an empty record.
LiveryData lf_newLiveryData(std::uint32_t LFOLDER, std::string AIRLINE, std::string MODEL, bool CARGO,
                            std::string TITLE, std::string REGCODE);

} // namespace orv
