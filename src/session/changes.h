// What a caller may change in the loaded session (prefix SC): the functions of the
// database that do it, and a record for the session's journal if it has one.
#pragma once

#include "common/bytes.h"
#include "database/database_st.h"

// As DBaddNode, and so on, on centralDB.
int SCaddNode(Long id);
int SCaddLink(Long id, Long src, Long dst, DBLinkState* state);
int SCremoveLink(Long src, Long dst);
int SCremoveNode(Long id);
int SCaddLSP(DBLabelSwitchedPath* lsp, LongList* preemptList);
int SCremoveLSP(Long id);
int SCchangeLSP(DBLabelSwitchedPath* lsp, LongList* preemptList);
int SCsetLinkCapacity(Long src, Long dst, const double (&cap)[kClasses]);

// Records what the switches of the configuration are, if they are others.
struct Journal;
void recordSwitches(Journal* journal);

// Makes the recorded changes on centralDB; -1, with a message, if they are not ones that
// it admits.
int replay(ByteReader* records);
