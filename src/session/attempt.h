// Attempts: changes of a session that are kept together, or all taken back.
//
//     beginAttempt();      a copy of the loaded session is kept
//     ...                  any number of changes
//     endAttempt(false);   the session is what it was, but for messages
//
// An attempt may go over several calls; while it lasts the journal is not to be
// committed. One that has not ended when the session is killed is taken back.
#pragma once

// Begins one on the loaded session. -1, with a message, if there is no memory.
int beginAttempt();

// Ends the innermost one of the loaded session, if there is one. What is taken back, the
// session's journal forgets.
void endAttempt(bool keeps);

// Takes back all that have not ended.
void endAttempts();
