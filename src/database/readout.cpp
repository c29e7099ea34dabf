#include "database/readout.h"

#include "common/setup.h"
#include "database/booking.h"
#include "database/database.h"
#include "database/live/ledger.h"

namespace {

// The class with bandwidth, 0 if there is none; -1 if there are several.
Long classOf(const DBLabelSwitchedPath* lsp) {
    Long oa = 0;
    Long nb = 0;
    for (Long i = 0; i < kClasses; i++) {
        if (lsp->bw[i] == 0.0) continue;
        oa = i;
        nb++;
    }
    return nb <= 1 ? oa : -1;
}

void writeNodes(ByteWriter* out, const LongList& path) {
    out->number(path.top);
    out->numbers(path.cont, path.top);
}

// A bit for each amount that is not 0, and these.
void writeRow(ByteWriter* out, const double (&row)[8]) {
    Long present = 0;
    for (int i = 0; i < 8; i++) present |= row[i] != 0.0 ? 1 << i : 0;
    out->number(present);
    for (double amount : row)
        if (amount != 0.0) out->amount(amount);
}

}  // namespace

void readOutLsp(ByteWriter* out, const DBLabelSwitchedPath* lsp) {
    const Long oa = classOf(lsp);
    out->number(lsp->id);
    out->number(lsp->type);
    out->number(lsp->precedence);
    out->number(oa);
    out->amount(lsp->bw[oa < 0 ? 0 : oa]);
    writeNodes(out, lsp->path);
    if (!isBackup(lsp->type)) return;
    out->number(lsp->primID);
    writeNodes(out, lsp->primPath);
}

void readOutLink(ByteWriter* out, const DBLink* link) {
    const DBLinkState& state = link->state;
    out->number(link->id);
    out->number(link->ledger->tail);
    out->number(link->ledger->head);
    out->number(state.color);
    writeRow(out, state.cap);
    for (const auto& levels : state.pbw) writeRow(out, levels);
    for (const auto& levels : state.rbw) writeRow(out, levels);
}

void readOutAll(ByteWriter* out, const DataBase* dataBase) {
    for (Long id = 0; id < dataBase->nodeVec.top; id++) {
        if (dataBase->nodeVec.cont[id] == nullptr) continue;
        out->number(1);
        out->number(id);
    }
    out->number(0);
    for (Long id = 0; id < dataBase->linkSrcVec.top; id++) {
        const DBLink* link =
            findLink(&dataBase->linkTab, endOf(&dataBase->linkSrcVec, id),
                     endOf(&dataBase->linkDstVec, id));
        if (link == nullptr) continue;
        out->number(1);
        readOutLink(out, link);
    }
    out->number(0);
    for (Long id = 0; id < dataBase->lspVec.size; id++) {
        if (dataBase->lspVec.cont[id] == nullptr) continue;
        out->number(1);
        readOutLsp(out, dataBase->lspVec.cont[id]);
    }
    out->number(0);
}

bool readOutLspsOn(ByteWriter* out, const DataBase* dataBase, Long src, Long dst) {
    const DBLink* link = findLink(&dataBase->linkTab, src, dst);
    if (link == nullptr) return false;
    const DBLSPList& lsps = link->lspList;
    ScopedLongList ids;
    if (longVecInit(&ids, lsps.top) < 0) out->refuse(kNoMemory);
    for (Long i = 0; i < lsps.top && out->isFine(); i++)
        ids.cont[ids.top++] = lsps.cont[i]->id;
    if (!out->isFine()) return true;
    longListSort(&ids);
    for (Long i = 0; i < ids.top; i++) {
        if (i > 0 && ids.cont[i] == ids.cont[i - 1]) continue;
        out->number(1);
        readOutLsp(out, findLSP(&dataBase->lspVec, ids.cont[i]));
    }
    out->number(0);
    return true;
}
