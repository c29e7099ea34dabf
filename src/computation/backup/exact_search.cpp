#include "computation/backup/exact_search.h"

#include <algorithm>
#include <limits>

#include "computation/backup/backup_request.h"
#include "database/database.h"

namespace {

// The one class with bandwidth, or -1.
int onlyClass(const double (&bw)[kClasses]) {
    int only = -1;
    for (int oa = 0; oa < kClasses; oa++) {
        if (bw[oa] == 0.0) continue;
        if (only >= 0 || !(bw[oa] > 0.0)) return -1;
        only = oa;
    }
    return only;
}

// Whether a path meets no node twice and misses no link.
bool isSimple(DataBase* dataBase, const LongList* path) {
    for (Long i = 0; i < path->top; i++) {
        const Long* end = path->cont + i;
        if (std::find(static_cast<const Long*>(path->cont), end, *end) != end)
            return false;
        if (i + 1 < path->top &&
            findLink(&dataBase->linkTab, path->cont[i], path->cont[i + 1]) == nullptr)
            return false;
    }
    return path->top > 1;
}

}  // namespace

bool ExactSearch::prepare() {
    work_ = workspaceOf(dataBase_);
    oa_ = onlyClass(primary_->bw);
    if (oa_ < 0 || !topology_->consistent || !isSimple(dataBase_, &primary_->path))
        return false;
    if (refreshSummaries(dataBase_, topology_, primary_->bw, 1U << oa_, &summaries_) <
            0 ||
        summaries_.state->nbInexact > 0 || !summaries_.isExact)
        return false;
    rows_ = currentRows(dataBase_, topology_);
    const Long links = summaries_.nbLinks;
    auto* needs = scratchArray<Needs>(&work_->scratches[BACKUP_NEEDS], links);
    worst_ = scratchArray<double>(&work_->scratches[BACKUP_WORST], links);
    nodes_ = scratchArray<Node>(&work_->scratches[BACKUP_NODES], topology_->nodeSlots);
    queue_ = scratchArray<Entry>(&work_->scratches[BACKUP_QUEUE], links);
    if (rows_ == nullptr || needs == nullptr || worst_ == nullptr || nodes_ == nullptr ||
        queue_ == nullptr || clearStamps(&work_->stamps[BOOKED_LINKS], links) < 0)
        return false;
    needs_ = needs;
    bandwidth_ = primary_->bw[oa_];
    hasOneLength_ = primary_->primPath.top == 0;
    if (hasOneLength_) lengthCost_ = lengthCost(primary_, -1);
    return true;
}

// Calls act(row) for the failures of the hops protected from, and of the nodes they
// enter, that count.
template <class Act>
void ExactSearch::forEachRow(Act act) {
    for (Long hop = firstHop_; hop < lastHop_; hop++) {
        const Long head = primary_->path.cont[hop + 1];
        const Long id = DBgetLinkID(dataBase_, primary_->path.cont[hop], head);
        if (id < topology_->linkLimit) act(rows_->ofLinks[oa_][id]);
        if (head < topology_->nodeLimit) act(rows_->ofNodes[oa_][head]);
    }
}

void ExactSearch::clearNeeds() {
    forEachRow([this](const IdMap<double>& row) {
        for (Long i = 0; i < row.top; i++) needs_[row.ids[i]] = {};
    });
    firstHop_ = lastHop_ = 0;
}

void ExactSearch::protect(Long first, Long last) {
    clearNeeds();
    firstHop_ = first;
    lastHop_ = last;
    nbFailures_ = 0;
    forEachRow([this](const IdMap<double>& row) {
        nbFailures_++;
        for (Long i = 0; i < row.top; i++) {
            Needs* needs = &needs_[row.ids[i]];
            needs->most =
                needs->nb == 0 ? row.cont[i] : std::max(needs->most, row.cont[i]);
            needs->nb++;
        }
    });
}

bool ExactSearch::search(Long start, Long firstGoal, LongList* path) {
    if (clearStamps(&work_->stamps[REACHED_NODES], topology_->nodeSlots) < 0)
        return false;
    queued_ = inserted_ = 0;
    reach(start)->val = 0.0;
    push(0.0, start);
    while (queued_ > 0) {
        const Long id = pop();
        if (nodes_[id].marked) continue;
        nodes_[id].marked = true;
        if (isGoal(id, firstGoal)) return readPath(id, path);
        relaxNeighbours(id);
    }
    return false;
}

bool ExactSearch::readPath(Long goal, LongList* path) const {
    for (Long id = goal; id >= 0; id = nodes_[id].from)
        if (longVecPushBack(path, id) < 0) return false;
    std::reverse(path->cont, path->cont + path->top);
    return true;
}

bool ExactSearch::isGoal(Long node, Long firstGoal) const {
    const LongList* path = &primary_->path;
    const Long* end = path->cont + path->top;
    return std::find(static_cast<const Long*>(path->cont + firstGoal), end, node) != end;
}

// The node's record in the current search.
ExactSearch::Node* ExactSearch::reach(Long id) {
    if (!isMarked(&work_->stamps[REACHED_NODES], id)) {
        mark(&work_->stamps[REACHED_NODES], id);
        nodes_[id] = {-1.0, -1, false};
    }
    return &nodes_[id];
}

void ExactSearch::relaxNeighbours(Long id) {
    const Stamps* forbidden = &work_->stamps[FORBIDDEN_LINKS];
    const double tailVal = nodes_[id].val;
    const Long nextOnPrimary = nextBefore(id);
    for (Long i = topology_->firstOut[id]; i < topology_->firstOut[id + 1]; i++) {
        const TopoLink& link = topology_->out[i];
        Node* next = reach(link.head);
        if (next->marked || isMarked(forbidden, link.id)) continue;
        const double booked = link.head == nextOnPrimary ? 2.0 * bandwidth_ : bandwidth_;
        const double linkCost = cost(i, booked);
        if (linkCost < 0.0) continue;
        const double val = tailVal + linkCost;
        if (next->val != -1.0 && !(val > 0.0 && next->val > val)) continue;
        next->val = val;
        next->from = id;
        push(val, link.head);
    }
}

// What the backup makes of the worst need of the link at a position.
double ExactSearch::worstAfter(Long position, double bandwidth) const {
    const double worst = worstNow(position);
    if (nbFailures_ == 0) return worst;
    const Needs& needs = needs_[position];
    double most = needs.nb > 0 ? needs.most : 0.0;
    if (needs.nb < nbFailures_) most = std::max(most, 0.0);
    return std::max(worst, most + bandwidth);
}

double ExactSearch::worstNow(Long position) const {
    return isMarked(&work_->stamps[BOOKED_LINKS], position)
               ? worst_[position]
               : summaries_.classes[oa_][position].worst;
}

// The node that follows on the primary before the first hop protected from, or -1. A
// local backup on that link keeps the primary's bandwidth flowing there, which would be
// free without it, besides its own.
Long ExactSearch::nextBefore(Long node) const {
    const LongList* path = &primary_->path;
    for (Long hop = 0; hop < firstHop_; hop++)
        if (path->cont[hop] == node) return path->cont[hop + 1];
    return -1;
}

// computeCost of a link that the backup adds `bandwidth` to; -1 if it does not fit.
double ExactSearch::cost(Long position, double bandwidth) const {
    const LinkSummary& link = summaries_.links[position];
    if ((link.overfull[kLevels - 1] & ~summaries_.asked) != 0) return -1.0;
    const ClassSummary& cls = summaries_.classes[oa_][position];
    const double after = worstAfter(position, bandwidth);
    if (cls.load + after > cls.cap) return -1.0;
    const bool booked = isMarked(&work_->stamps[BOOKED_LINKS], position);
    const double excess = booked ? 0.0 : link.excess;
    return costOfIncrease(worstNow(position), excess + after,
                          hasOneLength_
                              ? lengthCost_
                              : lengthCost(primary_, topology_->out[position].head));
}

void ExactSearch::book(const LongList* path) {
    for (Long i = 0; i + 1 < path->top; i++) {
        const Long tail = path->cont[i];
        const Long head = path->cont[i + 1];
        const Long position = topology_->outById[DBgetLinkID(dataBase_, tail, head)];
        worst_[position] = worstAfter(
            position, nextBefore(tail) == head ? 2.0 * bandwidth_ : bandwidth_);
        mark(&work_->stamps[BOOKED_LINKS], position);
    }
}

// Smaller keys first, and of equal ones the last.
bool ExactSearch::isBefore(const Entry& a, const Entry& b) {
    return a.key < b.key || (a.key == b.key && a.order > b.order);
}

constexpr Long kArity = 4;

void ExactSearch::push(double key, Long node) {
    const Entry entry = {key, inserted_++, node};
    Long at = queued_++;
    for (Long father; at > 0; at = father) {
        father = (at - 1) / kArity;
        if (!isBefore(entry, queue_[father])) break;
        queue_[at] = queue_[father];
    }
    queue_[at] = entry;
}

Long ExactSearch::pop() {
    const Long node = queue_[0].node;
    const Entry last = queue_[--queued_];
    Long at = 0;
    for (;;) {
        const Long first = kArity * at + 1;
        const Long end = std::min(first + kArity, queued_);
        Long least = first;
        for (Long i = first + 1; i < end; i++)
            if (isBefore(queue_[i], queue_[least])) least = i;
        if (first >= queued_ || !isBefore(queue_[least], last)) break;
        queue_[at] = queue_[least];
        at = least;
    }
    queue_[at] = last;
    return node;
}
