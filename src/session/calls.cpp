#include "session/calls.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "admission/lsp_setup.h"
#include "common/print.h"
#include "common/setup.h"
#include "computation/backup/backup.h"
#include "computation/primary/primaryPath.h"
#include "error/error.h"
#include "session/changes.h"
#include "session/session.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

// The accented letters of the two French texts are single bytes of ISO-8859-1.
void printFailedBackup(Long primID, const DBLabelSwitchedPath* backup) {
    say(stderr,
        "Backup global non ajout\xe9 pour primaire %d, "
        "valeur de la bande passante: %f: \n",
        primID, backup->bw[0]);
    for (Long k = 0; k < backup->path.top - 1; k++) {
        const Long src = backup->path.cont[k];
        const Long dst = backup->path.cont[k + 1];
        const DBLink* link = findLink(&centralDB->linkTab, src, dst);
        if (link == nullptr) continue;
        const DBLinkState* ls = &link->state;
        say(stderr,
            "Valeur de la capacit\xe9 du lien %d - %d: %f, "
            "Valeur de la bande passante r\xe9serv\xe9"
            "e P0: %f, PetB0: %f\n",
            src, dst, ls->cap[0], ls->pbw[0][0], ls->rbw[0][0]);
    }
    say(stderr, " \n");
}

}  // namespace

void setWeights(PrimaryComputationConfig* config, const Weights& weights) {
    double* const to[] = {config->loadBal, config->load,      config->sqLoad,
                          config->relLoad, config->sqRelLoad, config->delay};
    for (std::size_t i = 0; i < std::size(to); i++)
        *to[i] = static_cast<double>(weights[i]);
    config->Fortz = static_cast<double>(weights[6]);
}

int openEmpty(const KAVRILConfig& config) {
    centralDB = DBnew(0);
    if (centralDB == nullptr) return FAIL_WITH(-1, "Impossible to init a DataBase");
    kavrilConfig = config;
    return openSession();
}

Long usable(Long nb) {
    return std::clamp<Long>(nb, 0, kClasses);
}

Long nbClasses() {
    return sessionUse.hasAllNumbers ? kClasses : usable(NBOA);
}

Long nbLevels() {
    return sessionUse.hasAllNumbers ? kLevels : usable(NBPL);
}

int checkLevel(Long level) {
    return level >= 0 && level < kLevels
               ? 0
               : FAIL_WITH(-1, "Bad argument (preemption level)");
}

int checkBandwidth(float bw) {
    return std::isfinite(bw) ? 0 : FAIL_WITH(-1, "Bad argument (bandwidth)");
}

void setBandwidth(double (&bw)[kClasses], Long oa, float bandwidth) {
    for (Long i = 0; i < nbClasses(); i++)
        bw[i] = i == oa ? static_cast<double>(bandwidth) : 0.0;
}

int PlaceCall::begin() {
    kavrilConfig.predicateConfig.allowReroute = false;
    if (checkLevel(args_.level) < 0 || checkBandwidth(args_.bw) < 0 ||
        DBlspInit(&lsp_) < 0)
        return -1;
    lsp_.id = args_.id;
    lsp_.precedence = args_.level;
    setBandwidth(lsp_.bw, args_.oa, args_.bw);
    return 0;
}

int PlaceCall::add() {
    ScopedLongList preempted;
    if (longVecInit(&preempted, -1) < 0) return -1;
    return SCaddLSP(&lsp_, &preempted);
}

Refusal PlaceCall::refuse(const char* message) {
    PUSH_ERROR(CRITICAL, "%s", message);
    addError(CRITICAL, "Lsp ID: %d, Request: %f\n", args_.id,
             static_cast<double>(args_.bw));
    return Refusal::ADD;
}

Refusal PlaceCall::setUpPrimary(bool isRead) {
    return isRead && add() == 0
               ? Refusal::NONE
               : refuse("Impossible to add PRIMARY LSP (computed by another algorithm)");
}

Refusal PlaceCall::setUpBackup(bool isRead, Long primID, DBLSPType type) {
    const char* const failure =
        "Impossible to add BACKUP LSP (computed by another algorithm)";
    if (!isRead) return refuse(failure);
    lsp_.type = type;
    lsp_.primID = primID;
    DBLabelSwitchedPath* primary = DBgetLSP(centralDB, primID);
    if (primary == nullptr) return refuse("Impossible to find PRIMARY LSP");
    return longVecCopy(&lsp_.primPath, &primary->path) == 0 && add() == 0
               ? Refusal::NONE
               : refuse(failure);
}

Refusal PrimaryCall::refuse() {
    return FAIL_WITH(Refusal::NO_ROUTE, "Impossible to compute Path");
}

Refusal PrimaryCall::compute(const Arguments& args, bool preempt) {
    kavrilConfig.predicateConfig.allowReroute = preempt;
    if (checkLevel(args.level) < 0 || checkBandwidth(args.bw) < 0 ||
        lspRequestInit(&request_) < 0)
        return refuse();
    request_.id = args.id;
    request_.precedence = args.level;
    setBandwidth(request_.bw, args.oa, args.bw);
    for (Long node : {args.src, -1, args.dst})  // -1 for the part to be computed
        if (longVecPushBack(&request_.path, node) < 0) return refuse();
    return computePrimaryPath(centralDB, &request_) < 0 ? refuse() : Refusal::NONE;
}

int PrimaryCall::fillLSP() {
    if (DBlspInit(&lsp_) < 0) return -1;
    lsp_.id = request_.id;
    lsp_.precedence = request_.precedence;
    for (Long oa = 0; oa < nbClasses(); oa++) lsp_.bw[oa] = request_.bw[oa];
    return longVecCopy(&lsp_.path, &request_.path);
}

Refusal PrimaryCall::place(bool add, bool preempt) {
    if (longVecInit(&preempted_, -1) < 0 || fillLSP() < 0)
        return FAIL_WITH(Refusal::ADD, "Impossible to add PRIMARY LSP");
    if (add && SCaddLSP(&lsp_, &preempted_) < 0)
        return FAIL_WITH(Refusal::ADD, "Impossible to add PRIMARY LSP");
    added_ = add;
    if (!add && preempt && getpreemptList(centralDB, &lsp_, &preempted_) < 0) {
        PUSH_ERROR(CRITICAL, "Impossible to obtain preemptList");
        printErrorStack();
        return Refusal::ROUTING;
    }
    return Refusal::NONE;
}

Refusal PrimaryCall::removePreempted() {
    for (Long i = 0; i < preempted_.top; i++)
        if (SCremoveLSP(preempted_.cont[i]) < 0)
            return FAIL_WITH(Refusal::ADD, "Impossible to remove LSP");
    return Refusal::NONE;
}

void PrimaryCall::takeBack() {
    if (added_) SCremoveLSP(lsp_.id);
}

Refusal BackupCall::compute(Long nbIds) {
    if ((nbIds < 0 && FAIL_WITH(true, "Bad argument (NULL)")) ||
        lspRequestListInit(&requests_, -1) < 0 ||
        computeBackup(centralDB, &requests_, args_.primID,
                      isGlobal() ? GLOBAL_BACKUP : LOCAL_BACKUP) < 0)
        return FAIL_WITH(Refusal::NO_ROUTE, "Impossible to compute %s backup paths",
                         isGlobal() ? "global" : "local");
    // Without enough ids nothing is placed, rather than some backups.
    if ((args_.add || args_.preempt) && nbIds < requests_.size) {
        PUSH_ERROR(CRITICAL, "Bad argument (NULL)");
        return FAIL_WITH(Refusal::ADD, "Impossible to add BACKUP LSP");
    }
    return Refusal::NONE;
}

// What all backups share.
int BackupCall::initRecord() {
    DBLabelSwitchedPath* primary = DBgetLSP(centralDB, args_.primID);
    if (primary == nullptr)
        return FAIL_WITH(-1, "Not able to find primary LSP (id = %d)", args_.primID);
    LongList* primPath = &primary->path;
    if (DBlspInit(&record_) < 0 || longVecCopy(&record_.primPath, primPath) < 0)
        return -1;
    if (args_.type == 0 && requests_.size != primPath->top - 1)
        say(stderr, "Pas assez de lsps de backups locaux pour la taille du lsp!\n");
    record_.precedence = 0;
    record_.type = isGlobal() ? DB_GLOBAL_BACKUP_LSP : DB_LOCAL_BACKUP_LSP;
    record_.primID = args_.primID;
    return 0;
}

int BackupCall::fillRecord(LSPRequest& request, Long id) {
    record_.id = id;
    for (Long oa = 0; oa < nbClasses(); oa++) record_.bw[oa] = request.bw[oa];
    record_.noContentionId = -1;
    return longVecCopy(&record_.path, &request.path);
}

// Sets the backup up, or asks who would have to give way to it, or neither. Only a
// backup that cannot be set up is a failure.
int BackupCall::placeRecord() {
    ScopedLongList preempted;
    if (longVecInit(&preempted, -1) < 0) return -1;
    if (args_.add) return SCaddLSP(&record_, &preempted);
    if (args_.preempt && getpreemptList(centralDB, &record_, &preempted) < 0) {
        PUSH_ERROR(CRITICAL, "Impossible to obtain preemptList");
        say(stderr, "Can't obtain preemptList \n");
    }
    return 0;
}

Refusal BackupCall::place(const Long* ids, Long nbIds) {
    if (initRecord() < 0) return FAIL_WITH(Refusal::ADD, "Impossible to add BACKUP LSP");
    for (Long i = 0; i < requests_.size; i++) {
        if (fillRecord(requests_.cont[i], i < nbIds ? ids[i] : 0) == 0 &&
            placeRecord() == 0)
            continue;
        PUSH_ERROR(CRITICAL, "Impossible to add BACKUP LSP");
        printFailedBackup(args_.primID, &record_);
        return Refusal::ADD;
    }
    return Refusal::NONE;
}

int listPath(LongList* to, const LongList& path) {
    if (longVecPushBack(to, path.top) < 0) return -1;
    for (Long i = 0; i < path.top; i++)
        if (longVecPushBack(to, path.cont[i]) < 0) return -1;
    return 0;
}

int listLocalBackups(Long primary, LongList* paths) {
    kavrilConfig.predicateConfig.allowReroute = false;
    ScopedRequestList requests;
    if (lspRequestListInit(&requests, -1) < 0 ||
        computeLocalBackups(centralDB, &requests, primary) < 0)
        return -1;
    for (Long i = 0; i < requests.size; i++)
        if (listPath(paths, requests.cont[i].path) < 0) return -1;
    return 0;
}
