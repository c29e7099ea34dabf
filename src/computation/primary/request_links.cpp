#include "computation/primary/request_links.h"

#include <algorithm>

#include "common/setup.h"

namespace {

constexpr double kOdd = ScoreTerms::kOdd;

bool isReasonable(double weight) {
    return std::abs(weight) < 1e100;
}

// Weights that make sums which cannot be left out, or a load balance over no links.
bool isConfigOdd(const DataBase* dataBase) {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    if (!isReasonable(config.Fortz) || dataBase->nbLinks == 0) return true;
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
      isConfigOdd_(isConfigOdd(dataBase)) {}

bool RequestLinks::prepare(Long src) {
    return admission_.prepare(classesToRead(req_)) &&
           terms_.init(live_, dataBase_->nbLinks, req_) &&
           makeRoom(&added_, graph_->nbLinks() + ScoreTerms::kBlock) &&
           hasOdd_.fill(graph_->nodeSlots(), false) && walkFrom(src);
}

// The nodes that the topology would have, in the order in which a depth-first walk builds
// them, with the links into each. Not done where every link leads both ways, so that all
// nodes within reach are there, and the order does not matter.
bool RequestLinks::walkFrom(Long src) {
    if (!terms_.hasSums() && isTwoWay(graph_)) return true;
    const Long nodes = graph_->nodeSlots();
    ScopedArray<Long> toVisit;
    ScopedArray<bool> isBuilt;
    if (!makeRoom(&inOrder_, graph_->nbLinks()) || !makeRoom(&toVisit, nodes) ||
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
        size_ = std::max(size_, n + 1);
        for (Long in = graph_->firstIn[n]; in < graph_->firstIn[n + 1]; in++)
            inOrder_[inOrder_.top++] = graph_->positions[in];
        for (Long i = graph_->first[n]; i < graph_->first[n + 1]; i++)
            visit(graph_->heads[i]);
    }
    return true;
}

bool RequestLinks::admit(const bool* isLeftOut) {
    const Long nbLinks = graph_->nbLinks();
    double* const added = added_.cont;
    terms_.compute(added);
    if (isConfigOdd_ || !admission_.roomDecides())
        std::fill_n(added, nbLinks, kOdd);
    else
        admitByRoom();
    for (Long i = 0; isLeftOut != nullptr && i < nbLinks; i++)
        if (isLeftOut[i]) added[i] = kClosed;
    terms_.survey(added);
    Long tail = 0;
    for (Long i = 0; i < nbLinks; i++) {
        if (added[i] >= 0.0) continue;
        while (graph_->first[tail + 1] <= i) tail++;
        if (std::isnan(added[i])) added[i] = judge(i, tail);
        hasNegative_ |= added[i] < 0.0;
    }
    if (size_ > 0) findStrangers();
    return !admission_.hasFailed();
}

// The topology does not know nodes beyond the last that it has: a link from there makes
// reaching its head an error.
void RequestLinks::findStrangers() {
    for (Long tail = size_; tail < graph_->nodeSlots(); tail++)
        for (Long i = graph_->first[tail]; i < graph_->first[tail + 1]; i++)
            if (added_[i] != kClosed) strangers_[graph_->heads[i]] = hasStrangers_ = true;
}

// Closes the links that surely have no room, and leaves to judge() those that may.
// Without branches, so that several links are worked out at a time.
void RequestLinks::admitByRoom() {
    double* const added = added_.cont;
    const Long nbLinks = graph_->nbLinks();
    admission_.forEachRoom([=](double bw, const Rooms& rooms) {
        const double* const sure = rooms.sure.cont;
        const double* const most = rooms.most.cont;
        for (Long i = 0; i < nbLinks; i++) {
            const bool isDecided = (bw <= sure[i]) | (added[i] == kClosed);
            const double ifNotTooMuch = isDecided ? added[i] : kOdd;
            added[i] = bw > most[i] ? kClosed : ifNotTooMuch;
        }
    });
    admission_.forEachSpecial([=](Long i) { added[i] = kOdd; });
}

double RequestLinks::judge(Long position, Long tail) {
    if (!admission_.admits(position, tail)) return kClosed;
    if (!isConfigOdd_ && !live_->views.links[position].isOdd)
        if (const double added = terms_.surveyLink(position); !std::isnan(added))
            return added;
    hasOdd_[tail] = true;
    terms_.noteOdd(&graph_->out[position].link->state);
    return kOdd;
}

double RequestLinks::leastOffer(Long n, double tailCost) const {
    if (n >= graph_->nodeSlots()) return tailCost;
    // Odd links either make no numbers of scores, and never improve one, or no search
    // ends early.
    double least = kClosed;
    for (Long in = graph_->firstIn[n]; in < graph_->firstIn[n + 1]; in++) {
        const Long i = graph_->positions[in];
        if (added_[i] < kClosed)
            least = std::min(least, terms_.leastScore(added_.cont, i, tailCost));
    }
    return least;
}

void RequestLinks::findFalls(Long src) {
    terms_.clearSums(src);
    terms_.addUtilisations(src, added_.cont, inOrder_);
    terms_.findFalls(src);
}
