// Updates and trials of stored links, packed where that is possible.
//
// Private to the library; results are those of updateLS and evalLS, to the last bit.
#pragma once

#include "database/database_st.h"
#include "database/link_book.h"
#include "database/link_update.h"
#include "database/topology.h"

// Applies the LSP to a stored link, as updateLS does to the link's state.
int updateLink(DataBase* dataBase, DBLink* link, Long src, Long dst,
               DBLabelSwitchedPath* lsp, operation op);

// The tables of a packed link, or of a working copy of one.
struct LinkImage {
    const DBTopology* topology;
    Long position;  // of the link among the out-links; -1 for a copy
    LinkBook* book;
    const double* cap;
    double (*pbw)[kLevels];
    double (*rbw)[kLevels];
};

inline LinkImage imageOf(const DBTopology* topology, DBLink* link) {
    DBLinkState* state = &link->state;
    const Long position = topology->consistent ? topology->outById[link->id] : -1;
    return {topology, position, link->book, state->cap, state->pbw, state->rbw};
}

// Applies the LSP to the image.
int updateImage(DataBase* dataBase, const LinkImage& image, Long src, Long dst,
                DBLabelSwitchedPath* lsp, operation op);

// rbw as it would be with the LSP set up on the image, which does not change. -1, with
// messages, where evalLS would fail.
int trialSetup(DataBase* dataBase, const LinkImage& image, Long src, Long dst,
               DBLabelSwitchedPath* lsp, double (&rbw)[kClasses][kLevels]);

// The state of a stored link with all its tables, for code that reads them; null, with
// messages, if there is no link or no memory for them.
DBLinkState* fullState(DataBase* dataBase, Long src, Long dst);
