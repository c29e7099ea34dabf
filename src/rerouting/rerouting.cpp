#include "rerouting/rerouting.h"

#include <limits>

#include "common/setup.h"
#include "database/lsp.h"
#include "error/error.h"

#define ERROR_SOURCE "rerouting/rerouting.c"

namespace {

constexpr double kEps = 1e-10;  // amounts below count as zero

// How often LSPs may be taken that were taken before. One that is tiny against the need,
// 1e-3 against 1e6, is taken until it has freed enough, but not until memory ends.
constexpr int kMaxAgain = 1 << 24;

bool listIsLive(const DBLSPList* list) {
    return list->cont != nullptr;
}
using ScopedLSPList = Scoped<DBLSPList, DBlspListEnd, listIsLive>;

int classToServe(const double* toGain) {
    for (int oa = kClasses - 1; oa > 0; oa--)
        if (toGain[oa] > kEps) return oa;
    return 0;
}

// The choice in one class; `next` is the first candidate not yet taken.
struct Choice {
    int oa;
    double need;
    const DBLSPList* candidates;
    Long next;
    LongList* idList;

    const DBLabelSwitchedPath* candidate(Long i) const { return candidates->cont[i]; }
    bool isExhausted() const { return next >= candidates->top; }
};

int fail() {
    return FAIL_WITH(-1, "Not enough preemptable bandwidth for LSP selection");
}

int append(Choice* choice, Long i) {
    return longVecPushBack(choice->idList, choice->candidate(i)->id);
}

// Takes every candidate of the level.
int takeLevel(Choice* choice, int level, double reserved) {
    for (; !choice->isExhausted(); choice->next++) {
        if (choice->candidate(choice->next)->precedence != level) break;
        if (append(choice, choice->next) < 0) return -1;
    }
    choice->need -= reserved;
    return 0;
}

// Takes candidate i on its own.
int takeOne(Choice* choice, Long i) {
    if (append(choice, i) < 0) return -1;
    choice->need -= choice->candidate(i)->bw[choice->oa];
    return 0;
}

// Ends: every round takes a candidate that was not taken before, or counts.
int chooseInLevel(Choice* choice, int level) {
    int again = 0;
    while (choice->need > kEps) {
        if (choice->isExhausted()) return fail();
        // May run on into the next level.
        if (choice->need >= choice->candidate(choice->next)->bw[choice->oa]) {
            if (takeOne(choice, choice->next++) < 0) return fail();
            continue;
        }
        // The last of those that suffice is the smallest. If the next candidate is of
        // another level already, the one before it is taken a second time.
        Long j = choice->next;
        while (j < choice->candidates->top &&
               choice->candidate(j)->bw[choice->oa] >= choice->need &&
               choice->candidate(j)->precedence == level)
            j++;
        const double before = choice->need;
        const bool isAgain = j == choice->next;
        if (isAgain && ++again > kMaxAgain) return fail();
        if (takeOne(choice, j - 1) < 0) return fail();
        // What changes nothing would be taken for ever.
        if (isAgain && choice->need == before) return fail();
        choice->next = j;
    }
    return 0;
}

}  // namespace

int chooseReroutedLSPs(int precedence, DBLinkState* state, DBLSPList* lspList,
                       double* toGain, LongList* idList) {
    if (idList == nullptr || idList->cont == nullptr || state == nullptr ||
        lspList == nullptr || lspList->cont == nullptr)
        return FAIL_WITH(-1, "Invalid arguments");
    const int oa = classToServe(toGain);
    if (!(toGain[oa] > kEps)) return 0;

    ScopedLSPList candidates;
    if (DBlspListInit(&candidates, lspList->size) < 0)
        return FAIL_WITH(-1, "Invalid arguments");
    for (Long i = 0; i < lspList->top; i++)
        if (lspList->cont[i]->bw[oa] > kEps)
            candidates.cont[candidates.top++] = lspList->cont[i];

    Choice choice = {oa, toGain[oa], &candidates, 0, idList};
    // Every round takes the candidates of a level, at least one, whatever that frees.
    while (choice.need > kEps) {
        if (choice.isExhausted()) return fail();
        const int level = choice.candidate(choice.next)->precedence;
        if (level <= precedence) return fail();
        const double reserved = state->rbw[oa][level];
        if (!(choice.need >= reserved)) return chooseInLevel(&choice, level);
        if (takeLevel(&choice, level, reserved) < 0) return -1;
    }
    return 0;
}

double makeRerouteScore(LSPRequest* req, double* gain, DBLinkState* ls, int oa) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const double toGain = gain[oa];
    if (!(toGain > 0.0)) return 0.0 / req->bw[oa];
    double score = 0.0;
    double bwGained = 0.0;
    for (int p = kLevels - 1; p > req->precedence; p--) {
        const double left = toGain - bwGained;
        const double reserved = ls->rbw[oa][p];
        const double coef = kavrilConfig.reroutingConfig.scoreCoef[oa][p];
        const double freed = left > reserved ? reserved : left;
        score += coef * freed;
        bwGained += freed;
        if (!(toGain > bwGained)) return score / req->bw[oa];
    }
    return FAIL_WITH(kInfinity, "internal error: impossible to realize gain");
}
