// Records of the network database.
//
// They are to be read: what changes them are the functions whose names begin with DB,
// which keep everything that is derived from them in step.
#pragma once

#include "common/common.h"
#include "database/lsp_type.h"

// A label switched path. Hop i is the link from path[i] to path[i + 1].
struct DBLabelSwitchedPath {
    Long id;               // also its index in the database
    Long noContentionId;   // LSP that it replaces or is replaced by, -1 for none; mutual
    int precedence;        // preemption level, 0 (most important) to 7
    double bw[kClasses];   // bandwidth per class
    LongList forbidLinks;  // link colours (not ids) to avoid
    LongList path;         // nodes from head to tail
    DBLSPType type;
    Long primID;          // of a backup: its primary
    LongList primPath;    // of a backup: the nodes of its primary
    LongList backLSPIDs;  // ids of its backups; carried along, not used here
};

// LSPs of a link, borrowed, in the order in which they are considered for preemption.
struct DBLSPList {
    Long size;
    Long top;
    DBLabelSwitchedPath** cont;
};

// Bandwidth of one directed link, in the caller's unit. Tables are [class][level], the
// level that of the LSPs; a vector has one element per failure f, the id of the failing
// link, and elements that do not exist count as 0.
struct DBLinkState {
    Long color;                        // administrative group
    double cap[kClasses];              // capacity
    double rbw[kClasses][kLevels];     // reserved: pbw plus the level's backup share
    double pbw[kClasses][kLevels];     // of the primaries that cross the link
    DoubleVec bbw[kClasses][kLevels];  // [f]: backup bandwidth carried here if f fails
    DoubleVec remoteBbw[kClasses][kLevels];  // carried along, not used here
    DoubleVec fbw[kClasses][kLevels];  // [f]: primary bandwidth freed here if f fails
    DoubleVec remoteFbw[kClasses][kLevels];  // carried along, not used here
};

struct DBNode {
    Long id;
    LongList inNeighb;   // nodes with a link to this one, ascending
    LongList outNeighb;  // nodes that this one has a link to, ascending
};

struct Ledger;
struct Live;

// The vectors bbw and fbw of a stored link's state are to be read through DBgetLinkState
// (database.h): the library keeps what they hold in the ledger until somebody asks.
struct DBLink {
    Long id;
    DBLinkState state;
    DBLSPList lspList;
    Ledger* ledger;  // of a stored link: its failure tables, without the zeros
};

// Nodes by id, owned; null marks a free id.
struct DBNodeVec {
    Long size;
    Long top;  // highest id in use, plus one
    DBNode** cont;
};

// LSPs by id, owned; null marks a free id.
struct DBLSPVec {
    Long size;
    DBLabelSwitchedPath** cont;
};

// Links by [source node][destination node], owned; size rows of size columns.
struct DBLinkTab {
    Long size;
    DBLink*** cont;
};

struct DataBase {
    Long id;
    Long nbNodes;  // nodes ever added; removing one does not lower it
    Long nbLinks;  // links, less one for every node removed
    DBNodeVec nodeVec;
    DBLSPVec lspVec;
    DBLinkTab linkTab;
    LongVec
        linkSrcVec;  // source node + 1 by link id, 0 for a free id; top: highest id + 1
    LongVec linkDstVec;  // destination node + 1 by link id
    Live* live;          // what is derived from all this
};
