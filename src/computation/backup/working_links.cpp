#include "computation/backup/working_links.h"

#include <algorithm>

#include "computation/backup/backup.h"
#include "computation/backup/backup_request.h"
#include "database/database.h"
#include "database/workspace.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/backup/backup.c"

// What a booked backup changes of a packed link.
struct WorkingLinks::Copy {
    LinkBook book;
    double rbw[kClasses][kLevels];
};

WorkingLinks::~WorkingLinks() {
    for (Long i = 0; i < copied_.top; i++) {
        Copy** copy = &copies_[copied_.cont[i]];
        endBook(&(*copy)->book);
        myfree(*copy);
        *copy = nullptr;  // the array is used again
    }
    for (Long id = 0; lsList_ != nullptr && id < topology_->linkSlots; id++)
        if (lsList_[id] != nullptr && DBlinkStateDestroy(lsList_[id]) < 0)
            PUSH_ERROR(CRITICAL, "Something went wrong while clearing a structure");
    myfree(lsList_);
}

int WorkingLinks::init() {
    copies_ = scratchArray<Copy*>(&workspaceOf(dataBase_)->scratches[BACKUP_LINKS],
                                  topology_->linkSlots);
    if (copies_ == nullptr || longVecInit(&copied_, -1) < 0 || DBlspInit(&trial_) < 0)
        return -1;
    LSPRequest request = {};
    fillBackupRequest(&request, primary_, type_);
    trial_.precedence = request.precedence;
    trial_.type = request.type;
    trial_.primID = request.primID;
    std::copy_n(request.bw, kClasses, trial_.bw);
    return longVecCopy(&trial_.primPath, &primary_->path);
}

int WorkingLinks::setTail(const CPDijkNode* node) {
    trial_.path.top = 0;
    if (pushChain(&trial_.path, node) < 0) return -1;
    return longVecPushBack(&trial_.path, node->node->id);  // room for the head
}

double WorkingLinks::cost(const TopoLink& link, CPDijkNode* tail) {
    if (packedBook(link.link) == nullptr) {
        if (plainState(link) == nullptr) return -1.0;
        return computeCost(dataBase_, lsList_, link.tail, link.head, tail, primary_,
                           type_);
    }
    trial_.path.cont[trial_.path.top - 1] = link.head;
    const LinkImage working = image(link);
    double rbw[kClasses][kLevels];
    if (trialSetup(dataBase_, working, link.tail, link.head, &trial_, rbw) < 0) {
        PUSH_ERROR(WARNING, "Error while computing new link state");
        return -1.0;
    }
    return costOfReservation(working.rbw, rbw, working.cap, primary_, link.head);
}

void WorkingLinks::book(LSPRequest* req, operation op) {
    if (longVecCopy(&trial_.path, &req->path) < 0) return;
    for (Long i = 0; i < req->path.top - 1; i++) {
        const Long src = req->path.cont[i];
        const Long dst = req->path.cont[i + 1];
        const Long id = DBgetLinkID(dataBase_, src, dst);
        if (id < 0) continue;
        const TopoLink& link = topology_->byId[id];
        if (packedBook(link.link) == nullptr) {
            DBLinkState* ls = plainState(link);
            if (ls != nullptr) evalLS(dataBase_, src, dst, ls, ls, req, op);
        } else if (copyOf(link) != nullptr) {
            updateImage(dataBase_, image(link), src, dst, &trial_, op);
        }
    }
}

LinkImage WorkingLinks::image(const TopoLink& link) {
    LinkImage image = imageOf(topology_, link.link);
    if (Copy* copy = copies_[link.id]; copy != nullptr) {
        image.position = -1;
        image.book = &copy->book;
        image.rbw = copy->rbw;
    }
    return image;
}

WorkingLinks::Copy* WorkingLinks::copyOf(const TopoLink& link) {
    Copy** slot = &copies_[link.id];
    if (*slot != nullptr) return *slot;
    auto* copy = static_cast<Copy*>(mycalloc(1, sizeof(Copy)));
    if (copy == nullptr)
        return FAIL_WITH(nullptr, "Cannot duplicate all the link-states");
    const DBLinkState* state = &link.link->state;
    std::copy_n(&state->rbw[0][0], kClasses * kLevels, &copy->rbw[0][0]);
    if (copyBook(&copy->book, link.link->book) < 0 ||
        longVecPushBack(&copied_, link.id) < 0) {
        endBook(&copy->book);
        myfree(copy);
        return FAIL_WITH(nullptr, "Something went wrong while copying");
    }
    *slot = copy;
    return copy;
}

DBLinkState* WorkingLinks::plainState(const TopoLink& link) {
    if (lsList_ == nullptr)
        lsList_ = static_cast<DBLinkState**>(mycalloc(
            static_cast<std::size_t>(topology_->linkSlots), sizeof(DBLinkState*)));
    if (lsList_ == nullptr)
        return FAIL_WITH(nullptr, "Cannot allocate a required structure");
    DBLinkState** slot = &lsList_[link.id];
    if (*slot != nullptr) return *slot;
    DBLinkState* copy = DBlinkStateNew();
    if (copy == nullptr)
        return FAIL_WITH(nullptr, "Cannot duplicate all the link-states");
    if (DBlinkStateCopy(copy, &link.link->state) < 0) {
        DBlinkStateDestroy(copy);
        return FAIL_WITH(nullptr, "Something went wrong while copying");
    }
    return *slot = copy;
}
