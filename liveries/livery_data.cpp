// The shared lists of a livery scan and the making of a livery record.
#include "liveries/livery_data.h"

namespace orv {

SideList invalidAirlines;
SideList invalidModels;
SideList codeFixes;
SideList invalidCfgFiles;
SideList incompleteSections;
SideList emptyCfgFiles;

std::set<std::string, std::less<>> knownTitles;
std::mutex knownTitlesLock;

std::vector<std::string> dontUseTitles;
std::unordered_set<std::string_view> dontUseIndex;

void gf_indexDontUseTitles()
{
    dontUseIndex.clear();
    dontUseIndex.reserve(dontUseTitles.size());
    for (const auto& title : dontUseTitles) dontUseIndex.insert(title);
}

LiveryData lf_newLiveryData(std::uint32_t LFOLDER, std::string AIRLINE, std::string MODEL, bool CARGO, std::string TITLE,
                            std::string REGCODE)
{
    {
        const std::lock_guard guard(knownTitlesLock);
        if (!knownTitles.insert(TITLE).second) return {};
    }
    return LiveryData{std::move(AIRLINE), std::move(MODEL), std::move(TITLE), std::move(REGCODE), LFOLDER, CARGO};
}

} // namespace orv
