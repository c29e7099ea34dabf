#include "admission/lsp_setup.h"

#include <algorithm>
#include <functional>

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

// Books a stored LSP on its links, or takes it off them, as far as that goes.
template <class Act>
int bookLSP(DataBase* dataBase, DBLabelSwitchedPath* lsp, operation op, Act act) {
    Booker booker;
    return booker.init(dataBase, lsp, &lsp->primPath) == 0
               ? applyToLinks(dataBase, lsp, &booker, op, act)
               : -1;
}

int enterInLists(DataBase* dataBase, DBLabelSwitchedPath* lsp) {
    return bookLSP(dataBase, lsp, SETUP,
                   [=](DBLSPList* list) { return DBlspListInsert(list, lsp); });
}

int takeOffLists(DataBase* dataBase, DBLabelSwitchedPath* lsp) {
    return bookLSP(dataBase, lsp, REMOVE,
                   [=](DBLSPList* list) { return DBlspListRemove(list, lsp); });
}

// A copy of the LSP that is the partner of the stored one with its id, at its level.
int successorOf(const DBLabelSwitchedPath* stored, DBLabelSwitchedPath* lsp,
                DBLabelSwitchedPath* copy) {
    if (DBlspCopy(copy, lsp) < 0)
        return FAIL_WITH(-1, "Unable to create a valid LSP copy");
    copy->noContentionId = stored->id;
    copy->precedence = stored->precedence;
    return 0;
}

// On the same links, with no more bandwidth in any class: what is freed of the primary is
// at least what backups may then need in addition.
bool needsNoRoom(const DBLabelSwitchedPath* old, const DBLabelSwitchedPath* lsp) {
    return std::equal(old->path.cont, old->path.cont + old->path.top, lsp->path.cont,
                      lsp->path.cont + lsp->path.top) &&
           std::equal(lsp->bw, lsp->bw + kClasses, old->bw, std::less_equal<>());
}

// Takes the old LSP's place under its id, as its partner, and destroys it.
int replace(DataBase* dataBase, DBLabelSwitchedPath* old, DBLabelSwitchedPath* lsp) {
    // The lists tell LSPs apart by id, which both have.
    forEachHop(dataBase, old, [=](DBLink* link, Long, Long, bool) {
        if (link != nullptr) DBlspListRemove(&link->lspList, old);
        return true;
    });
    int ret = enterInLists(dataBase, lsp);
    dataBase->lspVec.cont[lsp->id] = lsp;
    old->noContentionId = lsp->id;
    if (bookLSP(dataBase, old, REMOVE, [](DBLSPList*) { return 0; }) < 0) ret = -1;
    lsp->noContentionId = -1;
    DBlspDestroy(old);
    return ret;
}

// The worst failure of a link needs the same over all levels, whatever the level of one
// LSP is: nobody has to be asked.
int changeLevel(DataBase* dataBase, DBLabelSwitchedPath* lsp, int precedence) {
    int ret = takeOffLists(dataBase, lsp);
    lsp->precedence = precedence;
    return enterInLists(dataBase, lsp) < 0 ? -1 : ret;
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
    return enterInLists(dataBase, stored) == 0 ? 0
                                               : FAIL_WITH(-1, "LSP addition uncomplete");
}

int DBchangeLSP(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList) {
    if (dataBase == nullptr || lsp == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    DBLabelSwitchedPath* old = DBgetLSP(dataBase, lsp->id);
    if (old == nullptr)
        return FAIL_WITH(-1, "Trying to change inexistent LSP (id = %d)", lsp->id);
    if (isBackup(old->type) || isBackup(lsp->type) || old->noContentionId >= 0)
        return FAIL_WITH(-1,
                         "Trying to change a backup or an LSP that is being replaced");
    DBLabelSwitchedPath* changed = DBlspNew();
    if (changed == nullptr) return FAIL_WITH(-1, "Unable to create LSP");
    if (successorOf(old, lsp, changed) < 0 ||
        (!needsNoRoom(old, lsp) && DBtestLSP(dataBase, changed, preemptList) < 0)) {
        DBlspDestroy(changed);
        return -1;
    }
    int ret = replace(dataBase, old, changed);
    if (lsp->precedence != changed->precedence &&
        changeLevel(dataBase, changed, lsp->precedence) < 0)
        ret = -1;
    return ret == 0 ? 0 : FAIL_WITH(-1, "LSP change uncomplete");
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
