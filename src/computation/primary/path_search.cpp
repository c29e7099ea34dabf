#include "computation/primary/path_search.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "common/setup.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/request_admission.h"
#include "computation/primary/score_terms.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

constexpr Long kNotReached = -2;

// The committed label of a node, and where the node stands among those reached.
struct Label {
    double cost;
    Long neighb;  // predecessor, -1 for none
    Long rank;
};

// What a node's label will be at the end of the pass.
struct Candidate {
    double cost;
    Long node;
    Long neighb;
};

// A link that takes the request.
struct Arc {
    double term;  // what it adds to a score, if that is one term
    Long head;
    Long in;  // in-position
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// No sum of terms up to this one overflows.
constexpr double kOrdinary = 1e200;

// Flags are passed over eight at a time where none is set.
constexpr Long kFlagsAtOnce = sizeof(std::uint64_t);

bool areClear(const std::uint8_t* flags) {
    std::uint64_t all;
    std::memcpy(&all, flags, sizeof all);
    return all == 0;
}

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
        // Nodes that have not been reached share a flag behind those of the others.
        return labels_.fill(nodes, {kInfinity, kNotReached, nodes}) &&
               mayImprove_.fill(nodes + kFlagsAtOnce, 0) &&
               makeRoom(&newNeighb_, nodes) && makeRoom(&firstArc_, nodes + 1) &&
               scores_.fill(graph_->out.top, kInfinity) &&
               makeRoom(&arcs_, graph_->out.top) &&
               makeRoom(&positions_, graph_->out.top) &&
               (!terms_.hasSums() || arcOfIn_.fill(graph_->out.top, -1)) &&
               makeRoom(&active_, nodes) && makeRoom(&elected_, nodes) && walkFrom(src);
    }

    // False, nothing changed, if a link cannot be judged for lack of memory.
    bool admitLinks(const bool* isLeftOut) {
        for (Long n = 0; n < graph_->nodeSlots(); n++) {
            firstArc_[n] = arcs_.top;
            for (Long i = graph_->first[n]; i < graph_->first[n + 1]; i++) {
                const OutLink& link = graph_->out[i];
                if (order_.top > 0 && !isBuilt_[link.head]) continue;
                if (isLeftOut != nullptr && isLeftOut[i]) continue;
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
                    isPlain_ = isPlain_ && std::abs(term) <= kOrdinary;
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
        isPlain_ = isPlain_ && terms_.isSingle() && !anyOdd_;
        labels_[src] = {0.0, -1, labels_[src].rank};
        newNeighb_[src] = -1;
        expand(src);
        Long seen = 0;  // nodes that were there in the pass before
        for (Long reached = active_.top; reached > 0; reached = active_.top) {
            isChanged_ = false;
            for (Long rank = 0; rank < reached; rank++) {
                while (rank + kFlagsAtOnce < reached && areClear(&mayImprove_[rank]))
                    rank += kFlagsAtOnce;
                if (mayImprove_[rank] == 0) continue;
                mayImprove_[rank] = 0;
                relax(active_[rank]);
                if (rank >= seen) expand(active_[rank]);
            }
            for (const Candidate& elected : elected_) commit(elected);
            for (const Candidate& elected : elected_) makeOffers(elected.node);
            elected_.top = 0;
            if (!isChanged_) return;
            seen = reached;
        }
    }

    SearchResult readPath(Long src, Long dst, double* cost) {
        for (Long n = 0; n < strangers_.top; n++)
            if (strangers_[n] && n != src && isReached(n)) {
                PUSH_ERROR(CRITICAL, "Inexistent node");
                return SearchResult::FAILED;
            }
        LongList* path = &req_->path;
        path->top = 0;
        if (dst >= graph_->nodeSlots() || !isReached(dst)) {
            PUSH_ERROR(CRITICAL, "Destination unreachable");
            return SearchResult::UNREACHABLE;
        }
        for (Long n = dst; n != src; n = labels_[n].neighb) path->cont[path->top++] = n;
        path->cont[path->top++] = src;
        std::reverse(path->cont, path->cont + path->top);
        *cost = labels_[dst].cost;
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

    bool isReached(Long n) const { return labels_[n].neighb != kNotReached; }

    template <bool kIsPlain>
    double score(Long arc, double tailCost, Long tail) const {
        if (kIsPlain) return tailCost + arcs_[arc].term;
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
        const Label* const labels = labels_.cont;
        const Arc* const arcs = arcs_.cont;
        double* const scores = scores_.cont;
        std::uint8_t* const mayImprove = mayImprove_.cont;
        const double cost = labels[n].cost;
        const Long end = firstArc_[n + 1];
        for (Long i = firstArc_[n]; i < end; i++) {
            const double offer = score<kIsPlain>(i, cost, n);
            const Arc& arc = arcs[i];
            const Label& head = labels[arc.head];
            scores[arc.in] = offer;
            mayImprove[head.rank] |= beats(offer, head.cost) ? 1 : 0;
        }
    }

    // Reaches what the links out of n lead to.
    void expand(Long n) {
        const double cost = labels_[n].cost;
        for (Long i = firstArc_[n]; i < firstArc_[n + 1]; i++) {
            const Long head = arcs_[i].head;
            if (isReached(head)) continue;
            const double score =
                isPlain_ ? this->score<true>(i, cost, n) : this->score<false>(i, cost, n);
            labels_[head] = {score, n, active_.top};
            newNeighb_[head] = n;
            terms_.elect(positions_[i], n, head);
            terms_.activate(head);
            mayImprove_[active_.top] = 1;
            active_[active_.top++] = head;
            makeOffers(head);
            isChanged_ = true;
        }
    }

    // The last link into n whose offer beats its committed cost and closes no loop; -1 if
    // there is none.
    Long lastOffer(Long n) {
        const double* const scores = scores_.cont;
        const double cost = labels_[n].cost;
        std::uint8_t* const mayImprove = &mayImprove_[labels_[n].rank];
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
                if (!isOnChain(graph_->tails[last], n)) break;
                *mayImprove = 1;  // the loop may go
            }
            last--;
        }
        if (last < from) return -1;
        if (beats(least, scores[last])) *mayImprove = 1;
        return last;
    }

    void relax(Long n) {
        const Long in = lastOffer(n);
        if (in < 0) return;
        const Long tail = graph_->tails[in];
        newNeighb_[n] = tail;
        if (terms_.hasSums()) terms_.elect(positions_[arcOfIn_[in]], tail, n);
        elected_[elected_.top++] = {scores_[in], n, tail};
        isChanged_ = true;
    }

    // Whether n is on the chain of candidates of `from`, which form a tree rooted in the
    // source: none is taken that would close a loop.
    bool isOnChain(Long from, Long n) const {
        while (from != n && labels_[from].neighb != -1) from = newNeighb_[from];
        return from == n;
    }

    void commit(const Candidate& elected) {
        labels_[elected.node].cost = elected.cost;
        labels_[elected.node].neighb = elected.neighb;
        terms_.activate(elected.node);
    }

    DataBase* dataBase_;
    Live* live_;
    Graph* graph_;
    LSPRequest* req_;
    RequestAdmission admission_;
    ScoreTerms terms_;
    ScopedArray<Label> labels_;   // by node id
    ScopedArray<double> scores_;  // that links have offered, by in-position
    ScopedArray<std::uint8_t>
        mayImprove_;               // whether an offer may beat the label, by rank
    ScopedArray<Long> newNeighb_;  // by node id, of the candidate if there is one
    ScopedArray<Arc> arcs_;        // node n's from firstArc_[n] on, heads ascending
    ScopedArray<Long> firstArc_;
    ScopedArray<Long> positions_;     // of arcs, in the graph
    ScopedArray<Long> arcOfIn_;       // for sums: by in-position, -1 for none
    ScopedArray<Long> active_;        // nodes reached, in this order
    ScopedArray<Candidate> elected_;  // of this pass
    // Of networks where some nodes cannot be reached, or for sums of utilisations:
    ScopedArray<Long>
        order_;  // nodes reached through any links, in the order of the walk
    ScopedArray<bool> isBuilt_;
    ScopedArray<bool> strangers_;  // heads of links whose tail the topology does not know
    Long size_ = 0;                // ids of these nodes lie below
    bool isConfigOdd_ = false;
    bool anyOdd_ = false;
    bool isPlain_ = true;  // a score is a finite sum of one term a link
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

SearchResult findPath(DataBase* dataBase, LSPRequest* req, double* cost,
                      const bool* isLeftOut) {
    const Long src = req->path.cont[0];
    const Long dst = req->path.cont[req->path.top - 1];
    // Rerouting prices leave messages with every score.
    if (hasReroutingPrices() || !canBeSearched(dataBase, req) ||
        findNode(&dataBase->nodeVec, src) == nullptr)
        return SearchResult::NOT_APPLICABLE;
    PathSearch search(dataBase, req);
    search.setConfigOdd(isConfigOdd());
    if (!search.prepare(src) || !search.admitLinks(isLeftOut))
        return SearchResult::NOT_APPLICABLE;
    search.run(src);
    return search.readPath(src, dst, cost);
}
