#include "computation/link_summary.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "common/setup.h"
#include "computation/primary/score_formulas.h"
#include "database/database.h"
#include "predicate/predicate.h"

namespace {

// Beyond this, products of capacities and slopes could overflow.
constexpr double kReasonable = 1e150;

bool contains(const LongList* list, Long value) {
    return std::find(list->cont, list->cont + list->top, value) != list->cont + list->top;
}

std::uint8_t bitOf(int oa) {
    return static_cast<std::uint8_t>(1U << oa);
}

// The sum of rbw as it is, or NaN if that may have rounded.
double reservedNow(const Grain& grain, const DBLinkState& state) {
    Grain all = grain;
    double total = 0.0;
    for (const auto& row : state.rbw)
        for (double level : row) {
            all.add(0.0, level);
            total += level;
        }
    return all.isExact() ? total : std::nan("");
}

// Writes one class of a link. Returns what is reserved in it.
double summariseClass(LinkSummaries* summaries, Long position, int oa,
                      const DBLinkState& state, const WorstNeed& worst) {
    LinkSummary* link = &summaries->links[position];
    const double cap = state.cap[oa];
    double upTo[kLevels];
    double load = 0.0;
    for (int p = 0; p < kLevels; p++) {
        load += state.pbw[oa][p];
        upTo[p] = load + worst.level[p];
        if (upTo[p] > cap) link->overfull[p] |= bitOf(oa);
    }
    if (!(std::abs(cap) < kReasonable && std::abs(load) < kReasonable))
        link->isFinite = false;
    if (summaries->classes[oa] == nullptr) return upTo[kLevels - 1];
    const auto [slope, intercept] = segmentAt(load / cap);
    const double shift = intercept * cap;
    summaries->classes[oa][position] = {cap,   load,  worst.level[kLevels - 1],
                                        slope, shift, slope * load + shift};
    for (int p = 0; p < kLevels; p++)
        summaries->levelSums[oa][p * summaries->nbLinks + position] = upTo[p];
    return upTo[kLevels - 1];
}

void summarise(DataBase* dataBase, LinkSummaries* summaries, Long position) {
    const DBTopology* topology = summaries->topology;
    const TopoLink& out = topology->out[position];
    const DBLinkState& state = out.link->state;
    LinkBook* book = packedBook(out.link);
    LinkSummary* link = &summaries->links[position];
    *link = {};
    link->color = state.color;
    link->isPlain = book == nullptr;
    link->isExact = book != nullptr && isBalanced(topology, book, state.pbw);
    link->isFinite = true;
    constexpr WorstNeed kUnknown = {};
    double reserved = 0.0;
    for (int oa = 0; oa < kClasses; oa++) {
        const WorstNeed& worst =
            link->isExact ? worstNeed(dataBase, topology, book, oa) : kUnknown;
        reserved += summariseClass(summaries, position, oa, state, worst);
        if (link->isExact && isAmongWorst(topology, &book->classes[oa], out.id))
            link->ownNeed |= bitOf(oa);
    }
    if (!link->isExact || book->rbwVersion == topology->version) return;
    link->excess = reserved - reservedNow(book->grain, state);
    link->isExact = !std::isnan(link->excess);
}

// Counts a link in the state, or takes it out.
void count(SummaryState* state, const LinkSummary& link, Long by) {
    if (!link.isExact) state->nbInexact += by;
    if (link.isPlain || !link.isFinite) state->nbOdd += by;
}

void noteGrain(SummaryState* state, const TopoLink& link) {
    if (link.link->book == nullptr) return;
    const Grain& grain = link.link->book->grain;
    state->grain.unit = std::fmin(state->grain.unit, grain.unit);
    state->grain.magnitude = std::fmax(state->grain.magnitude, grain.magnitude);
}

// Whether bw[oa] more on a link exceeds its capacity.
bool exceeds(const LinkSummaries& summaries, Long position, int oa, int level,
             double bw) {
    return summaries.levelSums[oa][level * summaries.nbLinks + position] + bw >
           summaries.classes[oa][position].cap;
}

// Whether a link has the capacity, unless the request frees some of it.
bool hasCapacity(const LinkSummaries& summaries, Long position, const LSPRequest* req,
                 bool* frees) {
    const LinkSummary& link = summaries.links[position];
    const int level =
        kavrilConfig.predicateConfig.allowReroute ? req->precedence : kLevels - 1;
    if ((link.overfull[level] & ~summaries.asked) != 0) return false;
    bool fits = true;
    for (int oa = 0; summaries.asked >> oa != 0; oa++) {
        if ((summaries.asked >> oa & 1U) == 0 ||
            !exceeds(summaries, position, oa, level, req->bw[oa]))
            continue;
        fits = false;
        if ((link.ownNeed >> oa & 1U) != 0) *frees = true;
    }
    return fits;
}

bool isPartnersLink(DataBase* dataBase, const LSPRequest* req, const TopoLink& link) {
    if (req->rerouteInfo.id < 0) return false;
    const LongList* path = &DBgetLSP(dataBase, req->rerouteInfo.id)->path;
    for (Long i = 0; i < path->top - 1; i++)
        if (path->cont[i] == link.tail && path->cont[i + 1] == link.head) return true;
    return false;
}

bool admitsOnTrial(DataBase* dataBase, const TopoLink& link, DBLabelSwitchedPath* trial) {
    double gain[kClasses];
    trial->path.cont[0] = link.tail;
    trial->path.cont[1] = link.head;
    return isValidStoredLink(dataBase, link.link, link.tail, link.head, trial, gain);
}

}  // namespace

int refreshSummaries(DataBase* dataBase, const DBTopology* topology,
                     const double (&bw)[kClasses], unsigned classes,
                     LinkSummaries* summaries) {
    DBWorkspace* work = workspaceOf(dataBase);
    SummaryState* state = &work->summary;
    const Long nbLinks = topology->firstOut[topology->nodeSlots];
    const bool fresh =
        state->version != topology->version || (classes & ~state->classes) != 0;
    state->classes |= classes;
    state->version = 0;  // until all is well
    *summaries = {};
    summaries->topology = topology;
    summaries->state = state;
    summaries->nbLinks = nbLinks;
    summaries->links =
        scratchArray<LinkSummary>(&work->scratches[LINK_SUMMARIES], nbLinks);
    if (summaries->links == nullptr || sizeStaleLinks(work, topology->linkSlots) < 0)
        return -1;
    for (int oa = 0; oa < kClasses; oa++) {
        if ((state->classes >> oa & 1U) == 0) continue;
        summaries->classes[oa] =
            scratchArray<ClassSummary>(&work->scratches[CLASS_SUMMARIES + oa], nbLinks);
        summaries->levelSums[oa] =
            scratchArray<double>(&work->scratches[LEVEL_SUMS + oa], kLevels * nbLinks);
        if (summaries->classes[oa] == nullptr || summaries->levelSums[oa] == nullptr)
            return -1;
    }
    auto refresh = [&](Long position) {
        summarise(dataBase, summaries, position);
        count(state, summaries->links[position], 1);
        noteGrain(state, topology->out[position]);
    };
    if (fresh) {
        state->grain = {};
        state->nbInexact = state->nbOdd = 0;
        for (Long position = 0; position < nbLinks; position++) refresh(position);
    } else {
        for (Long i = 0; i < state->stale.top; i++) {
            const Long position = topology->outById[state->stale.cont[i]];
            count(state, summaries->links[position], -1);
            refresh(position);
        }
    }
    clearStaleLinks(work);
    // Plain links may change without notice.
    for (Long position = 0; state->nbOdd > 0 && position < nbLinks; position++)
        if (summaries->links[position].isPlain)
            linkChanged(dataBase, topology->out[position].link);
    state->version = topology->version;

    summaries->isExact = true;
    for (int oa = 0; oa < kClasses; oa++) {
        if (bw[oa] == 0.0) continue;
        summaries->asked |= 1U << oa;
        if (!state->grain.covers(kClasses * bw[oa])) summaries->isExact = false;
    }
    return 0;
}

bool admits(DataBase* dataBase, const LinkSummaries& summaries, Long position,
            LSPRequest* req, DBLabelSwitchedPath* trial) {
    const TopoLink& out = summaries.topology->out[position];
    const LinkSummary& link = summaries.links[position];
    const PredicateConfig& config = kavrilConfig.predicateConfig;
    const LSPrerouteInfo& info = req->rerouteInfo;
    if (info.id >= 0 && out.tail == info.src && out.head == info.dst) return false;
    // A plain link is never exact.
    if (!summaries.isExact || !link.isExact || isPartnersLink(dataBase, req, out))
        return admitsOnTrial(dataBase, out, trial);
    bool frees = false;
    if (config.capacityClause && !hasCapacity(summaries, position, req, &frees))
        return frees && admitsOnTrial(dataBase, out, trial);
    return !config.colorClause || !contains(&req->forbidLinks, link.color);
}

QuickAdmission::QuickAdmission(const LinkSummaries& summaries, const LSPRequest* req)
    : links_(summaries.links) {
    const PredicateConfig& config = kavrilConfig.predicateConfig;
    if (!summaries.isExact || std::popcount(summaries.asked) != 1 ||
        req->rerouteInfo.id >= 0 || !config.capacityClause ||
        (config.colorClause && req->forbidLinks.top > 0))
        return;
    const int oa = std::countr_zero(summaries.asked);
    isUsable_ = true;
    level_ = config.allowReroute ? req->precedence : kLevels - 1;
    classes_ = summaries.classes[oa];
    levelSums_ = summaries.levelSums[oa] + level_ * summaries.nbLinks;
    bw_ = req->bw[oa];
    notAsked_ = ~summaries.asked;
}
