#include "computation/primary/request_links.h"

#include <algorithm>

#include "common/setup.h"

namespace {

// Stands for a score that has to be made term by term.
constexpr double kOdd = std::numeric_limits<double>::quiet_NaN();

// No sum of terms up to this one overflows.
constexpr double kOrdinary = 1e200;

bool isReasonable(double weight) {
    return std::abs(weight) < 1e100;
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

RequestLinks::RequestLinks(DataBase* dataBase, const LSPRequest* req)
    : dataBase_(dataBase),
      live_(dataBase->live),
      graph_(&dataBase->live->graph),
      req_(req),
      admission_(dataBase, req),
      isConfigOdd_(isConfigOdd()) {}

bool RequestLinks::prepare(Long src) {
    return admission_.prepare(classesToRead(req_)) &&
           terms_.init(live_, dataBase_->nbLinks, req_) &&
           makeRoom(&added_, graph_->nbLinks()) &&
           hasOdd_.fill(graph_->nodeSlots(), false) && walkFrom(src);
}

// The nodes that the topology would have, in the order in which a depth-first walk builds
// them; none where no link leads to other nodes and the order does not matter.
bool RequestLinks::walkFrom(Long src) {
    if (!terms_.hasSums() && isTwoWay(graph_)) return true;
    const Long nodes = graph_->nodeSlots();
    ScopedArray<Long> toVisit;
    ScopedArray<bool> isBuilt;
    if (!makeRoom(&order_, nodes) || !makeRoom(&toVisit, nodes) ||
        !isBuilt.fill(nodes, false) || !strangers_.fill(nodes, false))
        return false;
    auto visit = [&](Long n) {
        if (isBuilt[n]) return;
        isBuilt[n] = true;
        toVisit[toVisit.top++] = n;
    };
    visit(src);
    while (toVisit.top > 0) {
        const Long n = toVisit[--toVisit.top];
        order_[order_.top++] = n;
        size_ = std::max(size_, n + 1);
        for (Long i = graph_->first[n]; i < graph_->first[n + 1]; i++)
            visit(graph_->heads[i]);
    }
    return true;
}

bool RequestLinks::admit(const bool* isLeftOut) {
    const Long nbLinks = graph_->nbLinks();
    double* const added = added_.cont;
    if (isConfigOdd_ || !admitByRoom()) std::fill_n(added, nbLinks, kOdd);
    for (Long i = 0; isLeftOut != nullptr && i < nbLinks; i++)
        if (isLeftOut[i]) added[i] = kClosed;
    for (Long i = 0; !isSingle() && i < nbLinks; i++)
        if (added[i] == 0.0) terms_.compute(i);
    Long tail = 0;
    for (Long i = 0; i < nbLinks; i++) {
        if (added[i] >= 0.0) continue;
        while (graph_->first[tail + 1] <= i) tail++;
        added[i] = judge(i, tail);
    }
    if (order_.top > 0) findStrangers();
    return !admission_.hasFailed();
}

// The topology does not know nodes beyond the last that it has: a link from there makes
// reaching its head an error.
void RequestLinks::findStrangers() {
    for (Long tail = size_; tail < graph_->nodeSlots(); tail++)
        for (Long i = graph_->first[tail]; i < graph_->first[tail + 1]; i++)
            if (added_[i] != kClosed) strangers_[graph_->heads[i]] = hasStrangers_ = true;
}

// What the links add whose room decides at once, kOdd for the others. False where room
// decides on none.
bool RequestLinks::admitByRoom() {
    const Rooms* const rooms = admission_.rooms();
    if (rooms == nullptr) return false;
    const ScoreTerms::Step only = terms_.first();
    if (!isSingle())
        admitByRoom(*rooms, [](Long) { return 0.0; });
    else if (only.criterion == ScoreTerms::CONGESTION)
        // Ordinary: amounts that surely fit are less than 1e150, and weights than 1e100.
        admitByRoom(*rooms,
                    [only, load = only.loads->load.cont, slope = only.loads->slope.cont,
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
void RequestLinks::admitByRoom(const Rooms& rooms, Term term) {
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

double RequestLinks::judge(Long position, Long tail) {
    if (!admission_.admits(position, tail)) return kClosed;
    if (!isConfigOdd_ && !live_->views.links[position].isOdd) {
        const double term = terms_.compute(position);
        if (std::abs(term) <= kOrdinary) return term;
    }
    hasOdd_[tail] = true;
    terms_.noteOdd(&graph_->out[position].link->state);
    return kOdd;
}

double RequestLinks::leastOffer(Long n, double tailCost) const {
    if (n >= graph_->nodeSlots() || terms_.hasSums()) return tailCost;
    // Odd links either make no numbers of scores, and never improve one, or no search
    // ends early.
    double least = kClosed;
    const ScoreTerms::Scorer scorer(terms_, tailCost, n);
    for (Long in = graph_->firstIn[n]; in < graph_->firstIn[n + 1]; in++) {
        const Long i = graph_->positions[in];
        if (added_[i] < kClosed)
            least = std::min(least, isSingle() ? tailCost + added_[i] : scorer(i));
    }
    return least;
}

// In the order of the topology: node by node, by ascending tails.
void RequestLinks::sumUtilisations(Long src) {
    if (!terms_.hasSums()) return;
    terms_.clearSums(src);
    for (const Long n : order_)
        for (Long in = graph_->firstIn[n]; in < graph_->firstIn[n + 1]; in++)
            if (added_[graph_->positions[in]] != kClosed)
                terms_.addUtilisation(src, graph_->positions[in]);
    terms_.findFalls(src);
}
