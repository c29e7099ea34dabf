// Judging stored links for an LSP, without a copy of their states.
//
// Private to the library; verdicts, gains and messages are those of isValidLSPLink.
#pragma once

#include "database/booking.h"

class LinkTrial {
  public:
    LinkTrial(DataBase* dataBase, DBLabelSwitchedPath* lsp)
        : dataBase_(dataBase), lsp_(lsp) {}

    // Prepares for the LSP as it is now. -1, with a message, if there is no memory.
    int init();

    // Whether the stored link from src to dst may carry the LSP; writes the gain.
    bool admits(DBLink* link, Long src, Long dst, double* gain);

  private:
    DataBase* dataBase_;
    DBLabelSwitchedPath* lsp_;
    // An LSP that a trial fails for, as a backup without a primary, is judged on a copy
    // of the state, which says what is wrong.
    bool isSound_ = false;
    Booker booker_;
};
