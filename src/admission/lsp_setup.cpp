#include "admission/lsp_setup.h"

#include <algorithm>

#include "database/database.h"
#include "database/link_update.h"
#include "database/live/live.h"
#include "error/error.h"
#include "predicate/link_trial.h"
#include "rerouting/rerouting.h"

#define ERROR_SOURCE "database/database.c"

namespace {

// Calls act(link, src, dst, isPrimarys) for every hop of the LSP's path and, for a
// backup, for the hops of its primary's path whose links have not been handled. act
// returns false to end the walk. `link` is null for a hop without a link.
template <class Act>
void forEachHop(DataBase* dataBase, DBLabelSwitchedPath* lsp, Act act) {
    const WalkMarks handled(dataBase->live);
    bool isPrimarys = false;
    for (const LongList* nodes : {&lsp->path, &lsp->primPath}) {
        for (Long i = 0; i < nodes->top - 1; i++) {
            const Long src = nodes->cont[i];
            const Long dst = nodes->cont[i + 1];
            DBLink* link = findLink(&dataBase->linkTab, src, dst);
            if (isPrimarys && link != nullptr && handled.has(link)) continue;
            if (!act(link, src, dst, isPrimarys)) return;
            if (link != nullptr) handled.put(link);
        }
        if (!isBackup(lsp->type)) return;
        isPrimarys = true;
    }
}

// Asks the links of an LSP, one after the other, who has to give way.
class Admission {
  public:
    Admission(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList)
        : dataBase_(dataBase),
          lsp_(lsp),
          preemptList_(preemptList),
          trial_(dataBase, lsp) {}

    int run() {
        if (longVecInit(&idList_, -1) < 0)
            return FAIL_WITH(-1, "Unable to initialize list of longs");
        if (trial_.init() < 0)
            return FAIL_WITH(-1, "Unable to initialize vector of longs");
        int ret = 0;
        auto ask = [&](DBLink* link, Long src, Long dst, bool) {
            ret = askLink(link, src, dst);
            return ret == 0 && allowed_;
        };
        forEachHop(dataBase_, lsp_, ask);
        return ret;
    }

    bool allowed() const { return allowed_; }

  private:
    int askLink(DBLink* link, Long src, Long dst) {
        if (link == nullptr) {
            PUSH_ERROR(CRITICAL, "Inexistent Link (src = %d, dst = %d)", src, dst);
            return FAIL_WITH(-1, "Unable to get the list of LSPs carried by the link");
        }
        allowed_ = trial_.admits(link, src, dst, rerouteGain_);
        // The link that refuses the LSP is asked for its victims all the same.
        idList_.top = 0;
        if (chooseReroutedLSPs(lsp_->precedence, &link->state, &link->lspList,
                               rerouteGain_, &idList_) < 0)
            return FAIL_WITH(-1, "Unable choose LSPs for rerouting");
        if (longListMerge(&idList_, preemptList_, preemptList_) < 0)
            return FAIL_WITH(-1, "Unable to merge lists of longs");
        return 0;
    }

    DataBase* dataBase_;
    DBLabelSwitchedPath* lsp_;
    LongList* preemptList_;
    LinkTrial trial_;
    ScopedLongList idList_;
    // Not cleared between links: where the capacity clause gives up at a class, that
    // class and those behind it keep the gains of the link before.
    double rerouteGain_[kClasses] = {};
    bool allowed_ = true;
};

// A stored copy of the LSP, or null.
DBLabelSwitchedPath* storeCopy(DataBase* dataBase, DBLabelSwitchedPath* lsp) {
    DBLabelSwitchedPath* copy = DBlspNew();
    if (copy == nullptr) return FAIL_WITH(nullptr, "Unable to create LSP");
    if (DBlspCopy(copy, lsp) < 0)
        PUSH_ERROR(CRITICAL, "Unable to create a valid LSP copy");
    else if (DBlspVecSet(&dataBase->lspVec, copy, copy->id) < 0)
        PUSH_ERROR(CRITICAL, "Unable to insert LSP in the general LSP container");
    else
        return copy;
    DBlspDestroy(copy);
    return nullptr;
}

// Makes the LSP's partner point to `id`. False if the partner does not exist.
bool setPartner(DataBase* dataBase, const DBLabelSwitchedPath* lsp, Long id) {
    DBLabelSwitchedPath* partner = DBgetLSP(dataBase, lsp->noContentionId);
    if (partner == nullptr) {
        PUSH_ERROR(WARNING, "Unable to get no contention LSP");
        return false;
    }
    partner->noContentionId = id;
    return true;
}

// Applies a stored LSP to its links, as far as that goes: on the links of its own path
// act(list) enters it into their lists of LSPs or takes it out.
template <class Act>
int applyToLinks(DataBase* dataBase, DBLabelSwitchedPath* lsp, Booker* booker,
                 operation op, Act act) {
    int ret = 0;
    forEachHop(dataBase, lsp, [&](DBLink* link, Long src, Long dst, bool isPrimarys) {
        if (link == nullptr) {
            ret = FAIL_WITH(-1, "Inexistent Link (src = %d, dst = %d)", src, dst);
            return true;
        }
        if (!isPrimarys && act(&link->lspList) < 0) ret = -1;
        const int gathered = booker->gather(src, dst, op);
        if (gathered != 0 && bookLink(dataBase, link, booker->booking, gathered > 0) < 0)
            ret = -1;
        return true;
    });
    return ret;
}

}  // namespace

int DBtestLSP(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList) {
    if (dataBase == nullptr || lsp == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    Admission admission(dataBase, lsp, preemptList);
    if (admission.run() < 0) return -1;
    return admission.allowed() ? 0 : FAIL_WITH(-1, "LSP refused by the predicate");
}

int DBaddLSP(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList) {
    if (DBtestLSP(dataBase, lsp, preemptList) < 0) return -1;
    DBLabelSwitchedPath* stored = storeCopy(dataBase, lsp);
    if (stored == nullptr) return -1;
    if (stored->noContentionId >= 0 && !setPartner(dataBase, stored, stored->id))
        stored->noContentionId = -1;
    Booker booker;
    auto enter = [=](DBLSPList* list) { return DBlspListInsert(list, stored); };
    if (booker.init(dataBase, stored, &stored->primPath) < 0 ||
        applyToLinks(dataBase, stored, &booker, SETUP, enter) < 0)
        return FAIL_WITH(-1, "LSP addition uncomplete");
    return 0;
}

int DBremoveLSP(DataBase* dataBase, Long id) {
    if (dataBase == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    DBLabelSwitchedPath* lsp = DBgetLSP(dataBase, id);
    if (lsp == nullptr)
        return FAIL_WITH(-1, "Trying to remove inexistent LSP (id = %d)", id);
    Booker booker;
    if (booker.init(dataBase, lsp, &lsp->primPath) < 0)
        return FAIL_WITH(-1, "LSP removal uncomplete");
    auto takeOut = [=](DBLSPList* list) { return DBlspListRemove(list, lsp); };
    int ret = applyToLinks(dataBase, lsp, &booker, REMOVE, takeOut);
    if (DBlspVecRemove(&dataBase->lspVec, id) < 0) ret = -1;
    if (lsp->noContentionId >= 0) setPartner(dataBase, lsp, -1);
    DBlspDestroy(lsp);
    return ret == 0 ? 0 : FAIL_WITH(-1, "LSP removal uncomplete");
}

int getpreemptList(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList) {
    if (dataBase == nullptr || lsp == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    return Admission(dataBase, lsp, preemptList).run();
}
