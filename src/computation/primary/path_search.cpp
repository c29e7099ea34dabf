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
    Long rank;
    Long neighb;  // predecessor, -1 for none
};

// What a node's label will be at the end of the pass.
struct Candidate {
    double cost;
    Long node;
    Long neighb;
};

// A link to a node that had not been reached when its tail was.
struct Lead {
    Long position;
    Long tail;
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// What a link that does not take the request adds to a score.
constexpr double kClosed = kInfinity;

// What one adds whose score has to be made term by term.
constexpr double kOdd = std::numeric_limits<double>::quiet_NaN();

// No sum of terms up to this one overflows.
constexpr double kOrdinary = 1e200;

// Flags are passed over eight at a time where none is set.
constexpr Long kFlagsAtOnce = sizeof(std::uint64_t);

bool areClear(const std::uint8_t* flags) {
    std::uint64_t all;
    std::memcpy(&all, flags, sizeof all);
    return all == 0;
}

// The processor foretells the end of a loop over the few links of a node badly: links are
// taken so many at a time, the last one again for those that are missing.
constexpr Long kLinksAtOnce = 4;

// Calls act(i) for i from `from` up to end - 1, kAtOnce at a time.
template <Long kAtOnce, class Act>
void forEachOf(Long from, Long end, Act act) {
    for (Long i = from; i < end; i += kAtOnce)
        for (Long k = i; k < i + kAtOnce; k++) act(std::min(k, end - 1));
}

// The passes of the search, pushed along: whenever the label of a node is committed, its
// out-links write what they offer, and flag their heads where that is an improvement.
// Only flagged nodes look at the offers of their in-links.
//
// Branches that nobody can foretell are what a search takes its time for; the loops over
// links have none.
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
        const Long nbLinks = graph_->nbLinks();
        // Room for any path, so that nothing can fail once the search has begun.
        LongList* path = &req_->path;
        if (path->size <= nodes && longVecResize(path, nodes + 1) < 0) return false;
        // Behind the nodes there are some more that are never reached, since flags are
        // looked at so many at once; behind the links, one that offers nothing.
        const Long padded = nodes + kFlagsAtOnce;
        return labels_.fill(padded, {kInfinity, nodes, kNotReached}) &&
               mayImprove_.fill(padded, 0) && reachedBy_.fill(nodes, -1) &&
               hasOdd_.fill(nodes, 0) && makeRoom(&newNeighb_, nodes) &&
               makeRoom(&added_, nbLinks) && offers_.fill(nbLinks + 1, kInfinity) &&
               makeRoom(&leads_, nbLinks + kLinksAtOnce * nodes) &&
               makeRoom(&active_, nodes) && makeRoom(&flagged_, padded) &&
               makeRoom(&elected_, nodes) && walkFrom(src);
    }

    // False, nothing changed, if a link cannot be judged for lack of memory.
    bool admitLinks(const bool* isLeftOut) {
        if (isLeftOut != nullptr || order_.top > 0 || isConfigOdd_ || !admitByRoom())
            std::fill_n(added_.cont, graph_->nbLinks(), kOdd);
        const Long nbLinks = graph_->nbLinks();
        double* const added = added_.cont;
        for (Long i = 0; !terms_.isSingle() && i < nbLinks; i++)
            if (added[i] == 0.0) terms_.compute(i);
        Long tail = 0;
        for (Long i = 0; i < nbLinks; i++) {
            if (added[i] >= 0.0) continue;
            while (graph_->first[tail + 1] <= i) tail++;
            added[i] = judge(i, tail, isLeftOut);
        }
        return !admission_.hasFailed();
    }

    // Gives dst the label that the search on the topology does: pass by pass it changes
    // the same labels, but ends when no label up to that of dst can change any more.
    void run(Long src, Long dst) {
        if (terms_.hasSums()) sumUtilisations(src);
        // Along a chain of candidates scores do not rise towards the source if no term is
        // negative: a node on it cannot be beaten by way of its end.
        loopsPossible_ = !terms_.neverFalls();
        if (terms_.isSingle())
            run<true>(src, dst);
        else
            run<false>(src, dst);
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
    // builds them; left empty where no link leads to other nodes and the order does not
    // matter.
    bool walkFrom(Long src) {
        if (!terms_.hasSums() && isTwoWay(graph_)) return true;
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
                visit(graph_->heads[i]);
        }
        return true;
    }

    // What the links add whose room decides at once, kOdd for the others. False where
    // room decides on none.
    bool admitByRoom() {
        const Rooms* const rooms = admission_.rooms();
        if (rooms == nullptr) return false;
        const ScoreTerms::Step only = terms_.first();
        if (!terms_.isSingle())
            admitByRoom(*rooms, [](Long) { return 0.0; });
        else if (only.criterion == ScoreTerms::CONGESTION)
            // Amounts that surely fit are less than 1e150, and so are weights.
            admitByRoom(*rooms, [only, load = only.loads->load.cont,
                                 slope = only.loads->slope.cont,
                                 shift = only.loads->shift.cont](Long i) {
                return only.congestionTerm(load[i], slope[i], shift[i]);
            });
        else
            admitByRoom(*rooms, [only](Long i) {
                const double term = only.term(i);
                return std::abs(term) <= kOrdinary ? term : kOdd;
            });
        admission_.forEachSpecial([this](Long i) { added_[i] = kOdd; });
        return true;
    }

    // Without branches, so that several links are worked out at a time.
    template <class Term>
    void admitByRoom(const Rooms& rooms, Term term) {
        const double bw = admission_.amount();
        const double* const sure = rooms.sure.cont;
        const double* const most = rooms.most.cont;
        double* const result = added_.cont;
        const Long nbLinks = graph_->nbLinks();
        for (Long i = 0; i < nbLinks; i++) {
            const double added = term(i);
            const double ifNotTooMuch = bw <= sure[i] ? added : kOdd;
            result[i] = bw > most[i] ? kClosed : ifNotTooMuch;
        }
    }

    // What a link adds to a score: kClosed, kOdd, or its term if there is only one.
    double judge(Long position, Long tail, const bool* isLeftOut) {
        const Long head = graph_->heads[position];
        if (order_.top > 0 && !isBuilt_[head]) return kClosed;
        if (isLeftOut != nullptr && isLeftOut[position]) return kClosed;
        if (!admission_.admits(position, tail)) return kClosed;
        // The topology does not know this tail: reaching the head is an error.
        if (order_.top > 0 && !isBuilt_[tail] && tail >= size_)
            strangers_[head] = hasStrangers_ = true;
        if (!isConfigOdd_ && !live_->views.links[position].isOdd) {
            const double term = terms_.compute(position);
            if (std::abs(term) <= kOrdinary) return term;
        }
        hasOdd_[tail] = 1;
        terms_.noteOdd(&graph_->out[position].link->state);
        return kOdd;
    }

    // Adds up over all links that take the request, in the order of the topology: node by
    // node, by ascending tails.
    void sumUtilisations(Long src) {
        terms_.clearSums(src);
        for (const Long n : order_)
            for (Long in = graph_->firstIn[n]; in < graph_->firstIn[n + 1]; in++)
                if (added_[graph_->positions[in]] != kClosed)
                    terms_.addUtilisation(src, graph_->positions[in]);
    }

    bool isReached(Long n) const { return labels_[n].neighb != kNotReached; }

    static bool beats(double offer, double cost) { return offer - cost < -kMinGain; }

    template <bool kIsSingle>
    double score(Long position, double tailCost, Long tail) const {
        const double added = added_[position];
        if (std::isnan(added))
            return terms_.oddScore(&graph_->out[position].link->state, tailCost, tail);
        return kIsSingle ? tailCost + added : terms_.score(position, tailCost, tail);
    }

    template <bool kIsSingle>
    void run(Long src, Long dst) {
        const Long goal = std::min(dst, graph_->nodeSlots());
        const double leastTerm = kIsSingle ? leastTermInto(goal) : 0.0;
        labels_[src] = {0.0, labels_[src].rank + 1, -1};
        newNeighb_[src] = -1;
        makeOffers<kIsSingle, true>(src);
        expand<kIsSingle>(0);
        for (Long rank = 0; rank < active_.top; rank++) reachedBy_[active_[rank]] = -1;
        Long seen = 0;  // nodes that were there in the pass before
        for (Long reached = active_.top; reached > 0; reached = active_.top) {
            least_ = kInfinity;
            // Nodes expanded before see nothing of those reached in this pass; one that
            // is expanded now sees what the ones before it have reached.
            takeFlagged(0, seen);
            for (const Long n : flagged_) relax<false>(n);
            expand<kIsSingle>(reached);
            takeFlagged(seen, reached);
            for (const Long n : flagged_) relax<true>(n);
            for (const Candidate& elected : elected_) commit(elected);
            if (elected_.top == 0 && active_.top == reached) return;
            if (isFinal(goal, leastTerm)) return;
            for (const Candidate& elected : elected_)
                makeOffers<kIsSingle, false>(elected.node);
            elected_.top = 0;
            for (Long rank = reached; rank < active_.top; rank++)
                reachedBy_[active_[rank]] = -1;
            seen = reached;
        }
    }

    // Whatever the label of a tail, an offer to n is that much more at least.
    double leastTermInto(Long n) const {
        if (n == graph_->nodeSlots()) return 0.0;
        double least = kInfinity;
        for (Long in = graph_->firstIn[n]; in < graph_->firstIn[n + 1]; in++) {
            const double added = added_[graph_->positions[in]];
            if (std::isnan(added)) return 0.0;
            least = std::min(least, added);
        }
        return least;
    }

    // Whether no label on the way to dst can change any more: no offer to come is less
    // than the least that was looked at in this pass.
    bool isFinal(Long dst, double leastTerm) const {
        const Label& label = labels_[dst];
        return label.neighb >= 0 && !loopsPossible_ && !hasStrangers_ &&
               mayImprove_[label.rank] == 0 && least_ >= labels_[label.neighb].cost &&
               !beats(least_ + leastTerm, label.cost);
    }

    // The label of n has been committed. Costs only fall: an offer that does not beat
    // that of the head now will not later, and neither does what the link has offered
    // before.
    template <bool kIsSingle, bool kIsNew>
    void makeOffers(Long n) {
        // In locals, since a store to a flag might change any member.
        const Label* const labels = labels_.cont;
        const Long* const heads = graph_->heads.cont;
        const double* const added = added_.cont;
        double* const offers = offers_.cont;
        std::uint8_t* const mayImprove = mayImprove_.cont;
        Lead* const leads = leads_.cont;
        Long nbLeads = leads_.top;
        const double cost = labels[n].cost;
        const Long from = graph_->first[n];
        const Long end = graph_->first[n + 1];
        auto offer = [&](Long i, double score) {
            offers[i] = score;
            const Label& head = labels[heads[i]];
            mayImprove[head.rank] |= beats(score, head.cost) ? 1 : 0;
            if (!kIsNew) return;
            leads[nbLeads] = {i, n};
            nbLeads += head.neighb == kNotReached ? 1 : 0;
        };
        if (kIsSingle)
            forEachOf<kLinksAtOnce>(from, end,
                                    [&](Long i) { offer(i, cost + added[i]); });
        for (Long i = from; (!kIsSingle || hasOdd_[n] != 0) && i < end; i++)
            if (kIsSingle ? std::isnan(added[i]) : added[i] != kClosed)
                offer(i, score<kIsSingle>(i, cost, n));
        if (kIsNew) leads_.top = nbLeads;
    }

    // Reaches what new nodes lead to, in the order in which these were reached; the next
    // to be reached is of this rank.
    template <bool kIsSingle>
    void expand(Long rank) {
        Label* const labels = labels_.cont;
        double least = least_;
        for (const Lead& lead : leads_) {
            const Long head = graph_->heads[lead.position];
            const double offer = offers_[lead.position];
            least = offer < least ? offer : least;
            if (labels[head].neighb != kNotReached) {
                // It was not flagged by this offer if it has been reached since.
                mayImprove_[labels[head].rank] |= beats(offer, labels[head].cost) ? 1 : 0;
                continue;
            }
            if (added_[lead.position] == kClosed) continue;
            labels[head] = {offer, active_.top, lead.tail};
            reachedBy_[head] = labels[lead.tail].rank;
            newNeighb_[head] = lead.tail;
            terms_.elect(lead.position, lead.tail, head);
            terms_.activate(head);
            active_[active_.top++] = head;
        }
        least_ = least;
        leads_.top = 0;
        for (; rank < active_.top; rank++) makeOffers<kIsSingle, true>(active_[rank]);
    }

    // Collects the nodes of these ranks whose flags are set, and clears the flags.
    void takeFlagged(Long from, Long end) {
        std::uint8_t* const flags = mayImprove_.cont;
        const Long* const active = active_.cont;
        Long* const flagged = flagged_.cont;
        Long top = 0;
        for (Long rank = from; rank < end; rank++) {
            while (rank + kFlagsAtOnce < end && areClear(&flags[rank]))
                rank += kFlagsAtOnce;
            flagged[top] = active[rank];
            top += flags[rank];
            flags[rank] = 0;
        }
        flagged_.top = top;
    }

    // The last offer, in order of tails, that beats n's committed cost and closes no loop
    // will be its label. A node that is expanded in this pass sees nothing of what nodes
    // after it have reached.
    template <bool kIsExpanded>
    void relax(Long n) {
        const Label label = labels_[n];
        const double* const offers = offers_.cont;
        const Long* const positions = graph_->positions.cont;
        const Long* const tails = graph_->tails.cont;
        const Long* const reachedBy = reachedBy_.cont;
        const Long none = graph_->nbLinks();
        const Long from = graph_->firstIn[n];
        bool areHidden = false;
        auto offerBy = [&](Long in) {
            const bool isHidden = kIsExpanded && reachedBy[tails[in]] >= label.rank;
            areHidden |= isHidden;
            return offers[isHidden ? none : positions[in]];
        };
        Long last = -1;
        double least = kInfinity;
        forEachOf<kLinksAtOnce>(from, graph_->firstIn[n + 1], [&](Long in) {
            const double offer = offerBy(in);
            last = beats(offer, label.cost) ? in : last;
            least = offer < least ? offer : least;
        });
        if (areHidden) mayImprove_[label.rank] = 1;
        while (loopsPossible_ && last >= from) {
            if (beats(offerBy(last), label.cost)) {
                if (!isOnChain(tails[last], n)) break;
                mayImprove_[label.rank] = 1;  // the loop may go
            }
            last--;
        }
        if (last < from) return;
        const double chosen = offers[positions[last]];
        mayImprove_[label.rank] |= beats(least, chosen) ? 1 : 0;
        least_ = least < least_ ? least : least_;
        newNeighb_[n] = tails[last];
        terms_.elect(positions[last], tails[last], n);
        elected_[elected_.top++] = {chosen, n, tails[last]};
    }

    // Whether n is on the chain of candidates of `from`, which form a tree rooted in the
    // source: none is taken that would close a loop.
    bool isOnChain(Long from, Long n) const {
        while (from != n && from >= 0) from = newNeighb_[from];
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
    ScopedArray<Label> labels_;             // by node id
    ScopedArray<std::uint8_t> mayImprove_;  // whether an offer may beat the label
    ScopedArray<Long> reachedBy_;       // in this pass, by the node of this rank; or -1
    ScopedArray<Long> newNeighb_;       // of the candidate if there is one
    ScopedArray<std::uint8_t> hasOdd_;  // whether odd links lead out of the node
    ScopedArray<double> added_;         // to scores, by position
    ScopedArray<double> offers_;        // last made, by position
    ScopedArray<Lead> leads_;           // of nodes reached in the pass before
    ScopedArray<Long> active_;          // nodes reached, by rank
    ScopedArray<Long> flagged_;
    ScopedArray<Candidate> elected_;  // of this pass
    // The least offer that was looked at in this pass and improves a label: no other can
    // come to be less.
    double least_ = kInfinity;
    // Of networks where some links lead to nodes that do not lead back, or for sums of
    // utilisations:
    ScopedArray<Long>
        order_;  // nodes reached through any links, in the order of the walk
    ScopedArray<bool> isBuilt_;
    ScopedArray<bool> strangers_;  // heads of links whose tail the topology does not know
    bool hasStrangers_ = false;
    Long size_ = 0;  // ids of these nodes lie below
    bool isConfigOdd_ = false;
    bool loopsPossible_ = true;
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
    search.run(src, dst);
    return search.readPath(src, dst, cost);
}
