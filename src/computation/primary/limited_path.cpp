#include "computation/primary/limited_path.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "common/setup.h"
#include "computation/computation.h"
#include "computation/primary/path_search.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/request_admission.h"
#include "computation/primary/score_terms.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/primary/limited_path.c"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// What a link without an ordinary score costs: it is taken if nothing else is left.
constexpr double kDear = 1e100;

// Beginnings of paths that a search may make, and bounds that it may keep: some 8 MB and
// half a GB.
constexpr Long kMaxBeginnings = 1 << 18;
constexpr std::int64_t kMaxBounds = 1 << 26;

bool hasLink(const LongList* links, Long tail, Long head) {
    for (Long i = 0; i + 1 < links->top; i += 2)
        if (links->cont[i] == tail && links->cont[i + 1] == head) return true;
    return false;
}

// Which links the limits leave out, by position in the graph.
bool listLeftOut(const Graph* graph, const LSPRequest* req, const PathLimits& limits,
                 ScopedArray<bool>* isLeftOut) {
    ScopedArray<bool> isShunned;
    if (!isShunned.fill(graph->nodeSlots(), false) ||
        !isLeftOut->fill(graph->out.top, false))
        return false;
    for (Long i = 0; i < limits.nodes.top; i++)
        if (const Long node = limits.nodes.cont[i]; node >= 0 && node < isShunned.top)
            isShunned[node] = true;
    for (Long tail = 0; tail < graph->nodeSlots(); tail++)
        for (Long i = graph->first[tail]; i < graph->first[tail + 1]; i++) {
            const Long head = graph->heads[i];
            const Long color = graph->out[i].link->state.color;
            (*isLeftOut)[i] =
                isShunned[tail] || isShunned[head] ||
                (limits.colors.top > 0 && indexOf(&limits.colors, color) < 0) ||
                indexOf(&req->forbidLinks, color) >= 0 ||
                hasLink(&limits.links, tail, head);
        }
    return true;
}

struct Arc {
    double cost;  // for the search: 0 to kDear
    Long head;
    Long position;
};

// Links that may be taken, by their tails, with what each adds to a score.
class Arcs {
  public:
    Arcs(DataBase* dataBase, const LSPRequest* req)
        : dataBase_(dataBase), req_(req), admission_(dataBase, req) {}

    // With needsRoom only links that admit the request. False if there is no memory.
    bool init(const bool* isLeftOut, Long src, bool needsRoom) {
        const Graph& graph = dataBase_->live->graph;
        ScopedArray<Long> positions;
        if (!admission_.prepare(classesToRead(req_)) ||
            !terms_.init(dataBase_->live, dataBase_->nbLinks, req_) ||
            !makeRoom(&added_, graph.nbLinks() + ScoreTerms::kBlock) ||
            !makeRoom(&first_, graph.nodeSlots() + 1) ||
            !makeRoom(&arcs_, graph.nbLinks()) || !makeRoom(&positions, graph.nbLinks()))
            return false;
        terms_.compute(added_.cont);
        terms_.survey(added_.cont);
        for (Long tail = 0; tail < graph.nodeSlots(); tail++) {
            first_[first_.top++] = arcs_.top;
            for (Long i = graph.first[tail]; i < graph.first[tail + 1]; i++)
                if (!isLeftOut[i] && (!needsRoom || admission_.admits(i, tail))) {
                    arcs_[arcs_.top++] = {0.0, graph.heads[i], i};
                    positions[positions.top++] = i;
                }
        }
        first_[first_.top++] = arcs_.top;
        terms_.clearSums(src);
        terms_.addUtilisations(src, added_.cont, positions);
        for (Arc& arc : arcs_) {
            const double cost = score(arc, 0.0, src);
            arc.cost = std::isfinite(cost) ? std::clamp(cost, 0.0, kDear) : kDear;
        }
        return !admission_.hasFailed();
    }

    Long nbNodes() const { return first_.top - 1; }
    const Arc* begin(Long tail) const { return &arcs_.cont[first_[tail]]; }
    const Arc* end(Long tail) const { return &arcs_.cont[first_[tail + 1]]; }

    // As the library's search scores it.
    double scoreOf(const LongList* path) {
        double cost = 0.0;
        for (Long i = 0; i + 1 < path->top; i++) {
            const Long tail = path->cont[i];
            const Long head = path->cont[i + 1];
            const Arc* arc = std::find_if(begin(tail), end(tail),
                                          [=](const Arc& a) { return a.head == head; });
            cost = score(*arc, cost, tail);
            terms_.elect(arc->position, tail, head);
            terms_.activate(head);
        }
        return cost;
    }

  private:
    double score(const Arc& arc, double tailCost, Long tail) const {
        const Live* live = dataBase_->live;
        const Long i = arc.position;
        if (live->views.links[i].isOdd || std::isnan(added_[i]))
            return terms_.oddScore(&live->graph.out[i].link->state, tailCost, tail);
        double scores[ScoreTerms::kBlock];
        terms_.score(added_.cont, i, i + 1, tailCost, tail, scores);
        if (!terms_.scoresOrdinarily(tailCost, tail)) terms_.settle(tail, 1, scores);
        return scores[0];
    }

    DataBase* dataBase_;
    const LSPRequest* req_;
    RequestAdmission admission_;
    ScoreTerms terms_;
    ScopedArray<double> added_;  // by position
    ScopedArray<Long> first_;
    ScopedArray<Arc> arcs_;
};

// A node to be passed.
struct Target {
    Long node;
    bool isNext;  // right after the one before
};

// A path from the source that may become the answer.
struct Beginning {
    double cost;
    Long node;
    Long before;  // the beginning without the node, -1 for none
    Long links;
    Long target;  // that comes next
};

struct Entry {
    double bound;  // what the whole path will cost at least
    Long beginning;
};

// Of equal bounds the latest first: it is the longest.
bool comesLater(const Entry& a, const Entry& b) {
    return a.bound > b.bound || (a.bound == b.bound && a.beginning < b.beginning);
}

// Finds the cheapest path that passes no node twice. What is left to pay from a node on
// is known beforehand for walks, which may; the path that goes on from the most promising
// beginning is then as good as straight, unless nodes to be passed lead in circles.
class LimitedSearch {
  public:
    LimitedSearch(const Arcs* arcs, const LongList* wanted, Long maxLinks)
        : arcs_(arcs),
          wanted_(wanted),
          nbNodes_(arcs->nbNodes()),
          maxLinks_(maxLinks > 0 && maxLinks < nbNodes_ ? maxLinks : nbNodes_),
          isLimited_(maxLinks_ < nbNodes_) {}

    // FOUND, NO_WAY, GIVEN_UP or FAILED.
    LimitedPath run(LongList* path) {
        if (!listTargets()) return LimitedPath::FAILED;
        if (passesTwice_) return LimitedPath::NO_WAY;
        const std::int64_t layers = isLimited_ ? maxLinks_ + std::int64_t{1} : 1;
        if (layers * targets_.top * nbNodes_ > kMaxBounds) return LimitedPath::GIVEN_UP;
        if (!computeBounds() || !begin()) return LimitedPath::FAILED;
        while (queue_.top > 0) {
            std::pop_heap(queue_.begin(), queue_.end(), comesLater);
            const Long best = queue_[--queue_.top].beginning;
            if (beginnings_[best].target == targets_.top)
                return readPath(best, path) ? LimitedPath::FOUND : LimitedPath::FAILED;
            if (!goOn(best)) return LimitedPath::FAILED;
            if (beginnings_.top > kMaxBeginnings) return LimitedPath::GIVEN_UP;
        }
        return LimitedPath::NO_WAY;
    }

  private:
    bool listTargets() {
        if (!isWanted_.fill(nbNodes_, false)) return false;
        isWanted_[wanted_->cont[0]] = true;
        bool isNext = true;
        for (Long i = 1; i < wanted_->top; i++) {
            const Long node = wanted_->cont[i];
            if (node >= 0) {
                passesTwice_ = passesTwice_ || isWanted_[node];
                isWanted_[node] = true;
                if (!append(&targets_, {node, isNext})) return false;
            }
            isNext = node >= 0;
        }
        return true;
    }

    // Whether a walk on its way to a target may go from tail to head.
    bool mayGo(Long target, Long tail, Long head) const {
        const Target& next = targets_[target];
        if (head != next.node) return !next.isNext && !isWanted_[head];
        const Long last = target > 0 ? targets_[target - 1].node : wanted_->cont[0];
        return !next.isNext || tail == last;
    }

    Long after(Long target, Long head) const {
        return head == targets_[target].node ? target + 1 : target;
    }

    // What a walk pays at least from a node on, with so many links left to take.
    double bound(Long links, Long target, Long node) const {
        if (target == targets_.top) return 0.0;
        const Long layer = isLimited_ ? std::min(links, nbLayers_ - 1) : 0;
        return bounds_[(layer * targets_.top + target) * nbNodes_ + node];
    }

    // Layer by layer with one link more, until nothing gets cheaper; without a limit in
    // one layer.
    bool computeBounds() {
        const Long size = targets_.top * nbNodes_;
        if (!bounds_.fill(size, kInfinity)) return false;
        nbLayers_ = 1;
        for (Long links = 1; links <= maxLinks_; links++) {
            if (isLimited_) {
                if (!makeRoom(&bounds_, bounds_.top + size)) return false;
                std::copy_n(bounds_.end() - size, size, bounds_.end());
                bounds_.top += size;
                nbLayers_++;
            }
            if (!improve(bounds_.end() - size, links - 1)) return true;
        }
        return true;
    }

    bool improve(double* layer, Long linksAfter) {
        bool isBetter = false;
        for (Long target = 0; target < targets_.top; target++)
            for (Long tail = 0; tail < nbNodes_; tail++) {
                double& least = layer[target * nbNodes_ + tail];
                for (const Arc* arc = arcs_->begin(tail); arc < arcs_->end(tail); arc++) {
                    if (!mayGo(target, tail, arc->head)) continue;
                    const double cost =
                        arc->cost +
                        bound(linksAfter, after(target, arc->head), arc->head);
                    if (!(cost < least)) continue;
                    least = cost;
                    isBetter = true;
                }
            }
        return isBetter;
    }

    bool begin() { return enter({0.0, wanted_->cont[0], -1, 0, 0}); }

    // Enters a beginning, unless it leads nowhere.
    bool enter(const Beginning& next) {
        const double left = bound(maxLinks_ - next.links, next.target, next.node);
        if (left == kInfinity) return true;
        if (!append(&beginnings_, next) ||
            !append(&queue_, {next.cost + left, beginnings_.top - 1}))
            return false;
        std::push_heap(queue_.begin(), queue_.end(), comesLater);
        return true;
    }

    bool goOn(Long from) {
        const Beginning last = beginnings_[from];
        if (last.links == maxLinks_) return true;
        for (const Arc* arc = arcs_->begin(last.node); arc < arcs_->end(last.node);
             arc++) {
            if (!mayGo(last.target, last.node, arc->head) || passes(from, arc->head))
                continue;
            if (!enter({last.cost + arc->cost, arc->head, from, last.links + 1,
                        after(last.target, arc->head)}))
                return false;
        }
        return true;
    }

    bool passes(Long beginning, Long node) const {
        while (beginning >= 0 && beginnings_[beginning].node != node)
            beginning = beginnings_[beginning].before;
        return beginning >= 0;
    }

    bool readPath(Long beginning, LongList* path) const {
        const Long nodes = beginnings_[beginning].links + 1;
        if (path->size < nodes && longVecResize(path, nodes) < 0) return false;
        path->top = nodes;
        for (Long i = nodes - 1; i >= 0; i--) {
            path->cont[i] = beginnings_[beginning].node;
            beginning = beginnings_[beginning].before;
        }
        return true;
    }

    const Arcs* arcs_;
    const LongList* wanted_;
    Long nbNodes_;
    Long maxLinks_;
    bool isLimited_;
    bool passesTwice_ = false;
    Long nbLayers_ = 0;
    ScopedArray<Target> targets_;
    ScopedArray<bool> isWanted_;  // by node, the source too
    ScopedArray<double> bounds_;  // by layer, target and node
    ScopedArray<Beginning> beginnings_;
    ScopedArray<Entry> queue_;  // a heap
};

bool hasOnlyEnds(const LongList* path) {
    return path->top == 3 && path->cont[1] < 0;
}

bool isFree(const LSPRequest* req, const PathLimits& limits) {
    return hasOnlyEnds(&req->path) && req->forbidLinks.top == 0 &&
           limits.colors.top == 0 && limits.nodes.top == 0 && limits.links.top == 0 &&
           limits.maxLinks <= 0;
}

bool isKnown(const LongList* path) {
    return std::all_of(path->cont, path->cont + path->top, [](Long n) { return n >= 0; });
}

// One request and its answer.
class LimitedCall {
  public:
    LimitedCall(DataBase* dataBase, LSPRequest* req, const PathLimits& limits)
        : dataBase_(dataBase), req_(req), limits_(limits) {}

    LimitedPath run() {
        Graph* graph = &dataBase_->live->graph;
        if (longVecInit(&wanted_, -1) < 0 || longVecCopy(&wanted_, &req_->path) < 0 ||
            (!graph->isBuilt && !buildGraph(dataBase_, graph)) ||
            !listLeftOut(graph, req_, limits_, &isLeftOut_))
            return FAIL_WITH(LimitedPath::FAILED, "Critical lack of memory");
        if (isKnown(&wanted_))
            return isWithinLimits() ? LimitedPath::FOUND : LimitedPath::NO_WAY;
        if (!canBeSearched(dataBase_, req_))
            return FAIL_WITH(LimitedPath::FAILED, "Bad requested path format");
        LimitedPath result = find();
        if (result == LimitedPath::FOUND) addCost(cost_);
        if (result == LimitedPath::NO_WAY) result = whyNot();
        if (result != LimitedPath::FOUND && longVecCopy(&req_->path, &wanted_) < 0)
            return FAIL_WITH(LimitedPath::FAILED, "Critical lack of memory");
        return result;
    }

  private:
    bool isShort() const {
        return limits_.maxLinks <= 0 || req_->path.top - 1 <= limits_.maxLinks;
    }

    bool isWithinLimits() const {
        const Graph* graph = &dataBase_->live->graph;
        for (Long i = 0; i + 1 < wanted_.top; i++) {
            const Long tail = wanted_.cont[i];
            const Long head = wanted_.cont[i + 1];
            if (findLink(&dataBase_->linkTab, tail, head) != nullptr &&
                isLeftOut_[positionOf(graph, tail, head)])
                return false;
        }
        return isShort();
    }

    LimitedPath find() {
        if (hasOnlyEnds(&wanted_)) {
            const SearchResult result =
                findPath(dataBase_, req_, &cost_, isLeftOut_.cont);
            if (result == SearchResult::UNREACHABLE) return LimitedPath::NO_WAY;
            if (result == SearchResult::FOUND && isShort()) return LimitedPath::FOUND;
        }
        return search(&wanted_, limits_.maxLinks, true);
    }

    LimitedPath search(const LongList* wanted, Long maxLinks, bool needsRoom) {
        Arcs arcs(dataBase_, req_);
        LimitedPath result = LimitedPath::FAILED;
        if (arcs.init(isLeftOut_.cont, wanted->cont[0], needsRoom))
            result = LimitedSearch(&arcs, wanted, maxLinks).run(&req_->path);
        if (result == LimitedPath::FAILED)
            PUSH_ERROR(CRITICAL, "Critical lack of memory");
        if (result == LimitedPath::FOUND) cost_ = arcs.scoreOf(&req_->path);
        return result;
    }

    // Why there is no path: looks for one that needs no room, then for one without
    // limits.
    LimitedPath whyNot() {
        LimitedPath result = search(&wanted_, limits_.maxLinks, false);
        if (result != LimitedPath::FOUND) return result;
        ScopedLongList ends;
        if (longVecInit(&ends, 3) < 0) return LimitedPath::FAILED;
        for (Long node : {wanted_.cont[0], Long{-1}, wanted_.cont[wanted_.top - 1]})
            longVecPushBack(&ends, node);
        std::fill(isLeftOut_.begin(), isLeftOut_.end(), false);
        const Long nbColors = std::exchange(req_->forbidLinks.top, 0);
        result = search(&ends, 0, true);
        req_->forbidLinks.top = nbColors;
        if (result == LimitedPath::NO_WAY) return LimitedPath::NO_ROOM;
        return result == LimitedPath::FOUND ? LimitedPath::NOT_BOTH : result;
    }

    DataBase* dataBase_;
    LSPRequest* req_;
    const PathLimits& limits_;
    ScopedLongList wanted_;  // the request's path as it was
    ScopedArray<bool> isLeftOut_;
    double cost_ = 0.0;  // of the path found last
};

bool hasNodes(DataBase* dataBase, const LongList* path) {
    return std::all_of(path->cont, path->cont + path->top, [=](Long node) {
        return node < 0 || findNode(&dataBase->nodeVec, node) != nullptr;
    });
}

}  // namespace

int pathLimitsInit(PathLimits* limits) {
    *limits = {};
    for (LongList* list : {&limits->colors, &limits->nodes, &limits->links})
        if (longVecInit(list, -1) < 0)
            return FAIL_WITH(-1, "Unable to initialize list of longs");
    return 0;
}

int pathLimitsEnd(PathLimits* limits) {
    for (LongList* list : {&limits->colors, &limits->nodes, &limits->links})
        longVecEnd(list);
    return 0;
}

LimitedPath computeLimitedPath(DataBase* dataBase, LSPRequest* req,
                               const PathLimits& limits) {
    if (dataBase == nullptr || req == nullptr)
        return FAIL_WITH(LimitedPath::FAILED, "Bad argument (NULL)");
    const LongList* path = &req->path;
    if (path->top < 1 || path->cont[0] < 0 || path->cont[path->top - 1] < 0)
        return FAIL_WITH(LimitedPath::FAILED, "Bad requested path format");
    if (!hasNodes(dataBase, path)) return LimitedPath::NO_NODE;
    if (!isFree(req, limits)) return LimitedCall(dataBase, req, limits).run();
    return computePrimaryPath(dataBase, req) == 0 ? LimitedPath::FOUND
                                                  : LimitedPath::NO_ROOM;
}
