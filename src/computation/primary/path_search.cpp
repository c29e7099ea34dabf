#include "computation/primary/path_search.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "common/setup.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/request_links.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

constexpr Long kNone = -1;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kClosed = RequestLinks::kClosed;

// What to add to a count if something holds, without a branch. Conditions are joined by &
// and |, since && and || are branches, too.
constexpr Long one(bool holds) {
    return static_cast<Long>(holds);
}

// The score of a link's head by way of the link.
struct Offer {
    double score;
    Long head;
    Long tail;
};

// The passes of the search, pushed along: a node whose label has been committed makes
// offers to the heads of its links. Those that beat their heads' labels are kept, and
// only these are looked at in the next pass. The label of a node that has not been
// reached is infinite: what it is offered leads to it.
//
// Branches that nobody can foretell are what a search takes its time for. The loops over
// links and offers have none: an offer is written behind those of a list in any case, and
// counted if it is wanted.
class PathSearch {
  public:
    PathSearch(DataBase* dataBase, LSPRequest* req)
        : graph_(&dataBase->live->graph), req_(req), links_(dataBase, req) {}

    // False, nothing changed, if there is no memory.
    bool prepare(Long src) {
        if (!links_.prepare(src)) return false;
        const Long nodes = graph_->nodeSlots();
        // Room for any path, so that nothing can fail once the search has begun.
        LongList* path = &req_->path;
        if (path->size <= nodes && longVecResize(path, nodes + 1) < 0) return false;
        // One place more than there can be offers, to write those that are not wanted;
        // a rank more, of destinations that are no nodes.
        const Long offers = graph_->nbLinks() + 1;
        return costs_.fill(nodes, kInfinity) && ranks_.fill(nodes + 1, kNone) &&
               chosen_.fill(nodes, kNone) && makeRoom(&neighbs_, nodes) &&
               makeRoom(&active_, nodes + 1) && makeRoom(&elected_, nodes + 1) &&
               makeRoom(&lastTo_, nodes) && makeRoom(&before_, offers) &&
               makeRoom(&tried_, nodes) &&
               makeRoom(&scores_, offers + ScoreTerms::kBlock) &&
               makeRoom(&fresh_, offers) && makeRoom(&pending_, offers) &&
               makeRoom(&later_, offers);
    }

    // False, nothing changed, if a link cannot be judged for lack of memory.
    bool admitLinks(const bool* isLeftOut) { return links_.admit(isLeftOut); }

    // Gives dst the label that the search on the topology does: pass by pass it changes
    // the same labels, but ends when no label up to that of dst can change any more.
    void run(Long src, Long dst) {
        links_.findFalls(src);
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
        if (dst != src && (dst >= graph_->nodeSlots() || !isReached(dst))) {
            PUSH_ERROR(CRITICAL, "Destination unreachable");
            return SearchResult::UNREACHABLE;
        }
        for (Long n = dst; n != src; n = neighbs_[n]) path->cont[path->top++] = n;
        path->cont[path->top++] = src;
        std::reverse(path->cont, path->cont + path->top);
        *cost = dst == src ? 0.0 : costs_[dst];
        return SearchResult::FOUND;
    }

  private:
    bool isReached(Long n) const { return ranks_[n] != kNone; }
    bool isElected(Long n) const { return chosen_[n] != kNone; }

    // Of two choices that of the later tail is larger; its place in pending_ is with it.
    static std::int64_t choice(Long tail, Long place) {
        return (std::int64_t{tail} << 32) + place;
    }
    const Offer& chosenBy(Long n) const {
        return pending_[static_cast<Long>(chosen_[n] & 0xFFFFFFFF)];
    }

    static bool beats(double offer, double cost) { return offer - cost < -kMinGain; }

    template <bool kIsSingle>
    void run(Long src, Long dst) {
        const Long goal = std::min(dst, graph_->nodeSlots());
        // The source is no node that can be reached, and nothing beats its label.
        costs_[src] = 0.0;
        ranks_[src] = graph_->nodeSlots();
        neighbs_[src] = kNone;
        makeOffers<kIsSingle>(src, &fresh_);
        costs_[src] = -kInfinity;
        while (!isFinal(goal)) {
            const Long reached = active_.top;
            reach();
            for (Long rank = reached; rank < active_.top; rank++)
                makeOffers<kIsSingle>(active_[rank], &fresh_);
            revealFresh(reached);
            elect();
            if (loopsPossible_) avoidLoops();
            if (elected_.top == 0 && active_.top == reached) return;
            for (const Long n : elected_) commit(n);
            keepWhatBeats();
            for (const Long n : elected_) {
                chosen_[n] = kNone;
                makeOffers<kIsSingle>(n, &pending_);
            }
            elected_.top = 0;
        }
    }

    // Adds the offers of n that beat the labels of their heads, or lead to them.
    template <bool kIsSingle>
    void makeOffers(Long n, Array<Offer>* list) {
        const double cost = costs_[n];
        if (!links_.scoresOrdinarily(n, cost)) {
            makeEachOffer(n, list);
            return;
        }
        if (!kIsSingle) links_.score(n, cost, scores_.cont);
        // In locals, since a stored offer might change any member.
        const Long first = graph_->first[n];
        const Long end = graph_->first[n + 1];
        const double* const costs = costs_.cont;
        const Long* const heads = graph_->heads.cont;
        const double* const added = links_.added();
        const double* const scores = scores_.cont;
        Offer* const offers = list->cont;
        Long top = list->top;
        for (Long i = first; i < end; i++) {
            const double score = kIsSingle ? cost + added[i] : scores[i - first];
            offers[top] = {score, heads[i], n};
            top += one(beats(score, costs[heads[i]]));
        }
        list->top = top;
    }

    // The same for scores that can be infinite or no numbers, which lead to a node all
    // the same.
    void makeEachOffer(Long n, Array<Offer>* list) {
        const Long first = graph_->first[n];
        links_.score(n, costs_[n], scores_.cont);
        links_.settle(n, scores_.cont);
        for (Long i = first; i < graph_->first[n + 1]; i++) {
            const double added = links_.added()[i];
            if (added == kClosed) continue;
            const Long head = graph_->heads[i];
            const double score =
                std::isnan(added) ? links_.oddScore(i, costs_[n], n) : scores_[i - first];
            if (!isReached(head) || beats(score, costs_[head]))
                list->cont[list->top++] = {score, head, n};
        }
    }

    // Takes the offers of the nodes reached in the pass before, in the order in which
    // these were reached: to a node that has not been reached, the first leads; others
    // that beat a label are pending from now on, or from the next pass if the node has
    // only been reached now.
    void reach() {
        double* const costs = costs_.cont;
        Long* const ranks = ranks_.cont;
        Long* const neighbs = neighbs_.cont;
        Long* const active = active_.cont;
        Offer* const pending = pending_.cont;
        Offer* const later = later_.cont;
        const Long reached = active_.top;
        Long nbReached = reached, nbPending = pending_.top, nbLater = 0;
        for (const Offer offer : fresh_) {
            const Long head = offer.head;
            const Long rank = ranks[head];
            const bool isNew = rank == kNone;
            const bool isWanted = !isNew & beats(offer.score, costs[head]);
            pending[nbPending] = offer;
            later[nbLater] = offer;
            nbPending += one(isWanted & (rank < reached));
            nbLater += one(isWanted & (rank >= reached));
            active[nbReached] = head;
            ranks[head] = isNew ? nbReached : rank;
            costs[head] = isNew ? offer.score : costs[head];
            neighbs[head] = isNew ? offer.tail : neighbs[head];
            nbReached += one(isNew);
            if (!links_.hasSums() || !isNew) continue;
            gather(offer);
            links_.activate(head);
        }
        active_.top = nbReached;
        pending_.top = nbPending;
        later_.top = nbLater;
        fresh_.top = 0;
    }

    // Offers of nodes that have just been reached are for the next pass. Only those that
    // were reached in the pass before, up to rank end - 1, see in this one what nodes of
    // lower ranks have reached.
    void revealFresh(Long end) {
        const Long* const ranks = ranks_.cont;
        const Long* const neighbs = neighbs_.cont;
        Offer* const fresh = fresh_.cont;
        Offer* const pending = pending_.cont;
        Long nbFresh = 0, nbPending = pending_.top;
        for (const Offer offer : fresh_) {
            const Long rank = ranks[offer.head];
            const Long discoverer = ranks[neighbs[offer.tail]];
            const bool isSeen = (rank < end) & (discoverer < rank);
            fresh[nbFresh] = offer;
            pending[nbPending] = offer;
            nbFresh += one(!isSeen);
            nbPending += one(isSeen);
        }
        fresh_.top = nbFresh;
        pending_.top = nbPending;
    }

    void choose(const Offer& offer) {
        neighbs_[offer.head] = offer.tail;
        if (links_.hasSums()) gather(offer);
    }

    // Sums up the utilisations on the way of an offer.
    void gather(const Offer& offer) {
        const Long position = positionOf(graph_, offer.tail, offer.head);
        links_.elect(position, offer.tail, offer.head);
    }

    // Of the offers to a node, the last one, in order of tails, will be its label.
    void elect() {
        const Offer* const pending = pending_.cont;
        std::int64_t* const chosen = chosen_.cont;
        Long* const elected = elected_.cont;
        Long top = 0;
        for (Long k = 0; k < pending_.top; k++) {
            const Long head = pending[k].head;
            const std::int64_t former = chosen[head];
            elected[top] = head;
            top += one(former == kNone);
            chosen[head] = std::max(former, choice(pending[k].tail, k));
        }
        elected_.top = top;
        for (Long k = 0; k < top && !loopsPossible_; k++) choose(chosenBy(elected[k]));
    }

    // Lets the nodes choose again, in order of ranks: the last offer that closes no loop.
    void avoidLoops() {
        bool isChained = false;
        elected_.top = 0;
        for (const Long n : active_) {
            if (!isElected(n)) continue;
            const Offer* offer = &chosenBy(n);
            if (isOnChain(offer->tail, n)) {
                if (!isChained) chainOffers();
                isChained = true;
                offer = lastWithoutLoop(n);
            }
            chosen_[n] = kNone;
            if (offer == nullptr) continue;
            chosen_[n] = choice(offer->tail, static_cast<Long>(offer - pending_.cont));
            choose(*offer);
            elected_[elected_.top++] = n;
        }
    }

    // Links the offers to every node that has some.
    void chainOffers() {
        for (const Offer& offer : pending_) lastTo_[offer.head] = kNone;
        for (Long k = 0; k < pending_.top; k++)
            before_[k] = std::exchange(lastTo_[pending_[k].head], k);
    }

    // The last offer to n, in order of tails, that closes no loop; null if there is none.
    // The very last is known to close one.
    const Offer* lastWithoutLoop(Long n) {
        tried_.top = 0;
        for (Long k = lastTo_[n]; k != kNone; k = before_[k]) tried_[tried_.top++] = k;
        std::sort(tried_.begin(), tried_.end(),
                  [&](Long a, Long b) { return pending_[a].tail > pending_[b].tail; });
        for (Long i = 1; i < tried_.top; i++)
            if (const Offer* offer = &pending_[tried_[i]]; !isOnChain(offer->tail, n))
                return offer;
        return nullptr;
    }

    // Whether n is on the chain of candidates of `from`, which form a tree rooted in the
    // source: none is taken that would close a loop.
    bool isOnChain(Long from, Long n) const {
        while (from != n && from >= 0) from = neighbs_[from];
        return from == n;
    }

    void commit(Long n) {
        costs_[n] = chosenBy(n).score;
        links_.activate(n);
    }

    // Offers that still beat the labels of their heads stay, but for those whose tails
    // make new ones.
    void keepWhatBeats() {
        const double* const costs = costs_.cont;
        const std::int64_t* const chosen = chosen_.cont;
        Offer* const kept = later_.cont;
        Long top = 0;
        auto keepOf = [&](const Array<Offer>& list) {
            for (const Offer offer : list) {
                const bool isBetter = beats(offer.score, costs[offer.head]);
                kept[top] = offer;
                top += one(isBetter & (chosen[offer.tail] == kNone));
            }
        };
        keepOf(later_);
        keepOf(pending_);
        later_.top = top;
        pending_.swap(later_);
    }

    // Whether no label on the way to dst can change any more. Where scores do not fall
    // along a path, no offer to come is less than the least there is: none beats the
    // labels before dst, which are no larger, and those to dst itself are as much more as
    // the links into it add.
    bool isFinal(Long dst) const {
        if (loopsPossible_ || links_.hasStrangers()) return false;
        if (!isReached(dst) || neighbs_[dst] == kNone) return false;
        const double cost = costs_[dst];
        const double before = costs_[neighbs_[dst]];
        double least = kInfinity;
        // Not true either if `before` is no number: then nothing is known of the way
        // there.
        auto changesNothing = [&](const Offer& offer) {
            least = std::min(offer.score, least);
            return offer.score >= before &&
                   (offer.head != dst || !beats(offer.score, cost));
        };
        return std::all_of(pending_.begin(), pending_.end(), changesNothing) &&
               std::all_of(fresh_.begin(), fresh_.end(), changesNothing) &&
               !beats(links_.leastOffer(dst, least), cost);
    }

    Graph* graph_;
    LSPRequest* req_;
    RequestLinks links_;
    // By node id. What the search has committed, but for predecessors, which are those of
    // the candidates where there are any.
    ScopedArray<double> costs_;
    ScopedArray<Long> ranks_;  // among the nodes reached
    ScopedArray<Long> neighbs_;
    ScopedArray<std::int64_t> chosen_;  // the offer of this pass
    ScopedArray<Long> active_;          // nodes reached, by rank
    ScopedArray<Long> elected_;         // nodes that chose an offer in this pass
    ScopedArray<double> scores_;        // of the links of one node, by place among these
    ScopedArray<Offer> fresh_;          // of nodes reached in the last pass
    ScopedArray<Offer> pending_;
    ScopedArray<Offer> later_;  // to be pending in the next pass
    // To choose again where loops are possible: the last offer to a node, those before
    // it, and what has been tried.
    ScopedArray<Long> lastTo_;
    ScopedArray<Long> before_;
    ScopedArray<Long> tried_;
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
