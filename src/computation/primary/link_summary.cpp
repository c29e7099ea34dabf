#include "computation/primary/link_summary.h"

#include <algorithm>
#include <cmath>

#include "common/setup.h"
#include "database/database.h"
#include "database/workspace.h"
#include "predicate/predicate.h"

namespace {

// Beyond this, products of capacities and slopes could overflow.
constexpr double kReasonable = 1e150;

bool contains(const LongList* list, Long value) {
    return std::find(list->cont, list->cont + list->top, value) != list->cont + list->top;
}

// Marks the class at the levels up to which its reservation exceeds the capacity.
void markRefused(LinkSummary* link, int oa, const double (&rbw)[kLevels], double cap) {
    const auto bit = static_cast<std::uint8_t>(1U << oa);
    double total = 0.0;
    for (int p = 0; p < kLevels; p++) {
        total += rbw[p];
        if (total > cap) link->refused[p] |= bit;
    }
    if (total > cap) link->refused[kAllLevels] |= bit;
}

void summarise(DataBase* dataBase, const DBTopology* topology, Long position,
               LinkSummaries* summaries) {
    const TopoLink& in = topology->in[position];
    const DBLinkState& state = in.link->state;
    LinkBook* book = packedBook(in.link);
    LinkSummary* link = &summaries->links[position];
    *link = {};
    link->color = state.color;
    link->isPlain = book == nullptr;
    link->isFinite = true;
    for (int oa = 0; oa < kClasses; oa++) {
        ClassSummary sum = {};
        std::copy_n(state.pbw[oa], kLevels, sum.pbw);
        sum.cap = state.cap[oa];
        for (double level : sum.pbw) sum.load += level;
        if (!(std::abs(sum.cap) < kReasonable && std::abs(sum.load) < kReasonable))
            link->isFinite = false;
        if (book != nullptr) {
            BookClass* cls = &book->classes[oa];
            std::copy_n(worstNeed(dataBase, topology, cls).level, kLevels, sum.worst);
            addNeeds(sum.worst, sum.pbw, sum.rbw);
            markRefused(link, oa, sum.rbw, sum.cap);
            if (summaries->classes[oa] != nullptr && cls->top > 0 &&
                isAmongWorst(dataBase, topology, cls, in.id, sum.others))
                link->ownNeed = static_cast<std::uint8_t>(link->ownNeed | (1U << oa));
        }
        if (summaries->classes[oa] != nullptr) summaries->classes[oa][position] = sum;
    }
}

// Whether a class of the request exceeds the capacity after the setup; the sums are those
// of the capacity clause on a trial, in its order.
bool exceeds(const ClassSummary& sum, double bw, int precedence, bool allLevels) {
    double total = 0.0;
    for (int p = 0; p < precedence; p++) total += sum.rbw[p];
    const double below = precedence > 0 ? sum.worst[precedence - 1] : 0.0;
    total += (sum.pbw[precedence] + bw) + sum.worst[precedence] - below;
    if (allLevels)
        for (int p = precedence + 1; p < kLevels; p++) total += sum.rbw[p];
    return total > sum.cap;
}

// The same where the request frees bandwidth that the worst failure needs: that need is
// worked out again.
bool exceedsFreeing(const LinkSummaries& summaries, Long position, const LSPRequest* req,
                    int oa, bool allLevels) {
    const TopoLink& in = summaries.topology->in[position];
    const ClassSummary& sum = summaries.classes[oa][position];
    BookChange freed = {in.id, true, 1.0, req->bw};
    const BookChangeVec changes = {1, 1, &freed};
    double worst[kLevels];
    std::copy_n(sum.others, kLevels, worst);
    raiseByFailure(summaries.topology, &in.link->book->classes[oa], oa,
                   {&changes, req->precedence, false}, in.id, worst);
    double pbw[kLevels];
    std::copy_n(sum.pbw, kLevels, pbw);
    pbw[req->precedence] += req->bw[oa];
    double rbw[kLevels];
    addNeeds(worst, pbw, rbw);
    double total = 0.0;
    for (int p = 0; p < (allLevels ? kLevels : req->precedence + 1); p++) total += rbw[p];
    return total > sum.cap;
}

bool hasCapacity(const LinkSummaries& summaries, Long position, const LSPRequest* req) {
    const bool allLevels = !kavrilConfig.predicateConfig.allowReroute;
    const LinkSummary& link = summaries.links[position];
    const unsigned asked = summaries.asked;
    if ((link.refused[allLevels ? kAllLevels : req->precedence] & ~asked) != 0)
        return false;
    for (int oa = 0; asked >> oa != 0; oa++) {
        if ((asked >> oa & 1U) == 0) continue;
        const bool refused = (link.ownNeed >> oa & 1U) != 0
                                 ? exceedsFreeing(summaries, position, req, oa, allLevels)
                                 : exceeds(summaries.classes[oa][position], req->bw[oa],
                                           req->precedence, allLevels);
        if (refused) return false;
    }
    return true;
}

bool isPartnersLink(DataBase* dataBase, const LSPRequest* req, const TopoLink& link) {
    if (req->rerouteInfo.id < 0) return false;
    const LongList* path = &DBgetLSP(dataBase, req->rerouteInfo.id)->path;
    for (Long i = 0; i < path->top - 1; i++)
        if (path->cont[i] == link.tail && path->cont[i + 1] == link.head) return true;
    return false;
}

}  // namespace

int refreshSummaries(DataBase* dataBase, const DBTopology* topology,
                     const LSPRequest* req, unsigned classes, LinkSummaries* summaries) {
    DBWorkspace* work = workspaceOf(dataBase);
    const Long nbLinks = topology->firstIn[topology->nodeSlots];
    const bool fresh = work->summaryVersion != topology->version ||
                       (classes & ~work->summaryClasses) != 0;
    work->summaryClasses |= classes;
    work->summaryVersion = 0;
    *summaries = {topology,
                  scratchArray<LinkSummary>(&work->scratches[LINK_SUMMARIES], nbLinks),
                  {},
                  0};
    for (int oa = 0; oa < kClasses; oa++)
        if (req->bw[oa] != 0.0) summaries->asked |= 1U << oa;
    if (summaries->links == nullptr || sizeStaleLinks(dataBase, topology->linkSlots) < 0)
        return -1;
    for (int oa = 0; oa < kClasses; oa++) {
        if ((work->summaryClasses >> oa & 1U) == 0) continue;
        summaries->classes[oa] =
            scratchArray<ClassSummary>(&work->scratches[CLASS_SUMMARIES + oa], nbLinks);
        if (summaries->classes[oa] == nullptr) return -1;
    }
    for (Long position = 0; position < nbLinks; position++) {
        const TopoLink& in = topology->in[position];
        if (!fresh && !work->staleLinks.cont[in.id]) continue;
        summarise(dataBase, topology, position, summaries);
        work->staleLinks.cont[in.id] = summaries->links[position].isPlain;
    }
    work->summaryVersion = topology->version;
    return 0;
}

bool admits(DataBase* dataBase, const LinkSummaries& summaries, Long position,
            LSPRequest* req, DBLabelSwitchedPath* trial) {
    const TopoLink& in = summaries.topology->in[position];
    const LinkSummary& link = summaries.links[position];
    const PredicateConfig& config = kavrilConfig.predicateConfig;
    double gain[kClasses];
    if (link.isPlain)
        return isValidRequestLink(dataBase, in.tail, in.head, &in.link->state, req, gain);
    const LSPrerouteInfo& info = req->rerouteInfo;
    if (info.id >= 0 && in.tail == info.src && in.head == info.dst) return false;
    if (isPartnersLink(dataBase, req, in)) {
        trial->path.cont[0] = in.tail;
        trial->path.cont[1] = in.head;
        return isValidStoredLink(dataBase, in.link, in.tail, in.head, trial, gain);
    }
    if (config.capacityClause && !hasCapacity(summaries, position, req)) return false;
    return !config.colorClause || !contains(&req->forbidLinks, link.color);
}
