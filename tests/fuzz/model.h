// A plain model of one session: nodes, links and LSPs, and nothing else.
//
// Every bandwidth table is recomputed from them whenever it is asked for. Amounts are
// multiples of a power of two, so sums are exact in any order. Two things depend on what
// has been, and are kept: the reservation of a link is as old as the last LSP booked on
// it, and an LSP that lost a link under it is frozen, as it stood booked before. When
// such an LSP goes, its links are left with remains that cannot be told from the lists:
// their tables are unknown from then on.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "common/types.h"
#include "database/lsp_type.h"

using Ids = std::vector<Long>;
using Hop = std::pair<Long, Long>;
using Row = std::array<double, kLevels>;
using Matrix = std::array<Row, kClasses>;

// Bandwidth of one link; bbw and fbw by failing link.
struct Tables {
    Matrix pbw = {};
    std::map<Long, Matrix> bbw, fbw;
};

struct ModelLsp {
    Long id = 0;
    int level = 0;
    std::array<double, kClasses> bw = {};
    DBLSPType type = DB_PRIMARY_LSP;
    Long primID = -1;
    Ids path, primPath;
    Long partner = -1;
    long age = 0;  // how many LSPs were set up before
    std::optional<std::map<Hop, Tables>> frozen;

    bool isBackup() const { return type == 1 || type == 2; }
};

struct ModelLink {
    Long id = 0;
    Row capacity = {};
    Matrix rbw = {};
    bool known = true;
};

// Whether a table can be had that has the id.
constexpr bool fitsTable(Long id) {
    return id >= 0 && id < (1 << 28) - 1;
}

enum class Verdict { YES, NO, UNKNOWN };

class Model {
  public:
    std::set<Long> nodes;
    std::map<Hop, ModelLink> links;
    std::map<Long, ModelLsp> lsps;
    bool capacityClause = true;
    bool allowReroute = false;

    // The operations, as they are once they have succeeded.
    void addNode(Long id);
    void addLink(Hop hop, const ModelLink& link);
    void removeLink(Hop hop);
    void removeNode(Long id);
    void addLsp(ModelLsp lsp);
    void removeLsp(Long id);
    // Says that the LSP may not be booked on its links as it should.
    void forget(const ModelLsp& lsp);

    // Whether an operation has to succeed.
    bool canAddLink(Hop hop, Long id) const;
    Verdict canAddLsp(const ModelLsp& lsp, Ids* victims) const;
    // The same for the list alone, which a refusal cuts short but does not fail.
    Verdict canListVictims(const ModelLsp& lsp, Ids* victims) const;
    Verdict canRemoveLsp(Long id) const;

    // Whether a link may carry the LSP, and the bandwidth that has to be gained.
    Verdict admits(const ModelLsp& lsp, Hop hop, Row* gain) const;

    // The nodes that links lead to, from src on, of those for which admits(hop) holds.
    template <class Admits>
    std::set<Long> reachable(Long src, Admits admits) const {
        std::set<Long> reached = {src};
        Ids active = {src};
        for (std::size_t i = 0; i < active.size(); i++)
            for (const auto& [hop, link] : links)
                if (hop.first == active[i] && !reached.contains(hop.second) &&
                    admits(hop)) {
                    reached.insert(hop.second);
                    active.push_back(hop.second);
                }
        return reached;
    }

    // The tables of a link, recomputed.
    Tables tables(Hop hop) const;
    Matrix reserved(const Tables& tables) const;

    // The ids of a link's LSPs, in the order of its list.
    Ids crossing(Hop hop) const;
    Ids hopIds(const Ids& path) const;  // -1 where there is no link
    bool hasAllLinks(const Ids& path) const;
    Long nbLinks() const { return static_cast<Long>(links.size()) - nodesRemoved_; }
    Long nbNodes() const { return nodesAdded_; }

  private:
    // Links that a setup or removal updates, as often as it does.
    std::vector<Hop> updates(const ModelLsp& lsp) const;
    // What one update books; false if the library would give up.
    bool book(const ModelLsp& lsp, Hop hop, Tables* to) const;
    const ModelLsp* partnerOf(const ModelLsp& lsp) const;
    void setPartner(ModelLsp* lsp, Long partner);
    void freeze(ModelLsp* lsp) const;
    void reserve(const ModelLsp& lsp);
    Verdict ask(const ModelLsp& lsp, Ids* victims, bool* refused) const;
    bool choose(const ModelLsp& lsp, Hop hop, const Row& gain, Ids* chosen) const;

    Long nodesAdded_ = 0;
    Long nodesRemoved_ = 0;
    long setups_ = 0;
};
