// Bandwidth of one link: booking, reservation and admission.
#pragma once

#include "twin/network.h"

namespace twin {

// Derives rbw from the other tables.
void computeRBW(const Database& db, LinkState& ls);

// Applies an LSP, or a request, to the state of a link.
bool updateLS(Database& db, Hop hop, LinkState& ls, const Lsp& lsp, int op);
bool evalLS(Database& db, Hop hop, LinkState& ls, const Request& req, int op);

bool capacityClause(const LinkState& ls, const Request& req, Row& gain);
bool isValidRequestLink(Database& db, Hop hop, const LinkState& ls, Request& req,
                        Row& gain);
bool isValidLSPLink(Database& db, Hop hop, const LinkState& ls, const Lsp& lsp,
                    Row& gain);

}  // namespace twin
