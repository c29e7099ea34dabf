// Requests for primary paths within limits, in the numbers that callers in other
// languages send and get.
//
//     RequestCall call;
//     call.run(&numbers);
//     if (call.listAnswer(&answer) == 0 && the caller has it)
//         call.removePreempted();
//     else
//         call.takeBack();     nobody would learn of the LSPs
#pragma once

#include "common/setup.h"
#include "computation/computation.h"
#include "computation/primary/limited_path.h"
#include "database/database.h"

// LSP ids that these callers may use.
constexpr Long kMaxLspId = (1 << 24) - 1;

// One request: what it asks for, the LSP that it becomes, the LSPs that give way to it.
class RequestCall {
  public:
    // First number of an answer; the callers have the same.
    enum Outcome : Long {
        PLACED,   // then: id, number of nodes, path, LSPs that gave way
        NO_NODE,  // then: the node
        NO_ROOM,  // as in LimitedPath
        NO_WAY,
        NOT_BOTH,
        GIVEN_UP,
        REFUSED,  // messages say why
        ID_IN_USE,
        NO_ID  // left
    };

    // Looks for a path and sets the LSP up if it is to be. The numbers: the LSP's id or
    // -1 for one that is free, its level, its class, the bits of its bandwidth, 1 to
    // place it, 1 to let others give way, the most links it may have or 0; and, each list
    // with its length first, the nodes that it passes with -1 where others may lie
    // between them, colours that it avoids, those of which its links have one each, nodes
    // that it does not pass, source and destination of the links that it does not take.
    void run(const LongList* numbers);

    int listAnswer(LongList* to) const;

    // Removes the LSPs that give way, of whom the caller has taken note; or takes the LSP
    // back, because the caller cannot.
    void removePreempted();
    void takeBack();

  private:
    int read(const LongList* numbers);
    Outcome find();
    Outcome compute();
    bool hasRoute() const;
    int fillLSP();
    int place(bool isKnown);

    Outcome outcome_ = REFUSED;
    ScopedRequest request_;
    ScopedLimits limits_;
    ScopedLSP lsp_;
    ScopedLongList preempted_;
    bool add_ = false;
    bool preempt_ = false;
};
