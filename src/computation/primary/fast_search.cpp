#include "computation/primary/fast_search.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "common/setup.h"
#include "computation/primary/link_summary.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/score_terms.h"
#include "database/database.h"
#include "database/workspace.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

enum Reach : std::uint8_t { UNREACHED, REACHED, EXPANDED };

// Labels of a node. Predecessors are positions of in-links, -1 for none.
struct Label {
    double cost;
    double newCost;
    Long neighb;
    Long newNeighb;
    Reach reach;
    bool built;    // can be reached from the source, through any links
    bool pending;  // an in-link has to be looked at
    bool elected;  // has a candidate in this pass
};

// What the search knows of a link.
enum Link : std::uint8_t {
    REFUSED,
    OPEN,
    SETTLED,  // can improve nothing until the label of its tail changes
};

bool isKnown(const LongList* path) {
    return std::all_of(path->cont, path->cont + path->top, [](Long n) { return n >= 0; });
}

bool isReasonable(double weight) {
    return std::abs(weight) < 1e100;
}

// Rerouting prices leave messages with every score, and odd weights make sums that
// cannot be left out: such searches take the long road.
bool isConfigSimple() {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    if (!isReasonable(config.Fortz)) return false;
    for (int oa = 0; oa < kClasses; oa++) {
        if (config.rerouting[oa] != 0.0) return false;
        for (double weight : {config.loadBal[oa], config.load[oa], config.sqLoad[oa],
                              config.relLoad[oa], config.sqRelLoad[oa], config.delay[oa]})
            if (!isReasonable(weight)) return false;
    }
    return true;
}

bool isPartnerSimple(DataBase* dataBase, Long id) {
    if (id < 0) return true;
    const DBLabelSwitchedPath* partner = DBgetLSP(dataBase, id);
    if (partner == nullptr) return false;
    for (Long i = 0; i < partner->path.top - 1; i++)
        if (findLink(&dataBase->linkTab, partner->path.cont[i],
                     partner->path.cont[i + 1]) == nullptr)
            return false;
    return true;
}

// A primary with known ends, an unknown path and finite, positive bandwidths.
bool isRequestSimple(DataBase* dataBase, const LSPRequest* req) {
    const LongList* path = &req->path;
    if (path->top < 2 || path->cont[0] < 0 || path->cont[path->top - 1] < 0) return false;
    if (isKnown(path) || req->type != DB_PRIMARY_LSP) return false;
    if (req->precedence < 0 || req->precedence >= kLevels) return false;
    for (double bw : req->bw)
        if (!(bw >= 0.0 && bw < 1e100)) return false;
    return isPartnerSimple(dataBase, req->rerouteInfo.id);
}

class FastSearch {
  public:
    FastSearch(DataBase* dataBase, LSPRequest* req, const DBTopology* topology)
        : dataBase_(dataBase), req_(req), topology_(topology) {}

    // False, nothing changed, if the search cannot be done here.
    bool prepare() {
        const unsigned classes = classesToRead(req_);
        if (refreshSummaries(dataBase_, topology_, req_, classes, &summaries_) < 0)
            return false;
        DBWorkspace* work = workspaceOf(dataBase_);
        const Long nodes = topology_->nodeSlots;
        nbLinks_ = topology_->firstIn[nodes];
        labels_ = scratchArray<Label>(&work->scratches[PRIMARY_NODES], nodes);
        links_ = scratchArray<Link>(&work->scratches[PRIMARY_LINKS], nbLinks_);
        if (labels_ == nullptr || links_ == nullptr ||
            longVecInit(&order_, nodes + 1) < 0 || longVecInit(&active_, nodes + 1) < 0 ||
            initTrial() < 0)
            return false;
        for (Long n = 0; n < nodes; n++)
            labels_[n] = {0.0, 0.0, -1, -1, UNREACHED, false, false, false};
        return true;
    }

    // False, nothing changed, if a link is of a kind that has to be scored the long way.
    bool admitLinks(Long src) {
        buildOrder(src);
        for (Long i = 0; i < nbLinks_; i++) {
            const TopoLink& in = topology_->in[i];
            links_[i] = REFUSED;
            if (!labels_[in.head].built ||
                !admits(dataBase_, summaries_, i, req_, &trial_))
                continue;
            links_[i] = OPEN;
            if (!labels_[in.tail].built && in.tail >= size_) return false;
            if (!summaries_.links[i].isFinite) return false;
        }
        DBWorkspace* work = workspaceOf(dataBase_);
        return terms_.compute(work, summaries_, req_,
                              [this](Long i) { return links_[i] != REFUSED; }) == 0;
    }

    void run(Long src) {
        if (terms_.hasSums()) sumUtilisations(src);
        // Along a chain of candidates scores do not rise towards the source if no term is
        // negative: a node on it cannot be beaten by way of its end.
        loopsPossible_ = !terms_.neverFalls();
        labels_[src].reach = EXPANDED;
        expand(src);
        Long threshold = active_.top;
        while (threshold > 0) {
            changed_ = false;
            for (Long i = 0; i < threshold; i++) {
                relax(active_.cont[i]);
                if (labels_[active_.cont[i]].reach == EXPANDED) continue;
                labels_[active_.cont[i]].reach = EXPANDED;
                expand(active_.cont[i]);
            }
            for (Long i = 0; i < threshold; i++) elect(active_.cont[i]);
            if (!changed_) return;
            threshold = active_.top;
        }
    }

    FastResult readPath(Long src, Long dst, double* cost) {
        LongList* path = &req_->path;
        path->top = 0;
        const bool reached =
            dst == src || (dst < topology_->nodeSlots && labels_[dst].neighb >= 0);
        if (!reached) {
            PUSH_ERROR(CRITICAL, "Destination unreachable");
            return FastResult::UNREACHABLE;
        }
        for (Long n = dst; n != src; n = topology_->in[labels_[n].neighb].tail)
            path->cont[path->top++] = n;
        path->cont[path->top++] = src;
        std::reverse(path->cont, path->cont + path->top);
        *cost = labels_[dst].cost;
        return FastResult::FOUND;
    }

    // Room for any path, so that nothing can fail once the search has begun.
    bool reservePath() {
        LongList* path = &req_->path;
        return path->size > topology_->nodeSlots ||
               longVecResize(path, topology_->nodeSlots + 1) == 0;
    }

  private:
    // The request as the LSP of a trial, with room for a path of one link.
    int initTrial() {
        if (DBlspInit(&trial_) < 0 || longVecResize(&trial_.path, 2) < 0) return -1;
        trial_.path.top = 2;
        trial_.id = req_->id;
        trial_.precedence = req_->precedence;
        trial_.noContentionId = req_->rerouteInfo.id;
        std::copy_n(req_->bw, kClasses, trial_.bw);
        return longVecCopy(&trial_.forbidLinks, &req_->forbidLinks);
    }

    // The nodes in the order in which a depth-first walk builds them.
    void buildOrder(Long src) {
        LongList* toDo = &active_;  // free until the search begins
        size_ = src + 1;
        labels_[src].built = true;
        toDo->cont[toDo->top++] = src;
        while (toDo->top > 0) {
            const Long n = toDo->cont[--toDo->top];
            order_.cont[order_.top++] = n;
            size_ = std::max(size_, n + 1);
            for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
                const Long head = topology_->out[i].head;
                if (labels_[head].built) continue;
                labels_[head].built = true;
                toDo->cont[toDo->top++] = head;
            }
        }
    }

    void sumUtilisations(Long src) {
        double* sums = terms_.sums(src);
        for (Long k = 0; k < terms_.nbSums(); k++) sums[k] = 0.0;
        for (Long i = 0; i < order_.top; i++) {
            const Long n = order_.cont[i];
            for (Long j = topology_->firstIn[n]; j < topology_->firstIn[n + 1]; j++)
                if (links_[j] != REFUSED) terms_.addUtilisation(sums, j);
        }
    }

    // The label of n has changed: what leaves it is to be looked at.
    void wakeHeads(Long n) {
        for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
            const Long position = topology_->outPosition[i];
            if (links_[position] == REFUSED) continue;
            links_[position] = OPEN;
            labels_[topology_->out[i].head].pending = true;
        }
    }

    void expand(Long n) {
        for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
            const Long position = topology_->outPosition[i];
            const Long head = topology_->out[i].head;
            if (links_[position] == REFUSED || labels_[head].reach != UNREACHED) continue;
            Label* label = &labels_[head];
            label->cost = label->newCost = terms_.score(position, labels_[n].cost, n);
            label->neighb = label->newNeighb = position;
            terms_.elect(position, n, head);
            terms_.activate(head);
            label->reach = REACHED;
            label->pending = true;
            active_.cont[active_.top++] = head;
            wakeHeads(head);
            changed_ = true;
        }
    }

    void relax(Long n) {
        Label* label = &labels_[n];
        if (!label->pending) return;
        label->pending = false;
        for (Long i = topology_->firstIn[n]; i < topology_->firstIn[n + 1]; i++) {
            const Long tail = topology_->in[i].tail;
            if (links_[i] != OPEN || labels_[tail].reach == UNREACHED) continue;
            const double cost = terms_.score(i, labels_[tail].cost, tail);
            if (!(cost - label->cost < -kMinGain)) {
                links_[i] = SETTLED;
                continue;
            }
            // Taken or not, it is to be looked at again: against the score that this
            // pass elects, or when the loop is gone.
            label->pending = true;
            if (loopsPossible_ && isOnChain(tail, n)) continue;
            label->newCost = cost;
            label->newNeighb = i;
            label->elected = true;
            terms_.elect(i, tail, n);
            changed_ = true;
        }
    }

    // Whether n is on the chain of candidates of `from`.
    bool isOnChain(Long from, Long n) const {
        while (from != n && labels_[from].neighb != -1)
            from = topology_->in[labels_[from].newNeighb].tail;
        return from == n;
    }

    void elect(Long n) {
        Label* label = &labels_[n];
        if (!label->elected) return;
        label->elected = false;
        label->cost = label->newCost;
        label->neighb = label->newNeighb;
        terms_.activate(n);
        wakeHeads(n);
    }

    DataBase* dataBase_;
    LSPRequest* req_;
    const DBTopology* topology_;
    LinkSummaries summaries_ = {};
    ScoreTerms terms_;
    ScopedLSP trial_;
    Label* labels_ = nullptr;  // by node id
    Link* links_ = nullptr;    // by position among the in-links
    Long nbLinks_ = 0;
    ScopedLongList order_;
    ScopedLongList active_;
    Long size_ = 0;  // node ids built lie below
    bool loopsPossible_ = true;
    bool changed_ = false;
};

}  // namespace

FastResult findPathFast(DataBase* dataBase, LSPRequest* req, double* cost) {
    if (!isConfigSimple() || !isRequestSimple(dataBase, req))
        return FastResult::NOT_APPLICABLE;
    if (dataBase->nbNodes < 0 || dataBase->nbLinks < 0) return FastResult::NOT_APPLICABLE;
    const Long src = req->path.cont[0];
    const Long dst = req->path.cont[req->path.top - 1];
    const DBTopology* topology = currentTopology(dataBase);
    if (topology == nullptr || !topology->consistent ||
        findNode(&dataBase->nodeVec, src) == nullptr)
        return FastResult::NOT_APPLICABLE;
    FastSearch search(dataBase, req, topology);
    if (!search.prepare() || !search.admitLinks(src) || !search.reservePath())
        return FastResult::NOT_APPLICABLE;
    search.run(src);
    return search.readPath(src, dst, cost);
}
