#include "database/booking.h"

#include <algorithm>
#include <tuple>

#include "database/database_util.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

constexpr bool kFreed = true;
constexpr bool kActivated = false;

}  // namespace

int failForLink(Long tail, Long head) {
    if (tail < 0 || head < 0)
        PUSH_ERROR(CRITICAL, "Bad argument (NULL or negative value)");
    return FAIL_WITH(-1, "Cannot determine link ID");
}

Long indexOf(const LongList* nodes, Long node, Long from) {
    for (Long i = from; i < nodes->top; i++)
        if (nodes->cont[i] == node) return i;
    return -1;
}

Long hopIndex(const LongList* nodes, Long src, Long dst) {
    const Long k = indexOf(nodes, src);
    return k >= 0 && k < nodes->top - 1 && nodes->cont[k + 1] == dst ? k : -1;
}

void sortChanges(Array<FailureChange>* changes) {
    for (Long i = 0; i < changes->top; i++) (*changes)[i].order = i;
    auto place = [](const FailureChange& change) {
        return std::tuple(change.head, change.tail, change.order);
    };
    std::sort(changes->begin(), changes->end(),
              [=](const auto& a, const auto& b) { return place(a) < place(b); });
}

Booker::~Booker() {
    endArray(&booking.changes);
    endArray(&hops_);
    endArray(&primHops_);
}

int Booker::resolve(const LongList* nodes, Array<Hop>* hops) {
    hops->top = 0;
    const Long nb = std::max(nodes->top - 1, 0);
    if (!makeRoom(hops, nb)) return FAIL_WITH(-1, "Critical lack of memory");
    for (Long i = 0; i < nb; i++) {
        const Long tail = nodes->cont[i];
        const Long head = nodes->cont[i + 1];
        (*hops)[hops->top++] = {tail, head, findLink(&dataBase_->linkTab, tail, head)};
    }
    return 0;
}

int Booker::init(DataBase* dataBase, const DBLabelSwitchedPath* lsp,
                 const LongList* primPath) {
    dataBase_ = dataBase;
    lsp_ = lsp;
    primPath_ = primPath;
    isForAllLinks_ = false;
    booking.level = lsp->precedence;
    const bool backup = isBackup(lsp->type);
    if ((!backup && resolve(&lsp->path, &hops_) < 0) ||
        (backup && resolve(primPath, &primHops_) < 0))
        return -1;
    const Long most = hops_.top + 2 * primHops_.top + 2;
    return makeRoom(&booking.changes, most) ? 0
                                            : FAIL_WITH(-1, "Critical lack of memory");
}

int Booker::add(const Hop& hop, bool freed, double mult, const double* amounts) {
    if (hop.link == nullptr) return failForLink(hop.tail, hop.head);
    Array<FailureChange>* changes = &booking.changes;
    (*changes)[changes->top] = {hop.link->id, hop.tail, hop.head, 0,
                                freed,        mult,     amounts};
    changes->top++;
    return 0;
}

// Books hops from..to-1 of the primary, one failure each.
int Booker::addHops(Long from, Long to, bool freed, double mult) {
    for (Long i = from; i < to; i++)
        if (add(primHops_[i], freed, mult, amounts()) < 0) return -1;
    return 0;
}

// Two primaries of one precedence that replace each other do not count twice on a link
// that both cross: the one is booked with what it needs beyond the other.
void Booker::findPartner(Long src, Long dst) {
    partner_ = nullptr;
    rerouting_ = false;
    if (!onPath_ || lsp_->noContentionId < 0) return;
    partner_ = findLSP(&dataBase_->lspVec, lsp_->noContentionId);
    if (partner_ == nullptr) {
        PUSH_ERROR(WARNING, "Cannot find the old LSP");
        return;
    }
    rerouting_ = hopIndex(&partner_->path, src, dst) >= 0;
    const bool shares = !isBackup(lsp_->type) && !isBackup(partner_->type) &&
                        lsp_->precedence == partner_->precedence;
    for (int oa = 0; oa < kClasses; oa++)
        booking.newBW[oa] =
            shares ? std::max(0.0, lsp_->bw[oa] - partner_->bw[oa]) : lsp_->bw[oa];
}

int Booker::gatherPrimary() {
    booking.primary = amounts();
    if (partner_ != nullptr) {
        const LongList* path = &partner_->path;
        for (Long i = 0; i + 1 < path->top; i++)
            if (findLink(&dataBase_->linkTab, path->cont[i], path->cont[i + 1]) ==
                nullptr)
                return failForLink(path->cont[i], path->cont[i + 1]);
    }
    auto isPartners = [&](const Hop& hop) {
        const LongList* path = &partner_->path;
        for (Long i = 0; i + 1 < path->top; i++)
            if (path->cont[i] == hop.tail && path->cont[i + 1] == hop.head) return true;
        return false;
    };
    for (const Hop& hop : hops_) {
        const bool shared = rerouting_ && isPartners(hop);
        if (add(hop, kFreed, mult_, shared ? booking.newBW : lsp_->bw) < 0) return -1;
    }
    isForAllLinks_ = lsp_->noContentionId < 0;
    return 0;
}

int Booker::gatherLocalBackup() {
    const LongList* path = &lsp_->path;
    const Long start = path->top > 0 ? indexOf(primPath_, path->cont[0]) : -1;
    if (start < 0 || start >= primPath_->top - 1)
        return FAIL_WITH(-1, "Cannot determine the link to protect");
    const Hop& protectedHop = primHops_[start];
    if (protectedHop.link == nullptr)
        return failForLink(protectedHop.tail, protectedHop.head);
    if (onPath_ && add(protectedHop, kActivated, mult_, amounts()) < 0) return -1;
    if (primHop_ < 0) return 0;
    // Between head and merge point the backup bypasses the primary; before and behind,
    // the primary keeps flowing when the protected link fails.
    const Long end = indexOf(primPath_, path->cont[path->top - 1], start);
    if (start <= primHop_ && primHop_ < end) return 0;
    return add(protectedHop, kFreed, -mult_, amounts());
}

int Booker::gatherGlobalBackup() {
    const LongList* path = &lsp_->path;
    const Long start = path->top > 0 ? indexOf(primPath_, path->cont[0]) : -1;
    if (start < 0) return FAIL_WITH(-1, "Cannot determine the link to protect");
    const Long end = primPath_->top - 1;
    if (onPath_ && addHops(start, end, kActivated, mult_) < 0) return -1;
    if (primHop_ < 0) return 0;
    // Every hop of the primary gets this, inside the protected segment too.
    return addHops(0, start, kFreed, -mult_);
}

int Booker::dispatch() {
    switch (lsp_->type) {
        case DB_LOCAL_BACKUP_LSP:
            return gatherLocalBackup();
        case DB_GLOBAL_BACKUP_LSP:
            return gatherGlobalBackup();
        default:
            return gatherPrimary();
    }
}

int Booker::gather(Long src, Long dst, operation op) {
    onPath_ = hopIndex(&lsp_->path, src, dst) >= 0;
    findPartner(src, dst);
    primHop_ = isBackup(lsp_->type) ? hopIndex(primPath_, src, dst) : -1;
    if (!onPath_ && primHop_ < 0) return 0;
    if (op != SETUP && op != REMOVE)
        return FAIL_WITH(-1, "Bad argument (unknown operation)");
    const double mult = op == SETUP ? 1.0 : -1.0;
    if (isForAllLinks_ && mult == mult_) return 1;
    mult_ = booking.mult = mult;
    booking.primary = nullptr;
    booking.changes.top = 0;
    const int ret = dispatch();
    sortChanges(&booking.changes);
    booking.classes = 0;
    for (const FailureChange& change : booking.changes)
        for (int oa = 0; oa < kClasses; oa++)
            if (change.amounts[oa] != 0.0) booking.classes |= 1U << oa;
    return ret < 0 ? -1 : 1;
}
