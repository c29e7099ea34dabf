#include "database/outage.h"

#include <algorithm>

#include "common/array.h"
#include "common/scoped.h"
#include "database/database.h"
#include "database/live/live.h"
#include "error/error.h"
#include "rerouting/rerouting.h"

#define ERROR_SOURCE "database/database.c"

namespace {

class Concerned {
  public:
    explicit Concerned(const DataBase* dataBase)
        : dataBase_(dataBase), gone_(dataBase->live) {}

    int find(const LongList* ends) {
        const DBLSPVec& lsps = dataBase_->lspVec;
        if (!crosses_.fill(lsps.size, false) || !isConcerned_.fill(lsps.size, false) ||
            !primaryOf_.fill(lsps.size, -1) ||
            !isSource_.fill(dataBase_->nodeVec.size, false))
            return FAIL_WITH(-1, "Critical lack of memory");
        markCrossing(ends);
        for (Long id = 0; id < lsps.size; id++) {
            const DBLabelSwitchedPath* lsp = lsps.cont[id];
            if (lsp == nullptr || !isBackup(lsp->type)) continue;
            if (findLSP(&lsps, lsp->primID) != nullptr) primaryOf_[id] = lsp->primID;
            if (!crosses_[id] && !protectsGone(lsp)) continue;
            isConcerned_[id] = true;
            if (primaryOf_[id] >= 0) isConcerned_[primaryOf_[id]] = true;
        }
        for (Long id = 0; id < lsps.size; id++)
            if (crosses_[id] || (primaryOf_[id] >= 0 && crosses_[primaryOf_[id]]))
                isConcerned_[id] = true;
        return 0;
    }

    int list(LongList* ids) const {
        for (Long id = 0; id < isConcerned_.top; id++)
            if (isConcerned_[id] && longVecPushBack(ids, id) < 0) return -1;
        return 0;
    }

  private:
    void markCrossing(const LongList* ends) {
        for (Long i = 0; i + 1 < ends->top; i += 2) {
            DBLink* link =
                findLink(&dataBase_->linkTab, ends->cont[i], ends->cont[i + 1]);
            if (link == nullptr) continue;
            isSource_[ends->cont[i]] = true;
            gone_.put(link);
            for (Long j = 0; j < link->lspList.top; j++)
                crosses_[link->lspList.cont[j]->id] = true;
        }
    }

    // Whether the primary crosses a link that goes, or did when the backup was made.
    bool protectsGone(const DBLabelSwitchedPath* backup) const {
        const LongList& nodes = backup->primPath;
        for (Long i = 0; i + 1 < nodes.top; i++) {
            const Long src = nodes.cont[i];
            if (src < 0 || src >= isSource_.top || !isSource_[src]) continue;
            const DBLink* link = findLink(&dataBase_->linkTab, src, nodes.cont[i + 1]);
            if (link != nullptr && gone_.has(link)) return true;
        }
        return false;
    }

    const DataBase* dataBase_;
    WalkMarks gone_;
    ScopedArray<bool> crosses_;      // a link that goes, by LSP
    ScopedArray<bool> isConcerned_;  // by LSP
    ScopedArray<Long> primaryOf_;    // by backup, -1 if it is down
    ScopedArray<bool> isSource_;     // of a link that goes, by node
};

}  // namespace

int DBlistConcerned(const DataBase* dataBase, const LongList* ends, LongList* ids) {
    if (dataBase == nullptr || ends == nullptr || ids == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    Concerned concerned(dataBase);
    return concerned.find(ends) == 0 ? concerned.list(ids) : -1;
}

int DBlistMisfits(DataBase* dataBase, Long src, Long dst, LongList* ids) {
    if (dataBase == nullptr || ids == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    DBLink* link = findLink(&dataBase->linkTab, src, dst);
    if (link == nullptr)
        return FAIL_WITH(-1, "Inexistent Link (src = %d, dst = %d)", src, dst);
    const Long messages = errorManager.top;
    for (int oa = 0; oa < kClasses; oa++) {
        double reserved = 0.0;
        for (double level : link->state.rbw[oa]) reserved += level;
        double gain[kClasses] = {};
        gain[oa] = std::max(0.0, reserved - link->state.cap[oa]);
        ScopedLongList chosen;
        if (longVecInit(&chosen, -1) < 0) return -1;
        // Where all of them are too few, all have been chosen.
        chooseReroutedLSPs(-1, &link->state, &link->lspList, gain, &chosen);
        longListSort(&chosen);
        chosen.top = static_cast<Long>(
            std::unique(chosen.cont, chosen.cont + chosen.top) - chosen.cont);
        if (longListMerge(&chosen, ids, ids) < 0) return -1;
    }
    errorManager.top = messages;
    return 0;
}
