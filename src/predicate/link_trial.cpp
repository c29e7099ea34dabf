#include "predicate/link_trial.h"

#include <algorithm>

#include "common/setup.h"
#include "database/database.h"
#include "database/live/live.h"
#include "error/error.h"
#include "predicate/predicate.h"

#define ERROR_SOURCE "predicate/predicate.c"

namespace {

bool isKnown(const LongList* path) {
    return path->top >= 2 && std::none_of(path->cont, path->cont + path->top,
                                          [](Long node) { return node < 0; });
}

}  // namespace

int LinkTrial::init() {
    // A backup is tried with the path that its primary has, whatever its own copy says.
    const DBLabelSwitchedPath* primary =
        isBackup(lsp_->type) ? DBgetLSP(dataBase_, lsp_->primID) : lsp_;
    isSound_ =
        lsp_->type <= DB_GLOBAL_BACKUP_LSP && isKnown(&lsp_->path) && primary != nullptr;
    return isSound_ ? booker_.init(dataBase_, lsp_, &primary->path) : 0;
}

bool LinkTrial::admits(DBLink* link, Long src, Long dst, double* gain) {
    if (!isSound_)
        return isValidLSPLink(dataBase_, src, dst, DBgetLinkState(dataBase_, src, dst),
                              lsp_, gain);
    const int ret = booker_.gather(src, dst, SETUP);
    if (ret < 0) return FAIL_WITH(false, "Unable to update link state");
    const PredicateConfig& config = kavrilConfig.predicateConfig;
    bool gate = true;
    const int upTo = config.allowReroute ? lsp_->precedence : kLevels - 1;
    if (config.capacityClause && ret > 0 && surelyFits(link, booker_.booking, upTo)) {
        std::fill_n(gain, kClasses, 0.0);
    } else if (config.capacityClause) {
        double rbw[kClasses][kLevels];
        if (ret > 0 && !tryLink(dataBase_, link, booker_.booking, rbw))
            return FAIL_WITH(false, "Unable to update link state");
        gate = fitsCapacity(ret > 0 ? rbw : link->state.rbw, link->state.cap,
                            lsp_->precedence, gain);
    }
    if (config.colorClause)
        gate = gate && indexOf(&lsp_->forbidLinks, link->state.color) < 0;
    return gate;
}
