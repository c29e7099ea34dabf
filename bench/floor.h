// The floor that the path searches are measured against: Boost.Graph's Dijkstra from one
// node to all others, over the links with enough free bandwidth, with the link scores of
// a request as weights.
#pragma once

#include <memory>
#include <vector>

#include "network.h"
#include "state.h"

class Floor {
  public:
    explicit Floor(const State& state);
    ~Floor();

    // Copies the loads of all links, as the constructor does.
    void copyLoads(const State& state);

    // Sets the weights and the bandwidth to ask for.
    void prepare(const Ask& ask);

    // What is timed.
    void search(Long src);

    // From the last source; infinite if there is no way.
    double distance(Long node) const { return distances_[node]; }

    bool isOpen(Long link) const { return room_[oa_][link] >= bw_; }

  private:
    struct Graph;

    std::unique_ptr<Graph> graph_;
    std::vector<double> capacities_;  // by link index, like the others
    std::vector<double> loads_[kUsedClasses];
    std::vector<double> room_[kUsedClasses];
    std::vector<double> weights_;
    std::vector<double> distances_;
    std::vector<Long> predecessors_;
    int oa_ = 0;
    double bw_ = 0.0;
};
