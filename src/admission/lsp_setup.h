// Setting LSPs up, removing them, and finding out whom they would preempt.
#pragma once

#include "database/database_st.h"

// Admits an LSP: tests every link it concerns, stores a copy under lsp->id and books
// its bandwidth. A backup concerns its primary's links besides its own. If
// noContentionId names a stored LSP, the two become partners.
//
// preemptList (ascending) gains the ids of the LSPs that must give way; none is removed
// here.
//
// On -1 the database is unchanged if a link is missing or refuses the LSP or the id is
// taken; preemptList keeps what was gathered. If a link fails after the copy is stored,
// the LSP stays and the other links are booked; DBremoveLSP takes it out.
int DBaddLSP(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList);

// Whether DBaddLSP would admit an LSP that has a free id: 0, preemptList the same, or -1
// with the same messages.
int DBtestLSP(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList);

// Takes an LSP off its links and destroys it, however many of them fail; its partner is
// on its own again. Backups of the LSP are the caller's to remove.
int DBremoveLSP(DataBase* dataBase, Long id);

// Puts an LSP in the place of the stored primary with its id, which keeps its bandwidth
// until the new one has its own: a link that both cross needs room for the larger one
// only. Whether there is room is asked at the level that the LSP has now, unless it stays
// on its path with no more bandwidth, which is never refused. Backups of the LSP are the
// caller's to replace. preemptList and the result are those of DBaddLSP; a backup and an
// LSP that has a partner are refused.
int DBchangeLSP(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList);

// Adds to preemptList what DBaddLSP would, for an LSP that is not stored. A link that
// refuses the LSP ends the walk, but the result is 0 all the same.
int getpreemptList(DataBase* dataBase, DBLabelSwitchedPath* lsp, LongList* preemptList);
