// The library at work on one network: requests, protection, removal, tables.
//
// A thin layer over the library's C++ interface. It owns the database and the globals of
// its thread, so each thread has one engine at a time; engines of several threads work
// side by side if their plans have as many classes. It keeps a record of every LSP that
// it has put up, and removes the backups of an LSP along with it, which the library
// leaves to its callers.
//
//     Engine engine(plan);  // its network and configuration; LSPs by load()
//     const Answer answer = engine.request({.src = 0, .dst = 3, .bandwidth = 10.0});
//     if (answer.placed) engine.protect(answer.lsp, Protection::LOCAL);
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/memory.h"
#include "computation/computation_st.h"
#include "engine/survival.h"
#include "plan.h"

namespace workbench {

// What a demand asks of its path: colours to avoid, a bit mask, and limits, 0 for none.
struct PathLimits {
    int avoid = 0;
    double maxDelay = 0.0;
    int maxHops = 0;
    bool any() const { return avoid != 0 || maxDelay > 0.0 || maxHops > 0; }
};

struct Request {
    int demand = -1;
    int src = 0;
    int dst = 0;
    int trafficClass = 0;
    int level = 0;
    double bandwidth = 0.0;
    bool preempt = false;
    std::vector<int> avoidColours = {};  // of links
    double maxDelay = 0.0;               // of the path, 0 for any
    int maxHops = 0;
    std::vector<int> route = {};  // nodes that it must take; empty: any
    int id = -1;                  // of the LSP to be; -1: a new one
    int replaces = -1;  // for findPath: LSP with which it does not contend for bandwidth
};

struct Answer {
    bool placed = false;
    int lsp = -1;
    std::vector<int> path;
    double score = 0.0;            // as that of a Path
    std::vector<PlanLsp> removed;  // preempted, with the backups of preempted primaries
    std::string reason;            // why it was not placed
};

// A link that must not be used; none while src is -1.
struct AvoidedLink {
    int src = -1;
    int dst = -1;
};

struct Path {
    bool found = false;
    std::vector<int> nodes;
    // Summed up by the library in a variable of the process: of no use while engines of
    // other threads search.
    double score = 0.0;
    std::string reason{};  // why there is none, where a limit is to blame
};

class Engine {
  public:
    // The plan must outlive the engine; its LSPs are not put up.
    explicit Engine(const Plan& plan);
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Puts LSPs up as they stand in a plan, without asking for room.
    void load(const std::vector<PlanLsp>& lsps);

    // An LSP and its backups, to be loaded again.
    std::vector<PlanLsp> withBackups(int primary) const;

    // The best path of a request; nothing changes. If that breaks a limit, the shortest
    // path with room that keeps it.
    Path findPath(const Request& request, AvoidedLink avoided = {});

    // Finds a path, puts the LSP up and removes those that it preempts.
    Answer request(const Request& request);

    // Puts up the backups of a primary: those that the library chooses, or others where
    // these overload a link or are lost in one of the failures that the plan is to
    // survive. Empty, or why there is none; then nothing has changed. The library knows
    // no limits of backups: where its own break one, others that do not are looked for,
    // and taken if they are as good otherwise.
    std::string protect(int primary, Protection protection,
                        const PathLimits& limits = {});

    // What the backups of a primary break: "colours"; "delay" and "hops" of the whole way
    // that the traffic takes when one of its links fails.
    std::vector<std::string> beyond(int primary, const PathLimits& limits) const;

    // Takes the backups of a primary down.
    void unprotect(int primary);

    // Failures that the plan is to survive and that take the LSP down, by name.
    std::vector<std::string> exposed(int primary) const;

    // Removes an LSP and its backups.
    void remove(int lsp);

    const std::map<int, PlanLsp>& lsps() const { return lsps_; }
    std::vector<int> backupsOf(int primary) const;

    // Colours of links that have one of these bits: the library compares colours whole.
    std::vector<int> coloursWith(int bits) const;

    // Number of the link between two nodes, -1 if there is none.
    int linkBetween(int src, int dst) const;

    // What every link books. Expands the compact states of the library: for the end.
    std::vector<LinkTables> tables() const;

    // The library's messages since the last call, newest first, without their sources.
    std::vector<std::string> takeErrors();

    const Survival& survival() const { return survival_; }
    const Network& network() const { return network_; }
    const Configuration& configuration() const { return configuration_; }

    // Capacity of a class on a link.
    double capacity(int link, int trafficClass) const;

    // Switches preemption on or off for what is asked of the library directly.
    static void allowPreemption(bool allow);

    // Fills an initialised request for the library, its path still to be computed.
    void fill(LSPRequest* libraryRequest, const Request& request) const;

  private:
    // The library's state in this thread, with memory of its own.
    class Library {
      public:
        explicit Library(const Configuration& configuration);
        ~Library();
        Library(const Library&) = delete;
        Library& operator=(const Library&) = delete;

      private:
        MemoryPool* pool_;
        MemoryPool* before_;
    };

    void addNetwork();
    std::string put(const PlanLsp& lsp, std::vector<int>* preempted);
    void noteSurvival(int primary);
    std::string overload(int primary) const;
    Answer requestOn(const Request& request, const Path& path);
    // Of backups that the library does not choose.
    struct DetourWish {
        std::vector<int> unwanted = {};  // links
        bool byDelay = false;
    };
    std::string protectByLibrary(int primary, Protection protection);
    std::string protectAgainstAll(int primary, Protection protection);
    std::string protectByDetours(int primary, Protection protection,
                                 const DetourWish& wish);
    std::string putDetour(int primary, Protection protection, int hop, DetourWish wish);
    void keepLimits(int primary, Protection protection, const PathLimits& limits);
    std::vector<PlanLsp> takeBackups(int primary);
    void drop(int lsp);
    PlanLsp backupOf(const PlanLsp& primary, bool local, int hop,
                     const std::vector<int>& path) const;
    std::string refusal(const Request& request) const;
    std::string brokenLimit(const Request& request, const std::vector<int>& path) const;
    Path pathWithinLimits(const Request& request, const std::string& broken) const;
    std::string unprotectable(const PlanLsp& primary, const LSPRequestList& found) const;
    bool reachable(int src, int dst, int withoutLink) const;

    const Plan& plan_;
    const Network& network_;
    const Configuration& configuration_;
    Survival survival_;
    Library library_;
    std::unordered_map<long long, int> linkOf_;  // by src * nodes + dst
    std::map<int, PlanLsp> lsps_;
    std::multimap<int, int> backups_;  // primary, backup
    int nextId_ = 0;
};

}  // namespace workbench
