#include "common/setup.h"
#include "database/database.h"
#include "engine/engine.h"

namespace workbench {

namespace {

// The elements that are not 0.
void appendCells(const DoubleVec& vec, int trafficClass, int level,
                 std::vector<FailureCell>* cells) {
    for (Long f = 0; f < vec.size; f++)
        if (vec.cont[f] != 0.0) cells->push_back({trafficClass, level, f, vec.cont[f]});
}

LinkTables tablesOf(const DBLinkState& state, int nbClasses) {
    LinkTables tables;
    for (int oa = 0; oa < nbClasses; oa++) {
        tables.capacity.push_back(state.cap[oa]);
        tables.primary.push_back(std::to_array(state.pbw[oa]));
        tables.reserved.push_back(std::to_array(state.rbw[oa]));
        for (int level = 0; level < kLevels; level++) {
            appendCells(state.bbw[oa][level], oa, level, &tables.backup);
            appendCells(state.fbw[oa][level], oa, level, &tables.freed);
        }
    }
    return tables;
}

}  // namespace

std::vector<LinkTables> Engine::tables() const {
    std::vector<LinkTables> all;
    all.reserve(network_.links.size());
    for (const Link& link : network_.links)
        all.push_back(tablesOf(*DBgetLinkState(centralDB, link.src, link.dst),
                               static_cast<int>(configuration_.classes.size())));
    return all;
}

}  // namespace workbench
