// LSPs: setup, removal, and who gives way.
#pragma once

#include "twin/state.h"

namespace twin {

bool addLSP(Database& db, const Lsp& lsp, Ids& preempted);
bool removeLSP(Database& db, Long id);
bool changeLSP(Database& db, const Lsp& lsp, Ids& preempted);
bool getPreemptList(Database& db, const Lsp& lsp, Ids& preempted);

// The union, both lists sorted by it; a value in both once per matched pair.
Ids merge(Ids& la, Ids& lb);

bool chooseReroutedLSPs(int precedence, const LinkState& ls,
                        const std::vector<const Lsp*>& lsps, const Row& toGain,
                        Ids& chosen);
double makeRerouteScore(const Request& req, const Row& gain, const LinkState& ls,
                        std::size_t oa);

}  // namespace twin
