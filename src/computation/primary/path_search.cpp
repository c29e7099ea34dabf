#include "computation/primary/path_search.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "common/setup.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/request_admission.h"
#include "computation/primary/score_terms.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

// The labels of a node but for its committed cost. Predecessors are nodes, -1 for none.
struct Label {
    double newCost;
    Long neighb;
    Long newNeighb;
};

// What there is to do about a node that has been reached; 0: nothing.
enum ToDo : std::uint8_t {
    LOOK = 1,    // a link into it may improve its label
    EXPAND = 2,  // its out-links have not been followed
};

// A link that takes the request.
struct Arc {
    double term;  // what it adds to a score, if that is one term
    Long head;
    Long in;  // in-position
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The passes of the search, pushed along: whenever the label of a node is committed, its
// out-links write their scores at their heads. A node then looks for improvements in one
// run over what its in-links have offered, and only after one of them has changed.
class PathSearch {
  public:
    PathSearch(DataBase* dataBase, LSPRequest* req)
        : dataBase_(dataBase),
          live_(dataBase->live),
          graph_(&dataBase->live->graph),
          req_(req),
          admission_(dataBase, req) {}

    // False, nothing changed, if there is no memory.
    bool prepare(Long src) {
        if (!admission_.prepare(classesToRead(req_)) ||
            !terms_.init(live_, dataBase_->nbLinks, req_))
            return false;
        const Long nodes = graph_->nodeSlots();
        // Room for any path, so that nothing can fail once the search has begun.
        LongList* path = &req_->path;
        if (path->size <= nodes && longVecResize(path, nodes + 1) < 0) return false;
        return makeRoom(&labels_, nodes) && costs_.fill(nodes, kInfinity) &&
               toDo_.fill(nodes, 0) && isReached_.fill(nodes, false) &&
               makeRoom(&firstArc_, nodes + 1) &&
               scores_.fill(graph_->out.top, kInfinity) &&
               makeRoom(&arcs_, graph_->out.top) &&
               makeRoom(&positions_, graph_->out.top) &&
               (!terms_.hasSums() || arcOfIn_.fill(graph_->out.top, -1)) &&
               makeRoom(&active_, nodes) && makeRoom(&elected_, nodes) && walkFrom(src);
    }

    // False, nothing changed, if a link cannot be judged for lack of memory.
    bool admitLinks() {
        for (Long n = 0; n < graph_->nodeSlots(); n++) {
            firstArc_[n] = arcs_.top;
            for (Long i = graph_->first[n]; i < graph_->first[n + 1]; i++) {
                const OutLink& link = graph_->out[i];
                if (order_.top > 0 && !isBuilt_[link.head]) continue;
                if (!admission_.admits(i, n)) continue;
                // The topology does not know this tail: reaching the head is an error.
                if (order_.top > 0 && !isBuilt_[n] && n >= size_)
                    strangers_[link.head] = true;
                double term = 0.0;
                if (live_->views.links[i].isOdd || isConfigOdd_) {
                    anyOdd_ = true;
                    terms_.noteOdd(&link.link->state);
                } else {
                    term = terms_.compute(i);
                }
                const Long in = graph_->inOfOut[i];
                if (terms_.hasSums()) arcOfIn_[in] = arcs_.top;
                positions_[arcs_.top] = i;
                arcs_[arcs_.top++] = {term, link.head, in};
            }
        }
        firstArc_[graph_->nodeSlots()] = arcs_.top;
        return !admission_.hasFailed();
    }

    // Ends where the search on the topology does: pass by pass it changes the same
    // labels.
    void run(Long src) {
        if (terms_.hasSums()) sumUtilisations(src);
        // Along a chain of candidates scores do not rise towards the source if no term is
        // negative: a node on it cannot be beaten by way of its end.
        loopsPossible_ = !terms_.neverFalls();
        isPlain_ = terms_.isSingle() && !anyOdd_;
        costs_[src] = 0.0;
        labels_[src] = {0.0, -1, -1};
        isReached_[src] = true;
        expand(src);
        for (Long threshold = active_.top; threshold > 0; threshold = active_.top) {
            isChanged_ = false;
            for (Long i = 0; i < threshold; i++) {
                const Long n = active_[i];
                const std::uint8_t toDo = toDo_[n];
                if (toDo == 0) continue;
                toDo_[n] = 0;
                if ((toDo & LOOK) != 0) relax(n);
                if ((toDo & EXPAND) != 0) expand(n);
            }
            for (const Long n : elected_) commit(n);
            for (const Long n : elected_) makeOffers(n);
            elected_.top = 0;
            if (!isChanged_) return;
        }
    }

    SearchResult readPath(Long src, Long dst, double* cost) {
        for (Long n = 0; n < strangers_.top; n++)
            if (strangers_[n] && n != src && isReached_[n]) {
                PUSH_ERROR(CRITICAL, "Inexistent node");
                return SearchResult::FAILED;
            }
        LongList* path = &req_->path;
        path->top = 0;
        if (dst >= graph_->nodeSlots() || !isReached_[dst]) {
            PUSH_ERROR(CRITICAL, "Destination unreachable");
            return SearchResult::UNREACHABLE;
        }
        for (Long n = dst; n != src; n = labels_[n].neighb) path->cont[path->top++] = n;
        path->cont[path->top++] = src;
        std::reverse(path->cont, path->cont + path->top);
        *cost = costs_[dst];
        return SearchResult::FOUND;
    }

    void setConfigOdd(bool isOdd) { isConfigOdd_ = isOdd; }

  private:
    // The nodes that the topology would have, in the order in which a depth-first walk
    // builds them; left empty where all nodes can be reached and the order does not
    // matter.
    bool walkFrom(Long src) {
        if (!terms_.hasSums() && isConnected(dataBase_, graph_)) return true;
        const Long nodes = graph_->nodeSlots();
        if (!makeRoom(&order_, nodes) || !isBuilt_.fill(nodes, false) ||
            !strangers_.fill(nodes, false))
            return false;
        Array<Long>* toVisit = &active_;  // free until the search begins
        auto visit = [&](Long n) {
            if (isBuilt_[n]) return;
            isBuilt_[n] = true;
            (*toVisit)[toVisit->top++] = n;
        };
        visit(src);
        while (toVisit->top > 0) {
            const Long n = (*toVisit)[--toVisit->top];
            order_[order_.top++] = n;
            size_ = std::max(size_, n + 1);
            for (Long i = graph_->first[n]; i < graph_->first[n + 1]; i++)
                visit(graph_->out[i].head);
        }
        return true;
    }

    // Adds up over all links that take the request, in the order of the topology: node by
    // node, by ascending tails.
    void sumUtilisations(Long src) {
        terms_.clearSums(src);
        for (const Long n : order_)
            for (Long in = graph_->firstIn[n]; in < graph_->firstIn[n + 1]; in++)
                if (arcOfIn_[in] >= 0)
                    terms_.addUtilisation(src, positions_[arcOfIn_[in]]);
    }

    Long tailOfIn(Long head, Long in) const {
        return dataBase_->nodeVec.cont[head]->inNeighb.cont[in - graph_->firstIn[head]];
    }

    template <bool kIsPlain>
    double score(Long arc, double tailCost, Long tail) const {
        if (kIsPlain) return ScoreTerms::priced(tailCost + arcs_[arc].term);
        const Long position = positions_[arc];
        if (anyOdd_ && (isConfigOdd_ || live_->views.links[position].isOdd))
            return terms_.oddScore(&graph_->out[position].link->state, tailCost, tail);
        return terms_.isSingle() ? ScoreTerms::priced(tailCost + arcs_[arc].term)
                                 : terms_.score(position, tailCost, tail);
    }

    static bool beats(double offer, double cost) { return offer - cost < -kMinGain; }

    // The label of n has been committed. Costs only fall: an offer that does not beat
    // that of the head now will not later, and neither does what the link has offered
    // before.
    void makeOffers(Long n) {
        if (isPlain_)
            makeOffers<true>(n);
        else
            makeOffers<false>(n);
    }

    template <bool kIsPlain>
    void makeOffers(Long n) {
        // In locals, since a store to a flag might change any member.
        const double* const costs = costs_.cont;
        const Arc* const arcs = arcs_.cont;
        double* const scores = scores_.cont;
        std::uint8_t* const toDo = toDo_.cont;
        const double cost = costs[n];
        const Long end = firstArc_[n + 1];
        for (Long i = firstArc_[n]; i < end; i++) {
            const double offer = score<kIsPlain>(i, cost, n);
            const Arc& arc = arcs[i];
            scores[arc.in] = offer;
            toDo[arc.head] |= beats(offer, costs[arc.head]) ? LOOK : 0;
        }
    }

    // Reaches what the links out of n lead to.
    void expand(Long n) {
        const double cost = costs_[n];
        for (Long i = firstArc_[n]; i < firstArc_[n + 1]; i++) {
            const Long head = arcs_[i].head;
            if (isReached_[head]) continue;
            isReached_[head] = true;
            costs_[head] = isPlain_ ? score<true>(i, cost, n) : score<false>(i, cost, n);
            labels_[head] = {costs_[head], n, n};
            terms_.elect(positions_[i], n, head);
            terms_.activate(head);
            toDo_[head] = LOOK | EXPAND;
            active_[active_.top++] = head;
            makeOffers(head);
            isChanged_ = true;
        }
    }

    // The last link into n whose offer beats its committed cost and closes no loop; -1 if
    // there is none.
    Long lastOffer(Long n) {
        const double* const scores = scores_.cont;
        const double cost = costs_[n];
        const Long from = graph_->firstIn[n];
        const Long end = graph_->firstIn[n + 1];
        Long last = -1;
        double least = kInfinity;
        // Nobody can foretell which it is: branches would be mispredicted.
        for (Long in = from; in < end; in++) {
            last = beats(scores[in], cost) ? in : last;
            least = scores[in] < least ? scores[in] : least;
        }
        while (loopsPossible_ && last >= from) {
            if (beats(scores[last], cost)) {
                if (!isOnChain(tailOfIn(n, last), n)) break;
                toDo_[n] |= LOOK;  // the loop may go
            }
            last--;
        }
        if (last < from) return -1;
        toDo_[n] |= beats(least, scores[last]) ? LOOK : 0;
        return last;
    }

    void relax(Long n) {
        const Long in = lastOffer(n);
        if (in < 0) return;
        const Long tail = tailOfIn(n, in);
        labels_[n].newCost = scores_[in];
        labels_[n].newNeighb = tail;
        if (terms_.hasSums()) terms_.elect(positions_[arcOfIn_[in]], tail, n);
        elected_[elected_.top++] = n;
        isChanged_ = true;
    }

    // Whether n is on the chain of candidates of `from`, which form a tree rooted in the
    // source: none is taken that would close a loop.
    bool isOnChain(Long from, Long n) const {
        while (from != n && labels_[from].neighb != -1) from = labels_[from].newNeighb;
        return from == n;
    }

    void commit(Long n) {
        costs_[n] = labels_[n].newCost;
        labels_[n].neighb = labels_[n].newNeighb;
        terms_.activate(n);
    }

    DataBase* dataBase_;
    Live* live_;
    Graph* graph_;
    LSPRequest* req_;
    RequestAdmission admission_;
    ScoreTerms terms_;
    ScopedArray<double> costs_;       // committed, by node id
    ScopedArray<Label> labels_;       // likewise, of nodes reached
    ScopedArray<double> scores_;      // that links have offered, by in-position
    ScopedArray<std::uint8_t> toDo_;  // flags of ToDo
    ScopedArray<bool> isReached_;
    ScopedArray<Arc> arcs_;  // node n's from firstArc_[n] on, heads ascending
    ScopedArray<Long> firstArc_;
    ScopedArray<Long> positions_;  // of arcs, in the graph
    ScopedArray<Long> arcOfIn_;    // for sums: by in-position, -1 for none
    ScopedArray<Long> active_;     // nodes reached, in this order
    ScopedArray<Long> elected_;    // nodes with a candidate of this pass
    // Of networks where some nodes cannot be reached, or for sums of utilisations:
    ScopedArray<Long>
        order_;  // nodes reached through any links, in the order of the walk
    ScopedArray<bool> isBuilt_;
    ScopedArray<bool> strangers_;  // heads of links whose tail the topology does not know
    Long size_ = 0;                // ids of these nodes lie below
    bool isConfigOdd_ = false;
    bool anyOdd_ = false;
    bool isPlain_ = false;
    bool loopsPossible_ = true;
    bool isChanged_ = false;
};

bool isReasonable(double weight) {
    return std::abs(weight) < 1e100;
}

bool hasReroutingPrices() {
    const double(&prices)[kClasses] = kavrilConfig.primaryComputationConfig.rerouting;
    return std::any_of(prices, prices + kClasses,
                       [](double price) { return price != 0.0; });
}

// Weights that make sums which cannot be left out.
bool isConfigOdd() {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    if (!isReasonable(config.Fortz)) return true;
    for (int oa = 0; oa < kClasses; oa++)
        for (double weight : {config.loadBal[oa], config.load[oa], config.sqLoad[oa],
                              config.relLoad[oa], config.sqRelLoad[oa], config.delay[oa]})
            if (!isReasonable(weight)) return true;
    return false;
}

}  // namespace

SearchResult findPath(DataBase* dataBase, LSPRequest* req, double* cost) {
    const Long src = req->path.cont[0];
    const Long dst = req->path.cont[req->path.top - 1];
    // Rerouting prices leave messages with every score.
    if (hasReroutingPrices() || !canBeSearched(dataBase, req) ||
        findNode(&dataBase->nodeVec, src) == nullptr)
        return SearchResult::NOT_APPLICABLE;
    PathSearch search(dataBase, req);
    search.setConfigOdd(isConfigOdd());
    if (!search.prepare(src) || !search.admitLinks()) return SearchResult::NOT_APPLICABLE;
    search.run(src);
    return search.readPath(src, dst, cost);
}
