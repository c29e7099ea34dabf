// Which LSPs give way on a link, and what freeing bandwidth costs.
#pragma once

#include "computation/computation_st.h"
#include "database/database_st.h"

// Appends to idList, in the order of choice, the ids of LSPs of lspList that free what
// toGain asks for in the last class with a gain; other classes are not served. Only
// LSPs less important than `precedence` are taken: whole levels from the least
// important one on, counted at the level's reserved bandwidth, then within the last
// level those that fit best. An id can be appended twice, and more often where it is
// small against what is still to be freed.
//
// -1 when the LSPs run out, also where that takes the same ones thousands of times; what
// was appended stays.
int chooseReroutedLSPs(int precedence, DBLinkState* state, DBLSPList* lspList,
                       double* toGain, LongList* idList);

// Price of freeing gain[oa] on the link from the least important levels first, per unit
// of the request's bandwidth in that class (coefficients: scoreCoef of the session).
// +infinity, with a message, if the levels below the request do not hold enough.
double makeRerouteScore(LSPRequest* req, double* gain, DBLinkState* ls, int oa);
