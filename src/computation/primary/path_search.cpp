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

// What the links into a node have offered since it was looked at. Only offers that beat
// its committed cost count; of these the one of the last tail is kept, as the order of
// passes has it.
struct Offer {
    double score;
    Long tail;
    Long nb;
};

// What there is to do about a node that has been reached; 0: nothing.
enum ToDo : std::uint8_t {
    LOOK = 1,    // it has offers
    EXPAND = 2,  // its out-links have not been followed
};

// A link that takes the request.
struct Arc {
    double term;  // what it adds to a score, if that is one term
    Long head;
    Long position;  // in the graph
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The passes of the search, pushed along: whenever the label of a node is committed, its
// out-links make their offers, and a node is looked at only when it has one.
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
               offers_.fill(nodes, {0.0, -1, 0}) && toDo_.fill(nodes, 0) &&
               isReached_.fill(nodes, false) && makeRoom(&firstArc_, nodes + 1) &&
               makeRoom(&arcs_, graph_->out.top) && makeRoom(&active_, nodes) &&
               makeRoom(&elected_, nodes) && walkFrom(src);
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
                arcs_[arcs_.top++] = {term, link.head, i};
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
        for (const Long n : order_) {
            const LongList* tails = &dataBase_->nodeVec.cont[n]->inNeighb;
            for (Long i = 0; i < tails->top; i++)
                if (const Arc* arc = findArc(tails->cont[i], n); arc != nullptr)
                    terms_.addUtilisation(src, arc->position);
        }
    }

    const Arc* findArc(Long tail, Long head) const {
        const Arc* end = arcs_.cont + firstArc_[tail + 1];
        const Arc* arc =
            std::lower_bound(static_cast<const Arc*>(arcs_.cont + firstArc_[tail]), end,
                             head, [](const Arc& a, Long id) { return a.head < id; });
        return arc != end && arc->head == head ? arc : nullptr;
    }

    double score(const Arc& arc, double tailCost, Long tail) const {
        if (isPlain_) return ScoreTerms::priced(tailCost + arc.term);
        if (anyOdd_ && (isConfigOdd_ || live_->views.links[arc.position].isOdd))
            return terms_.oddScore(&graph_->out[arc.position].link->state, tailCost,
                                   tail);
        return terms_.isSingle() ? ScoreTerms::priced(tailCost + arc.term)
                                 : terms_.score(arc.position, tailCost, tail);
    }

    static bool beats(double offer, double cost) { return offer - cost < -kMinGain; }

    // The label of n has been committed.
    void makeOffers(Long n) {
        const double cost = costs_[n];
        const Arc* const end = arcs_.cont + firstArc_[n + 1];
        for (const Arc* arc = arcs_.cont + firstArc_[n]; arc != end; arc++) {
            const double offer = score(*arc, cost, n);
            if (!beats(offer, costs_[arc->head])) continue;
            Offer* kept = &offers_[arc->head];
            if (kept->nb++ == 0 || n > kept->tail) {
                kept->score = offer;
                kept->tail = n;
            }
            toDo_[arc->head] |= LOOK;
        }
    }

    // Reaches what the links out of n lead to. Offers made on the way to nodes that are
    // not reached yet do not count: their first label is their discoverer's.
    void expand(Long n) {
        const double cost = costs_[n];
        for (Long i = firstArc_[n]; i < firstArc_[n + 1]; i++) {
            const Arc& arc = arcs_[i];
            if (isReached_[arc.head]) continue;
            isReached_[arc.head] = true;
            costs_[arc.head] = score(arc, cost, n);
            labels_[arc.head] = {costs_[arc.head], n, n};
            terms_.elect(arc.position, n, arc.head);
            terms_.activate(arc.head);
            toDo_[arc.head] = EXPAND;
            reviewOffers(arc.head, n);
            active_[active_.top++] = arc.head;
            makeOffers(arc.head);
            isChanged_ = true;
        }
    }

    // A node just reached has to be looked at if it has had offers from others.
    void reviewOffers(Long n, Long discoverer) {
        Offer* offer = &offers_[n];
        if (offer->nb > 1 || (offer->nb == 1 && offer->tail != discoverer))
            lookAgain(n);
        else
            offer->nb = 0;
    }

    // Looks through all links into n: the last offer that beats its committed cost and
    // closes no loop. False if there is none.
    bool lookThrough(Long n, Offer* last) {
        const double cost = costs_[n];
        const LongList* tails = &dataBase_->nodeVec.cont[n]->inNeighb;
        double least = kInfinity;
        last->nb = 0;
        for (Long i = tails->top - 1; i >= 0; i--) {
            const Long tail = tails->cont[i];
            const Arc* arc = isReached_[tail] ? findArc(tail, n) : nullptr;
            if (arc == nullptr) continue;
            const double offer = score(*arc, costs_[tail], tail);
            if (!beats(offer, cost)) continue;
            least = std::min(least, offer);
            if (last->nb > 0) continue;
            if (loopsPossible_ && isOnChain(tail, n)) {
                lookAgain(n);  // the loop may go
                continue;
            }
            *last = {offer, tail, 1};
        }
        if (last->nb > 0 && beats(least, last->score)) lookAgain(n);
        return last->nb > 0;
    }

    void lookAgain(Long n) {
        toDo_[n] |= LOOK;
        offers_[n].nb = 2;
    }

    void relax(Long n) {
        Offer offer = offers_[n];
        offers_[n].nb = 0;
        if (offer.nb == 1 && !loopsPossible_) {
            if (!beats(offer.score, costs_[n])) return;
        } else if (!lookThrough(n, &offer)) {
            return;
        }
        labels_[n].newCost = offer.score;
        labels_[n].newNeighb = offer.tail;
        if (terms_.hasSums())
            terms_.elect(findArc(offer.tail, n)->position, offer.tail, n);
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
    ScopedArray<double> costs_;  // committed, by node id
    ScopedArray<Label> labels_;  // likewise, of nodes reached
    ScopedArray<Offer> offers_;
    ScopedArray<std::uint8_t> toDo_;  // flags of ToDo
    ScopedArray<bool> isReached_;
    ScopedArray<Arc> arcs_;  // node n's from firstArc_[n] on, heads ascending
    ScopedArray<Long> firstArc_;
    ScopedArray<Long> active_;   // nodes reached, in this order
    ScopedArray<Long> elected_;  // nodes with a candidate of this pass
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
