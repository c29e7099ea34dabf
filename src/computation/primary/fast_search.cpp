#include "computation/primary/fast_search.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "common/setup.h"
#include "computation/link_summary.h"
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
    bool pending;  // an in-link may improve it
    bool elected;  // has a candidate in this pass
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

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

// The passes of the search, pushed along: whenever the label of a node is committed, its
// out-links write their scores at their heads. A node then looks for improvements in one
// run over the offers of its in-links, and only after one of them has changed.
class FastSearch {
  public:
    FastSearch(DataBase* dataBase, LSPRequest* req, const DBTopology* topology)
        : dataBase_(dataBase), req_(req), topology_(topology) {}

    // False, nothing changed, if the search cannot be done here.
    bool prepare() {
        if (refreshSummaries(dataBase_, topology_, req_->bw, classesToRead(req_),
                             &summaries_) < 0)
            return false;
        DBWorkspace* work = workspaceOf(dataBase_);
        const Long nodes = topology_->nodeSlots;
        labels_ = scratchArray<Label>(&work->scratches[PRIMARY_NODES], nodes);
        isOpen_ = scratchArray<bool>(&work->scratches[PRIMARY_LINKS], summaries_.nbLinks);
        offers_ =
            scratchArray<double>(&work->scratches[PRIMARY_OFFERS], summaries_.nbLinks);
        if (labels_ == nullptr || isOpen_ == nullptr || offers_ == nullptr ||
            longVecInit(&active_, nodes + 1) < 0 || initTrial() < 0)
            return false;
        std::fill_n(offers_, summaries_.nbLinks, kInfinity);
        std::fill_n(
            labels_, nodes,
            Label{0.0, 0.0, -1, -1, UNREACHED, topology_->connected, false, false});
        return terms_.init(work, summaries_, req_) == 0;
    }

    // False, nothing changed, if a link is of a kind that has to be scored the long way.
    bool admitLinks(Long src) {
        const bool needsOrder = !topology_->connected || terms_.hasSums();
        if (needsOrder && !buildOrder(src)) return false;
        for (Long i = 0; i < summaries_.nbLinks; i++) {
            const TopoLink& out = topology_->out[i];
            isOpen_[i] = labels_[out.head].built &&
                         admits(dataBase_, summaries_, i, req_, &trial_);
            if (!isOpen_[i]) continue;
            if (!labels_[out.tail].built && out.tail >= size_) return false;
            if (!summaries_.links[i].isFinite) return false;
            terms_.compute(i);
        }
        return true;
    }

    void run(Long src) {
        if (terms_.hasSums()) sumUtilisations(src);
        // Along a chain of candidates scores do not rise towards the source if no term is
        // negative: a node on it cannot be beaten by way of its end.
        loopsPossible_ = !terms_.neverFalls();
        labels_[src].reach = EXPANDED;
        offerFrom(src);
        expand(src);
        Long threshold = active_.top;
        while (threshold > 0) {
            changed_ = false;
            for (Long i = 0; i < threshold; i++) {
                const Long n = active_.cont[i];
                if (labels_[n].pending) relax(n);
                if (labels_[n].reach == EXPANDED) continue;
                labels_[n].reach = EXPANDED;
                expand(n);
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
    bool buildOrder(Long src) {
        if (longVecInit(&order_, topology_->nodeSlots + 1) < 0) return false;
        for (Long n = 0; n < topology_->nodeSlots; n++) labels_[n].built = false;
        LongList* toDo = &active_;  // free until the search begins
        size_ = src + 1;
        labels_[src].built = true;
        toDo->cont[toDo->top++] = src;
        while (toDo->top > 0) {
            const Long n = toDo->cont[--toDo->top];
            order_.cont[order_.top++] = n;
            size_ = std::max(size_, n + 1);
            for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
                const Long head = topology_->hops[i].head;
                if (labels_[head].built) continue;
                labels_[head].built = true;
                toDo->cont[toDo->top++] = head;
            }
        }
        return true;
    }

    void sumUtilisations(Long src) {
        terms_.clearSums(src);
        for (Long i = 0; i < order_.top; i++) {
            const Long n = order_.cont[i];
            for (Long j = topology_->firstIn[n]; j < topology_->firstIn[n + 1]; j++)
                if (isOpen_[topology_->outOfIn[j]])
                    terms_.addUtilisation(src, topology_->outOfIn[j]);
        }
    }

    // The label of n has been committed.
    void offerFrom(Long n) {
        const double cost = labels_[n].cost;
        for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
            if (!isOpen_[i]) continue;
            const OutHop& hop = topology_->hops[i];
            offers_[hop.inPosition] = terms_.score(i, cost, n);
            labels_[hop.head].pending = true;
        }
    }

    void expand(Long n) {
        for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
            const OutHop& hop = topology_->hops[i];
            Label* label = &labels_[hop.head];
            if (!isOpen_[i] || label->reach != UNREACHED) continue;
            label->cost = label->newCost = offers_[hop.inPosition];
            label->neighb = label->newNeighb = hop.inPosition;
            terms_.elect(i, n, hop.head);
            terms_.activate(hop.head);
            label->reach = REACHED;
            active_.cont[active_.top++] = hop.head;
            offerFrom(hop.head);
            changed_ = true;
        }
    }

    // Takes the last offer that beats the committed label, as the order of passes has it.
    void relax(Long n) {
        Label* label = &labels_[n];
        label->pending = false;
        const double cost = label->cost;
        Long best = -1;
        for (Long i = topology_->firstIn[n]; i < topology_->firstIn[n + 1]; i++) {
            if (!(offers_[i] - cost < -kMinGain)) continue;
            // Taken or not, it is to be looked at again: against the score that this
            // pass elects, or when the loop is gone.
            label->pending = true;
            if (loopsPossible_ && isOnChain(topology_->in[i].tail, n)) continue;
            best = i;
        }
        if (best < 0) return;
        label->newCost = offers_[best];
        label->newNeighb = best;
        terms_.elect(topology_->outOfIn[best], topology_->in[best].tail, n);
        label->elected = true;
        changed_ = true;
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
        offerFrom(n);
    }

    DataBase* dataBase_;
    LSPRequest* req_;
    const DBTopology* topology_;
    LinkSummaries summaries_ = {};
    ScoreTerms terms_;
    ScopedLSP trial_;
    Label* labels_ = nullptr;   // by node id
    bool* isOpen_ = nullptr;    // by position among the out-links: takes the request
    double* offers_ = nullptr;  // by position among the in-links: scores at their heads
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
