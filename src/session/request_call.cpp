#include "session/request_call.h"

#include <algorithm>
#include <bit>

#include "admission/lsp_setup.h"
#include "session/calls.h"
#include "session/changes.h"

namespace {

// The numbers of a request, one after the other.
class Numbers {
  public:
    explicit Numbers(const LongList* list) : list_(list) {}

    Long next() { return at_ < list_->top ? list_->cont[at_++] : 0; }

    int readList(LongList* to) {
        for (Long left = next(); left > 0; left--)
            if (longVecPushBack(to, next()) < 0) return -1;
        return 0;
    }

  private:
    const LongList* list_;
    Long at_ = 0;
};

}  // namespace

void RequestCall::run(const LongList* numbers) {
    if (read(numbers) == 0) outcome_ = find();
}

int RequestCall::read(const LongList* list) {
    if (lspRequestInit(&request_) < 0 || pathLimitsInit(&limits_) < 0 ||
        longVecInit(&preempted_, -1) < 0)
        return -1;
    Numbers numbers(list);
    request_.id = numbers.next();
    request_.precedence = numbers.next();
    const Long oa = numbers.next();
    const auto bandwidth = std::bit_cast<float>(numbers.next());
    setBandwidth(request_.bw, oa, bandwidth);
    add_ = numbers.next() != 0;
    preempt_ = numbers.next() != 0;
    limits_.maxLinks = numbers.next();
    for (LongList* to : {&request_.path, &request_.forbidLinks, &limits_.colors,
                         &limits_.nodes, &limits_.links})
        if (numbers.readList(to) < 0) return -1;
    return checkLevel(request_.precedence) == 0 ? checkBandwidth(bandwidth) : -1;
}

RequestCall::Outcome RequestCall::find() {
    PredicateConfig* config = &kavrilConfig.predicateConfig;
    config->allowReroute = preempt_;
    if (request_.forbidLinks.top > 0) config->colorClause = true;
    if (DBgetLSP(centralDB, request_.id) != nullptr) return ID_IN_USE;
    if (request_.id < 0) request_.id = DBgetFreeLSPId(centralDB, kMaxLspId);
    if (request_.id < 0) return NO_ID;
    const bool isKnown = hasRoute();
    const Outcome outcome = compute();
    if (outcome != PLACED) return outcome;
    return fillLSP() == 0 && place(isKnown) == 0 ? PLACED : REFUSED;
}

bool RequestCall::hasRoute() const {
    const LongList* path = &request_.path;
    return std::all_of(path->cont, path->cont + path->top,
                       [](Long node) { return node >= 0; });
}

// PLACED if there is a path.
RequestCall::Outcome RequestCall::compute() {
    switch (computeLimitedPath(centralDB, &request_, limits_)) {
        case LimitedPath::FOUND:
            return PLACED;
        case LimitedPath::NO_NODE:
            return NO_NODE;
        case LimitedPath::NO_ROOM:
            return NO_ROOM;
        case LimitedPath::NO_WAY:
            return NO_WAY;
        case LimitedPath::NOT_BOTH:
            return NOT_BOTH;
        case LimitedPath::GIVEN_UP:
            return GIVEN_UP;
        case LimitedPath::FAILED:
            break;
    }
    return REFUSED;
}

int RequestCall::fillLSP() {
    if (DBlspInit(&lsp_) < 0) return -1;
    lsp_.id = request_.id;
    lsp_.precedence = request_.precedence;
    std::copy_n(request_.bw, kClasses, lsp_.bw);
    return longVecCopy(&lsp_.forbidLinks, &request_.forbidLinks) == 0
               ? longVecCopy(&lsp_.path, &request_.path)
               : -1;
}

// Sets the LSP up, or finds out whether it could be and who would have to give way.
int RequestCall::place(bool isKnown) {
    if (add_) return SCaddLSP(&lsp_, &preempted_);
    return isKnown || preempt_ ? DBtestLSP(centralDB, &lsp_, &preempted_) : 0;
}

int RequestCall::listAnswer(LongList* to) const {
    if (longVecPushBack(to, outcome_) < 0) return -1;
    const LongList* path = &request_.path;
    if (outcome_ == NO_NODE) {
        const Long* missing =
            std::find_if(path->cont, path->cont + path->top, [](Long node) {
                return node >= 0 && findNode(&centralDB->nodeVec, node) == nullptr;
            });
        return longVecPushBack(to, *missing);
    }
    if (outcome_ != PLACED) return 0;
    if (longVecPushBack(to, request_.id) < 0 || listPath(to, *path) < 0) return -1;
    for (Long i = 0; i < preempted_.top; i++)
        if (longVecPushBack(to, preempted_.cont[i]) < 0) return -1;
    return 0;
}

void RequestCall::removePreempted() {
    if (outcome_ != PLACED) return;
    for (Long i = 0; i < preempted_.top; i++) SCremoveLSP(preempted_.cont[i]);
}

void RequestCall::takeBack() {
    if (outcome_ == PLACED && add_) SCremoveLSP(lsp_.id);
}
