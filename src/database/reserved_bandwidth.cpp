#include "database/reserved_bandwidth.h"

#include <algorithm>
#include <cstring>

#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

// Need of one failure per level.
using Need = double[kLevels];

double element(const DoubleVec& vec, Long f) {
    return f < vec.size ? vec.cont[f] : 0.0;
}

bool isZero(const DoubleVec& vec) {
    return std::all_of(vec.cont, vec.cont + vec.size, [](double x) { return x == 0.0; });
}

// Whether no failure activates or frees anything in a class.
bool isZero(const DoubleVec (&bbw)[kLevels], const DoubleVec (&fbw)[kLevels]) {
    auto zero = [](const DoubleVec& vec) { return isZero(vec); };
    return std::all_of(bbw, bbw + kLevels, zero) && std::all_of(fbw, fbw + kLevels, zero);
}

// The sums run on from level to level and are cut off at 0 only in the result.
class Needs {
  public:
    Needs(const DoubleVec (&bbw)[kLevels], const DoubleVec (&fbw)[kLevels])
        : bbw_(bbw), fbw_(fbw) {}

    void ofLink(Long id, Need& need) const {
        Sums sums;
        for (int p = 0; p < kLevels; p++) {
            add(sums, p, id);
            need[p] = sums.need();
        }
    }

    void ofNode(DataBase* dataBase, const DBNode* node, Need& need) const {
        Sums sums;
        const LongList* in = &node->inNeighb;
        for (int p = 0; p < kLevels; p++) {
            for (Long i = 0; i < in->top; i++) {
                const DBLink* link = findLink(&dataBase->linkTab, in->cont[i], node->id);
                if (link != nullptr) add(sums, p, link->id);
            }
            need[p] = sums.need();
        }
    }

  private:
    struct Sums {
        double bbw = 0.0;
        double fbw = 0.0;
        double need() const { return bbw - fbw < 0.0 ? 0.0 : bbw - fbw; }
    };

    void add(Sums& sums, int p, Long id) const {
        sums.bbw += element(bbw_[p], id);
        sums.fbw += element(fbw_[p], id);
    }

    const DoubleVec (&bbw_)[kLevels];
    const DoubleVec (&fbw_)[kLevels];
};

// The needs of all failures: link slots first, then node slots. The walks stop at the
// counts of the database, but no later than their tables: node removals leave fewer links
// counted than there are, less than none even, and more nodes.
void computeNeeds(DataBase* dataBase, const Needs& needs, Need* gbw) {
    const LongVec* links = &dataBase->linkSrcVec;
    Long seen = 0;
    for (Long id = 0; id < links->top && seen < dataBase->nbLinks; id++) {
        if (links->cont[id] == 0) continue;
        seen++;
        needs.ofLink(id, gbw[id]);
    }
    const DBNodeVec* nodes = &dataBase->nodeVec;
    seen = 0;
    for (Long id = 0; id < nodes->top && seen < dataBase->nbNodes; id++) {
        if (nodes->cont[id] == nullptr) continue;
        seen++;
        needs.ofNode(dataBase, nodes->cont[id], gbw[links->top + id]);
    }
}

void reserve(const Need* gbw, Long failures, const double (&pbw)[kLevels],
             double (&rbw)[kLevels]) {
    double worst[kLevels] = {};
    for (Long f = 0; f < failures; f++)
        for (int p = 0; p < kLevels; p++)
            if (gbw[f][p] > worst[p]) worst[p] = gbw[f][p];
    addNeeds(worst, pbw, rbw);
}

}  // namespace

int computeRBW(DataBase* dataBase, double rbw[kClasses][kLevels],
               double pbw[kClasses][kLevels], DoubleVec bbw[kClasses][kLevels],
               DoubleVec fbw[kClasses][kLevels]) {
    if (rbw == nullptr || pbw == nullptr || bbw == nullptr || fbw == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    const Long failures = dataBase->linkSrcVec.top + dataBase->nodeVec.top;
    auto* gbw =
        static_cast<Need*>(mycalloc(static_cast<std::size_t>(failures), sizeof(Need)));
    if (gbw == nullptr) return FAIL_WITH(-1, "Cannot allocate GBW");
    for (int oa = 0; oa < kClasses; oa++) {
        if (isZero(bbw[oa], fbw[oa])) {
            reserve(gbw, 0, pbw[oa], rbw[oa]);  // no failure needs anything
            continue;
        }
        computeNeeds(dataBase, Needs(bbw[oa], fbw[oa]), gbw);
        reserve(gbw, failures, pbw[oa], rbw[oa]);
    }
    myfree(gbw);
    return 0;
}
