#include "computation/primary/path_search.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "common/setup.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/request_links.h"
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
constexpr double kClosed = RequestLinks::kClosed;

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
// Only flagged nodes look at the offers of their in-links. Offers to nodes that have not
// been reached are kept as leads: the first, in order of ranks, reaches the node.
//
// Branches that nobody can foretell are what a search takes its time for; the loops over
// links have none.
class PathSearch {
  public:
    PathSearch(DataBase* dataBase, LSPRequest* req)
        : graph_(&dataBase->live->graph), req_(req), links_(dataBase, req) {}

    // False, nothing changed, if there is no memory.
    bool prepare(Long src) {
        if (!links_.prepare(src)) return false;
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
               makeRoom(&newNeighb_, nodes) && offers_.fill(nbLinks + 1, kInfinity) &&
               makeRoom(&leads_, nbLinks + kLinksAtOnce * nodes) &&
               makeRoom(&active_, nodes) && makeRoom(&flagged_, nodes) &&
               makeRoom(&elected_, nodes);
    }

    // False, nothing changed, if a link cannot be judged for lack of memory.
    bool admitLinks(const bool* isLeftOut) { return links_.admit(isLeftOut); }

    // Gives dst the label that the search on the topology does: pass by pass it changes
    // the same labels, but ends when no label up to that of dst can change any more.
    void run(Long src, Long dst) {
        links_.sumUtilisations(src);
        // Along a chain of candidates scores do not rise towards the source if no term is
        // negative: a node on it cannot be beaten by way of its end.
        loopsPossible_ = !links_.neverFalls();
        if (links_.isSingle())
            run<true>(src, dst);
        else
            run<false>(src, dst);
    }

    SearchResult readPath(Long src, Long dst, double* cost) {
        for (Long n = 0; links_.hasStrangers() && n < graph_->nodeSlots(); n++)
            if (links_.isStranger(n) && n != src && isReached(n)) {
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

  private:
    bool isReached(Long n) const { return labels_[n].neighb != kNotReached; }

    static bool beats(double offer, double cost) { return offer - cost < -kMinGain; }

    template <bool kIsSingle>
    void run(Long src, Long dst) {
        const Long goal = std::min(dst, graph_->nodeSlots());
        const double leastTerm = links_.leastTermInto(goal);
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

    // Whether no label on the way to dst can change any more. No offer to come is less
    // than least_: none beats the labels before dst, which are no larger, and one to dst
    // itself is leastTerm more.
    bool isFinal(Long dst, double leastTerm) const {
        const Label& label = labels_[dst];
        return label.neighb >= 0 && !loopsPossible_ && !links_.hasStrangers() &&
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
        const double* const added = links_.added();
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
        };
        auto lead = [&](Long i) {
            if (!kIsNew) return;
            leads[nbLeads] = {i, n};
            nbLeads += labels[heads[i]].neighb == kNotReached ? 1 : 0;
        };
        if (kIsSingle)
            forEachOf<kLinksAtOnce>(from, end, [&](Long i) {
                offer(i, cost + added[i]);
                lead(i);
            });
        for (Long i = from; (!kIsSingle || links_.hasOdd(n)) && i < end; i++) {
            if (kIsSingle ? !std::isnan(added[i]) : added[i] == kClosed) continue;
            offer(i, links_.score<kIsSingle>(i, cost, n));
            if (!kIsSingle) lead(i);
        }
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
            if (links_.added()[lead.position] == kClosed) continue;
            labels[head] = {offer, active_.top, lead.tail};
            reachedBy_[head] = labels[lead.tail].rank;
            newNeighb_[head] = lead.tail;
            links_.elect(lead.position, lead.tail, head);
            links_.activate(head);
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
        links_.elect(positions[last], tails[last], n);
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
        links_.activate(elected.node);
    }

    Graph* graph_;
    LSPRequest* req_;
    RequestLinks links_;
    ScopedArray<Label> labels_;  // by node id
    ScopedArray<std::uint8_t>
        mayImprove_;               // whether an offer may beat the label, by rank
    ScopedArray<Long> reachedBy_;  // in this pass, by the node of this rank; or -1
    ScopedArray<Long> newNeighb_;  // of the candidate if there is one
    ScopedArray<double> offers_;   // last made, by position
    ScopedArray<Lead> leads_;      // of nodes reached in the pass before
    ScopedArray<Long> active_;     // nodes reached, by rank
    ScopedArray<Long> flagged_;
    ScopedArray<Candidate> elected_;  // of this pass
    // The least offer that reached a node or improved its label in this pass. Where
    // scores do not fall along a path, none in later passes is less.
    double least_ = kInfinity;
    bool loopsPossible_ = true;
};

bool hasReroutingPrices() {
    const double(&prices)[kClasses] = kavrilConfig.primaryComputationConfig.rerouting;
    return std::any_of(prices, prices + kClasses,
                       [](double price) { return price != 0.0; });
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
    if (!search.prepare(src) || !search.admitLinks(isLeftOut))
        return SearchResult::NOT_APPLICABLE;
    search.run(src, dst);
    return search.readPath(src, dst, cost);
}
