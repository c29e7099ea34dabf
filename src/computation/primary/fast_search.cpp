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

// The labels of a node but for its committed cost. Predecessors are positions of
// in-links, -1 for none.
struct Label {
    double newCost;
    Long neighb;
    Long newNeighb;
};

// What there is to do about a node that has been reached; 0: nothing.
enum ToDo : std::uint8_t {
    LOOK = 1,    // an in-link may improve its label
    EXPAND = 2,  // its out-links have not been followed
};

// A link that takes the request, among those that leave its tail.
struct Arc {
    double term;  // what it adds to a score, if that is one term
    Long head;
    Long inPosition;
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
        costs_ = scratchArray<double>(&work->scratches[PRIMARY_COSTS], nodes);
        toDo_ = scratchArray<std::uint8_t>(&work->scratches[PRIMARY_TO_DO], nodes);
        firstArc_ = scratchArray<Long>(&work->scratches[PRIMARY_FIRST_ARCS], nodes);
        arcs_ = scratchArray<Arc>(&work->scratches[PRIMARY_ARCS], summaries_.nbLinks);
        positions_ =
            scratchArray<Long>(&work->scratches[PRIMARY_POSITIONS], summaries_.nbLinks);
        offers_ =
            scratchArray<double>(&work->scratches[PRIMARY_OFFERS], summaries_.nbLinks);
        if (labels_ == nullptr || costs_ == nullptr || positions_ == nullptr ||
            toDo_ == nullptr || firstArc_ == nullptr || arcs_ == nullptr ||
            offers_ == nullptr || clearStamps(&work->stamps[REACHED_NODES], nodes) < 0 ||
            longVecInit(&active_, nodes + 1) < 0 ||
            longVecInit(&elected_, nodes + 1) < 0 || initTrial() < 0)
            return false;
        std::fill_n(offers_, summaries_.nbLinks, kInfinity);
        std::fill_n(toDo_, nodes, std::uint8_t{0});
        reached_ = &work->stamps[REACHED_NODES];
        return terms_.init(work, summaries_, req_) == 0;
    }

    // False, nothing changed, if a link is of a kind that has to be scored the long way.
    bool admitLinks(Long src) {
        const bool needsOrder = !topology_->connected || terms_.hasSums();
        if (needsOrder && !buildOrder(src)) return false;
        const QuickAdmission quick(summaries_, req_);
        nbArcs_ = 0;
        for (Long n = 0; n < topology_->nodeSlots; n++) {
            firstArc_[n] = nbArcs_;
            for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
                const OutHop& hop = topology_->hops[i];
                if (!topology_->connected && !isMarked(built_, hop.head)) continue;
                if (!quick.admits(i) &&
                    (!quick.isUnsure(i) ||
                     !admits(dataBase_, summaries_, i, req_, &trial_)))
                    continue;
                if (!topology_->connected && !isMarked(built_, n) && n >= size_)
                    return false;
                if (!summaries_.links[i].isFinite) return false;
                positions_[nbArcs_] = i;
                arcs_[nbArcs_++] = {terms_.compute(i), hop.head, hop.inPosition};
            }
        }
        firstArc_[topology_->nodeSlots] = nbArcs_;
        return true;
    }

    // Ends where the search on the topology does: pass by pass it changes the same
    // labels.
    void run(Long src) {
        if (terms_.hasSums()) sumUtilisations(src);
        // Along a chain of candidates scores do not rise towards the source if no term is
        // negative: a node on it cannot be beaten by way of its end.
        loopsPossible_ = !terms_.neverFalls();
        costs_[src] = 0.0;
        labels_[src] = {0.0, -1, -1};
        mark(reached_, src);
        offerFrom(src);
        expand(src);
        Long threshold = active_.top;
        while (threshold > 0) {
            isChanged_ = false;
            for (Long i = 0; i < threshold; i++) {
                const Long n = active_.cont[i];
                const std::uint8_t toDo = toDo_[n];
                if (toDo == 0) continue;
                toDo_[n] = 0;
                if ((toDo & LOOK) != 0) relax(n);
                if ((toDo & EXPAND) != 0) expand(n);
            }
            for (Long i = 0; i < elected_.top; i++) commit(elected_.cont[i]);
            elected_.top = 0;
            if (!isChanged_) return;
            threshold = active_.top;
        }
    }

    FastResult readPath(Long src, Long dst, double* cost) {
        LongList* path = &req_->path;
        path->top = 0;
        const bool reached =
            dst == src || (dst < topology_->nodeSlots && isMarked(reached_, dst));
        if (!reached) {
            PUSH_ERROR(CRITICAL, "Destination unreachable");
            return FastResult::UNREACHABLE;
        }
        for (Long n = dst; n != src; n = topology_->in[labels_[n].neighb].tail)
            path->cont[path->top++] = n;
        path->cont[path->top++] = src;
        std::reverse(path->cont, path->cont + path->top);
        *cost = costs_[dst];
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
        built_ = &workspaceOf(dataBase_)->stamps[BUILT_NODES];
        if (longVecInit(&order_, topology_->nodeSlots + 1) < 0 ||
            clearStamps(built_, topology_->nodeSlots) < 0)
            return false;
        LongList* toVisit = &active_;  // free until the search begins
        size_ = src + 1;
        mark(built_, src);
        toVisit->cont[toVisit->top++] = src;
        while (toVisit->top > 0) {
            const Long n = toVisit->cont[--toVisit->top];
            order_.cont[order_.top++] = n;
            size_ = std::max(size_, n + 1);
            for (Long i = topology_->firstOut[n]; i < topology_->firstOut[n + 1]; i++) {
                const Long head = topology_->hops[i].head;
                if (isMarked(built_, head)) continue;
                mark(built_, head);
                toVisit->cont[toVisit->top++] = head;
            }
        }
        return true;
    }

    // Adds up over all links that take the request, node by node in that order.
    void sumUtilisations(Long src) {
        terms_.clearSums(src);
        for (Long i = 0; i < nbArcs_; i++) offers_[arcs_[i].inPosition] = 0.0;
        for (Long i = 0; i < order_.top; i++) {
            const Long n = order_.cont[i];
            for (Long j = topology_->firstIn[n]; j < topology_->firstIn[n + 1]; j++)
                if (offers_[j] == 0.0) terms_.addUtilisation(src, topology_->outOfIn[j]);
        }
        std::fill_n(offers_, summaries_.nbLinks, kInfinity);
    }

    // The label of n has been committed. A committed label only gets better: an offer
    // that does not beat it now will not later.
    void offerFrom(Long n) {
        const double cost = costs_[n];
        const Long end = firstArc_[n + 1];
        if (!terms_.isSingle()) {
            for (Long i = firstArc_[n]; i < end; i++)
                offer(arcs_[i], terms_.score(positions_[i], cost, n), offers_, costs_,
                      toDo_);
            return;
        }
        // In locals, since a store to a flag might change any member.
        const Arc* const arcs = arcs_;
        double* const offers = offers_;
        const double* const costs = costs_;
        std::uint8_t* const toDo = toDo_;
        for (Long i = firstArc_[n]; i < end; i++)
            offer(arcs[i], ScoreTerms::priced(cost + arcs[i].term), offers, costs, toDo);
    }

    static void offer(const Arc& arc, double score, double* offers, const double* costs,
                      std::uint8_t* toDo) {
        offers[arc.inPosition] = score;
        toDo[arc.head] |= beats(score, costs[arc.head]) ? LOOK : 0;
    }

    static bool beats(double offer, double cost) { return offer - cost < -kMinGain; }

    void expand(Long n) {
        for (Long i = firstArc_[n]; i < firstArc_[n + 1]; i++) {
            const Arc& arc = arcs_[i];
            if (isMarked(reached_, arc.head)) continue;
            mark(reached_, arc.head);
            costs_[arc.head] = offers_[arc.inPosition];
            labels_[arc.head] = {costs_[arc.head], arc.inPosition, arc.inPosition};
            terms_.elect(positions_[i], n, arc.head);
            terms_.activate(arc.head);
            toDo_[arc.head] = LOOK | EXPAND;
            active_.cont[active_.top++] = arc.head;
            offerFrom(arc.head);
            isChanged_ = true;
        }
    }

    // The last offer that beats the committed label, as the order of passes has it, or
    // -1; and the least of all. Nobody can foretell which it is: branches would be
    // mispredicted.
    Long lastBetterOffer(Long n, double* least) const {
        const double cost = costs_[n];
        const Long end = topology_->firstIn[n + 1];
        Long best = -1;
        double low = kInfinity;
        for (Long i = topology_->firstIn[n]; i < end; i++) {
            const double offer = offers_[i];
            low = offer < low ? offer : low;
            best = beats(offer, cost) ? i : best;
        }
        *least = low;
        return best;
    }

    // The same, but for offers that close a loop.
    Long lastOpenOffer(Long n, Long from) {
        const double cost = costs_[n];
        for (Long i = from; i >= topology_->firstIn[n]; i--) {
            if (!beats(offers_[i], cost)) continue;
            if (!isOnChain(topology_->in[i].tail, n)) return i;
            toDo_[n] |= LOOK;  // the loop may go
        }
        return -1;
    }

    void relax(Long n) {
        double least;
        Long best = lastBetterOffer(n, &least);
        if (loopsPossible_) best = lastOpenOffer(n, best);
        if (best < 0) return;
        Label* label = &labels_[n];
        label->newCost = offers_[best];
        label->newNeighb = best;
        toDo_[n] |= beats(least, label->newCost) ? LOOK : 0;
        terms_.elect(topology_->outOfIn[best], topology_->in[best].tail, n);
        elected_.cont[elected_.top++] = n;
        isChanged_ = true;
    }

    // Whether n is on the chain of candidates of `from`, which form a tree rooted in the
    // source: none is taken that would close a loop.
    bool isOnChain(Long from, Long n) const {
        while (from != n && labels_[from].neighb != -1)
            from = topology_->in[labels_[from].newNeighb].tail;
        return from == n;
    }

    void commit(Long n) {
        Label* label = &labels_[n];
        costs_[n] = label->newCost;
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
    double* costs_ = nullptr;       // committed, by node id, of nodes reached
    Label* labels_ = nullptr;       // likewise
    Stamps* reached_ = nullptr;     // likewise
    std::uint8_t* toDo_ = nullptr;  // by node id: flags of ToDo
    Arc* arcs_ = nullptr;           // node n's from firstArc_[n] on
    Long* firstArc_ = nullptr;
    Long* positions_ = nullptr;  // of arcs, among the out-links
    Long nbArcs_ = 0;
    double* offers_ = nullptr;  // by position among the in-links: scores at their heads
    ScopedLongList active_;     // nodes reached, in this order
    ScopedLongList elected_;    // nodes with a candidate of this pass
    // Of networks where some nodes cannot be reached, or for sums of utilisations:
    Stamps* built_ = nullptr;  // nodes reached through any links
    ScopedLongList order_;     // these, in the order of the walk
    Long size_ = 0;            // their ids lie below
    bool loopsPossible_ = true;
    bool isChanged_ = false;
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
