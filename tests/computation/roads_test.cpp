// The short roads to a result against the plain operations, on networks with the same
// history: links whose states have been handed out are evaluated by those alone, and a
// path can be computed on a topology that is built for it.

#include <cmath>
#include <memory>
#include <random>

#include "computation/backup/backup.h"
#include "computation/primary/primaryPath.h"
#include "database/stored_link.h"
#include "support/support.h"

namespace {

constexpr Long kNodes = 7;

// Bandwidths, and with them whether sums are exact: quarters, single precision, double
// precision, and magnitudes that no sum can hold together.
double quarter(std::mt19937* random) {
    return 0.25 * static_cast<double>((*random)() % 48);
}
double single(std::mt19937* random) {
    return std::uniform_real_distribution<float>(0.0F, 12.0F)(*random);
}
double precise(std::mt19937* random) {
    return std::uniform_real_distribution<double>(0.0, 12.0)(*random);
}
double uneven(std::mt19937* random) {
    return (*random)() % 4 == 0 ? 1e-16 * single(random) : single(random);
}

struct Amount {
    const char* name;
    double (*draw)(std::mt19937*);
};
void PrintTo(const Amount& amount, std::ostream* out) {
    *out << amount.name;
}

// What a request came to: the answer, its path, and the messages, newest first.
struct Outcome {
    int ret;
    std::vector<Ids> paths;
    Ids preempted;
    Texts texts;
    std::string printed;
    bool operator==(const Outcome&) const = default;
};

// One of the two networks.
class Road {
  public:
    explicit Road(bool isPlain) : isPlain_(isPlain) {}

    operator DataBase*() const { return net_; }

    void link(Long src, Long dst, double cap, Long id) {
        net_.link(src, dst, cap, id);
        if (isPlain_ && findLink(&net_->linkTab, src, dst) != nullptr)
            net_.state(src, dst);
    }

    Outcome path(Request* req) {
        const int ret = isPlain_ ? onTopology(req) : computePrimaryPath(net_, req);
        Texts texts = errorTexts();
        if (ret == 0) return {ret, {values(req->path)}, {}, texts, ""};
        if (!isPlain_) texts.erase(texts.begin());  // says which of the operations failed
        return {ret, {}, {}, texts, ""};
    }

    Outcome backups(Long id, BackupType type) {
        LSPRequestList requests;
        lspRequestListInit(&requests, -1);
        Outcome outcome = {};
        outcome.printed =
            output([&] { outcome.ret = computeBackup(net_, &requests, id, type); });
        for (Long i = 0; i < requests.size; i++)
            outcome.paths.push_back(values(requests.cont[i].path));
        lspRequestListEnd(&requests);
        outcome.texts = errorTexts();
        return outcome;
    }

    Outcome add(const Lsp& lsp) {
        Lsp copy(lsp.id, {});
        DBlspCopy(&copy, const_cast<Lsp*>(&lsp));
        TestList preempted;
        Outcome outcome = {};
        outcome.ret = DBaddLSP(net_, &copy, &preempted);
        outcome.preempted = values(preempted);
        outcome.texts = errorTexts();
        return outcome;
    }

    // The tables of a link, bit for bit.
    std::vector<double> tables(Long src, Long dst) {
        const DBLinkState* ls = fullState(net_, src, dst);
        std::vector<double> cells;
        for (int oa = 0; oa < kClasses; oa++)
            for (int p = 0; p < kLevels; p++) {
                cells.insert(cells.end(), {ls->pbw[oa][p], ls->rbw[oa][p]});
                for (const DoubleVec* vec : {&ls->bbw[oa][p], &ls->fbw[oa][p]})
                    for (Long f = 0; f < kNodes * kNodes; f++)
                        cells.push_back(f < vec->size ? vec->cont[f] + 0.0 : 0.0);
            }
        return cells;
    }

  private:
    int onTopology(LSPRequest* req) {
        ScopedTopo topo;
        const bool found = initTopo(&topo, -1) == 0 && fillTopo(net_, req, &topo) == 0 &&
                           bellmanKalaba(&topo, req) == 0 &&
                           updateRequest(&topo, req) == 0;
        return found ? 0 : -1;
    }

    Net net_;
    bool isPlain_;
};

class Roads : public KavrilTest, public testing::WithParamInterface<Amount> {
  protected:
    Long below(Long n) { return static_cast<Long>(random_() % static_cast<unsigned>(n)); }
    double amount() { return GetParam().draw(&random_); }

    // Does something in both networks, which has to come to the same.
    template <class Act>
    Outcome both(Act act) {
        const Outcome plain = act(&plain_);
        const Outcome fast = act(&fast_);
        EXPECT_TRUE(plain == fast)
            << testing::PrintToString(plain.texts) << testing::PrintToString(fast.texts);
        return fast;
    }

    void connect(Long src, Long dst) {
        const double odd[] = {0.0, std::nan(""), HUGE_VAL, -1.0};
        const double cap = below(12) == 0 ? odd[below(4)] : 15.0 + 2.0 * amount();
        const Long id = src * kNodes + dst;
        both([&](Road* road) { return road->link(src, dst, cap, id), Outcome{}; });
    }

    void configure() {
        PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
        config = {};
        config.Fortz = below(4) == 0 ? 0.0 : 1.0;
        if (below(3) == 0) config.loadBal[below(2)] = 0.5;
        if (below(3) == 0) config.relLoad[below(2)] = 0.3;
        if (below(4) == 0) config.delay[below(2)] = 2.0;
        kavrilConfig.predicateConfig.allowReroute = below(2) == 0;
    }

    void place() {
        configure();
        const double bw[2] = {amount(), below(3) == 0 ? amount() : 0.0};
        const Ids ends = {below(kNodes), -1, below(kNodes)};
        const Long level = below(kLevels);
        const Outcome found = both([&](Road* road) {
            Request req(ends, bw[0], level);
            req.bw[1] = bw[1];
            return road->path(&req);
        });
        if (found.ret < 0) return;
        Lsp lsp(nextId_, found.paths[0], bw[0], level);
        lsp.bw[1] = bw[1];
        setUp(lsp);
    }

    void setUp(const Lsp& lsp) {
        const Outcome added = both([&](Road* road) { return road->add(lsp); });
        if (added.ret == 0) up_.push_back(nextId_++);
        for (Long id : added.preempted) remove(id);
    }

    // Returns whether that has succeeded.
    bool protect(Long id, BackupType type) {
        configure();
        const DBLabelSwitchedPath* primary = DBgetLSP(fast_, id);
        const Outcome found = both([&](Road* road) { return road->backups(id, type); });
        if (found.ret < 0 || primary->type != DB_PRIMARY_LSP) return false;
        kavrilConfig.predicateConfig.allowReroute = false;
        const Ids primPath = values(primary->path);
        const Long level = std::min(primary->precedence + 1, kLevels - 1);
        const double bw[2] = {primary->bw[0], primary->bw[1]};
        for (const Ids& path : found.paths) {
            Lsp backup(nextId_, path, bw[0], level,
                       type == LOCAL_BACKUP ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP,
                       id, primPath);
            backup.bw[1] = bw[1];
            setUp(backup);
        }
        return true;
    }

    void remove(Long id) {
        if (std::erase(up_, id) == 0) return;
        both([&](Road* road) {
            const int ret = DBremoveLSP(*road, id);
            return Outcome{ret, {}, {}, errorTexts(), ""};
        });
    }

    void rewire() {
        const Long src = below(kNodes);
        const Long dst = below(kNodes);
        if (src == dst) return;
        if (below(6) == 0)
            both([&](Road* road) { return DBremoveNode(*road, src), Outcome{}; });
        else if (DBgetLinkID(fast_, src, dst) < 0)
            connect(src, dst);
        else
            both([&](Road* road) { return DBremoveLink(*road, src, dst), Outcome{}; });
        errorTexts();
    }

    void expectSameTables() {
        for (Long id = 0; id < fast_.operator DataBase*()->linkSrcVec.top; id++) {
            const Long src = DBgetLinkSrc(fast_, id);
            if (src < 0) continue;
            const Long dst = DBgetLinkDst(fast_, id);
            EXPECT_EQ(plain_.tables(src, dst), fast_.tables(src, dst))
                << src << "-" << dst;
        }
        errorTexts();
    }

    std::mt19937 random_;
    Road plain_{true};
    Road fast_{false};
    Ids up_;
    Long nextId_ = 0;
};

TEST_P(Roads, LeadToTheSamePathsListsMessagesAndTables) {
    random_.seed(7);
    for (Long src = 0; src < kNodes; src++)
        for (Long dst = 0; dst < kNodes; dst++)
            if (src != dst && (dst == (src + 1) % kNodes || below(3) == 0))
                connect(src, dst);
    int protectedOnes = 0;
    for (int step = 0; step < 800 && !HasFailure(); step++) {
        const Long action = up_.empty() ? 0 : below(40);
        const Long id = up_.empty() ? -1 : up_[random_() % up_.size()];
        if (action < 18)
            place();
        else if (action < 32)
            protectedOnes += protect(id, action < 25 ? LOCAL_BACKUP : GLOBAL_BACKUP);
        else if (action < 39)
            remove(id);
        else
            rewire();
        if (step % 50 == 49) expectSameTables();
    }
    EXPECT_LT(70, protectedOnes);
}

INSTANTIATE_TEST_SUITE_P(Amounts, Roads,
                         testing::Values(Amount{"Quarters", quarter},
                                         Amount{"SinglePrecision", single},
                                         Amount{"DoublePrecision", precise},
                                         Amount{"Uneven", uneven}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
