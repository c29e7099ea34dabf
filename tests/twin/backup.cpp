#include "twin/backup.h"

#include <algorithm>
#include <deque>

namespace twin {

namespace {

constexpr const char* kHere = "computation/backup/backup.c";

struct DijkNode {
    const DijkNode* from = nullptr;
    Long id = 0;
    double val = -1.0;
    bool marked = false;
};

// A binary tree by key that nothing balances: its shape decides between equal keys, and
// between keys that are no numbers.
class Queue {
  public:
    void insert(DijkNode* node, double key) {
        Entry* father = nullptr;
        Entry** place = &root_;
        if (top_ != nullptr && top_->key >= key) {
            father = top_;
            place = &top_->leq;
        }
        while (*place != nullptr) {
            father = *place;
            place = father->key >= key ? &father->leq : &father->gt;
        }
        entries_.push_back({father, nullptr, nullptr, key, node});
        *place = &entries_.back();
        if (father == nullptr || (father == top_ && place == &father->leq)) top_ = *place;
    }

    DijkNode* pop() {
        Entry* t = top_;
        if (t == nullptr) return nullptr;
        Entry*& place = t == root_ ? root_ : t->father->leq;
        place = t->gt;
        if (t->gt != nullptr) t->gt->father = t->father;
        top_ = t->gt != nullptr ? t->gt : t->father;
        while (top_ != nullptr && top_->leq != nullptr) top_ = top_->leq;
        return t->node;
    }

  private:
    struct Entry {
        Entry *father, *leq, *gt;
        double key;
        DijkNode* node;
    };
    std::deque<Entry> entries_;
    Entry *root_ = nullptr, *top_ = nullptr;
};

Ids chain(const DijkNode* node) {
    Ids path;
    for (; node != nullptr; node = node->from) path.push_back(node->id);
    std::reverse(path.begin(), path.end());
    return path;
}

struct Computation {
    Database& db;
    const Lsp& lsp;
    int type;
    std::map<Long, LinkState> states = {};  // with the backups chosen so far

    Request request() const {
        Request req;
        req.primID = lsp.id;
        req.type = type;
        req.precedence = std::min(lsp.precedence + 1, 7);
        req.bw = lsp.bw;
        return req;
    }

    double cost(const DijkNode* from, Long dst) const {
        Request req = request();
        req.path = chain(from);
        req.path.push_back(dst);
        const LinkState& before = states.at(getLinkID(db, {from->id, dst}));
        LinkState after = before;
        if (!evalLS(db, {from->id, dst}, after, req, 0)) {
            push(WARNING, kHere, "Error while computing new link state");
            return -1.0;
        }
        double sumBefore = 0.0, sumAfter = 0.0;
        for (std::size_t k = 0; k < kClasses; k++)
            for (std::size_t p = 0; p < kLevels; p++) {
                sumBefore += before.rbw[k][p];
                sumAfter += after.rbw[k][p];
            }
        for (std::size_t k = 0; k < kClasses; k++)
            if (total(after.rbw[k]) > after.cap[k]) return -1.0;
        const double inc = sumAfter - sumBefore < 0.0 ? 0.0 : sumAfter - sumBefore;
        const auto size = static_cast<Long>(lsp.primPath.size());
        const Long k = indexOf(lsp.primPath, dst) < 0 ? size : indexOf(lsp.primPath, dst);
        return inc * (10.0 / 11.0) +
               (1.0 / 11.0) * static_cast<double>(size - k + 1) * total(lsp.bw);
    }

    // The path to the nearest of the goals; empty if there is none.
    Ids search(Long start, const Ids& goals, const Ids& forbidden) const {
        if (!db.nodes.contains(start)) return {};
        std::map<Long, DijkNode> nodes;
        for (const auto& [id, node] : db.nodes) nodes[id].id = id;
        Queue queue;
        nodes[start].val = 0.0;
        queue.insert(&nodes[start], 0.0);
        while (DijkNode* node = queue.pop()) {
            if (node->marked) continue;
            node->marked = true;
            if (contains(goals, node->id)) return chain(node);
            for (Long out : db.nodes.at(node->id).out) {
                DijkNode& w = nodes[out];
                if (w.marked || contains(forbidden, getLinkID(db, {node->id, out})))
                    continue;
                const double c = cost(node, out);
                if (c < 0.0) continue;
                const double val = node->val + c;
                if (w.val != -1.0 && !(val > 0.0 && w.val > val)) continue;
                w.val = val;
                w.from = node;
                queue.insert(&w, val);
            }
        }
        return {};
    }

    void apply(const Request& req, int op) {
        for (Hop hop : hopsOf(req.path))
            evalLS(db, hop, states.at(getLinkID(db, hop)), req, op);
    }

    void record(Request& req, const Ids& path) {
        apply(req, 1);
        req.path = path;
        apply(req, 0);
    }

    bool forbidInto(Long id, Ids& forbidden) const {
        const Node* node = getNode(db, id);
        if (node == nullptr)
            return fail(kHere, "The protected node must have some neighbour");
        for (Long src : node->in) forbidden.push_back(getLinkID(db, {src, id}));
        return true;
    }

    // Keeps the paths that the list has already.
    void resize(std::vector<Request>& requests, std::size_t size) const {
        requests.resize(size);
        for (Request& req : requests) {
            Ids path = std::move(req.path);
            req = request();
            req.path = std::move(path);
        }
    }

    bool local(std::vector<Request>& requests) {
        const Ids& n = lsp.path;
        resize(requests, n.empty() ? 0 : n.size() - 1);
        for (std::size_t j = requests.size(); j-- > 0;) {
            Ids forbidden;
            if (!forbidInto(n[j + 1], forbidden)) return false;
            const Ids goals(n.begin() + static_cast<long>(j) + 1, n.end());
            Ids path = search(n[j], goals, forbidden);
            if (path.empty())
                path = search(n[j], goals, {getLinkID(db, {n[j], n[j + 1]})});
            if (path.empty()) {
                now.err += "No local link disjoint protection path found\n";
                return false;
            }
            record(requests[j], path);
        }
        return true;
    }

    bool global(std::vector<Request>& requests) {
        const Ids& n = lsp.path;
        resize(requests, 1);
        Ids forbidden, own;
        for (std::size_t i = 1; i + 1 < n.size(); i++)
            if (!forbidInto(n[i], forbidden)) return false;
        for (Hop hop : hopsOf(n)) own.push_back(getLinkID(db, hop));
        if (!own.empty()) forbidden.push_back(own.back());
        Ids path;
        if (!n.empty()) path = search(n.front(), {n.back()}, forbidden);
        if (path.empty()) {
            now.out += format(
                "Switching from node to link protection for lsp number: %d\n", lsp.id);
            if (!n.empty()) path = search(n.front(), {n.back()}, own);
        }
        if (path.empty()) {
            now.out += "Oups ... no path found ...\n";
            now.err += "No end to end link disjoint protection path found\n";
            return false;
        }
        record(requests[0], path);
        return true;
    }
};

}  // namespace

bool computeBackup(Database& db, std::vector<Request>& requests, Long lspID, int type) {
    const Lsp* lsp = find(db.lsps, lspID);
    if (lsp == nullptr) return fail(kHere, format("Cannot find lsp ID %d", lspID));
    Computation computation = {db, *lsp, type};
    for (Long id = 0; id < db.linkTop(); id++) {
        const Hop* hop = find(db.hops, id);
        if (hop != nullptr)
            computation.states[id] = db.links.at(*hop).state;
        else
            push(INFO, kHere,
                 format("Warning there is no link numbered %d : src = -1, dst = -1 ....",
                        id));
    }
    if (type == 1) return computation.local(requests);
    if (type == 2) return computation.global(requests);
    if (type == 0)
        push(INFO, kHere, "Oups no backup were requested");
    else
        push(WARNING, kHere, "Unknown backup type");
    return true;
}

}  // namespace twin
