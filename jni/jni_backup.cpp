// Native method that computes the backups of a primary.

#include <algorithm>

#include "admission/lsp_setup.h"
#include "common/print.h"
#include "common/setup.h"
#include "computation/backup/backup.h"
#include "computation/computation.h"
#include "database/database.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/changes.h"
#include "velmor_repository_KAVRIL_JNIKAVRIL.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

// The accented letters of the two French texts are single bytes of ISO-8859-1.
void printFailedBackup(jint primID, DBLabelSwitchedPath* backup) {
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

// One call; the requests become LSPs one after the other, in a record that is reused.
class BackupCall {
  public:
    BackupCall(JNIEnv* env, jint primID, jintArray ids, jint backupType, bool add,
               bool preempt)
        : env_(env),
          primID_(primID),
          ids_(ids),
          backupType_(backupType),
          isGlobal_(backupType == 1),
          add_(add),
          preempt_(preempt) {}

    // Leaves the paths in *result; returns the exception to throw, or null.
    const char* run(jobjectArray* result) {
        if (checkArray(env_, ids_, 0) < 0 || lspRequestListInit(&requests_, -1) < 0 ||
            computeBackup(centralDB, &requests_, primID_,
                          isGlobal_ ? GLOBAL_BACKUP : LOCAL_BACKUP) < 0)
            return FAIL_WITH(kNoRouteException, "Impossible to compute %s backup paths",
                             isGlobal_ ? "global" : "local");
        // Without enough ids nothing is placed, rather than some backups.
        if ((add_ || preempt_) && checkArray(env_, ids_, requests_.size) < 0)
            return FAIL_WITH(kAddDBException, "Impossible to add BACKUP LSP");
        jobjectArray paths = newPathArray();
        if (paths == nullptr) return nullptr;  // out of memory is pending
        const PinnedInts ids(env_, ids_);
        if (ids.isNull()) return FAIL_WITH(kAddDBException, "Critical lack of memory");
        DBLabelSwitchedPath* primary = DBgetLSP(centralDB, primID_);
        if (primary == nullptr)
            return FAIL_WITH(nullptr, "Not able to find primary LSP (id = %d)", primID_);
        if (initRecord(primary) < 0)
            return FAIL_WITH(kAddDBException, "Impossible to add BACKUP LSP");
        const Long nbIds = env_->GetArrayLength(ids_);
        for (Long i = 0; i < requests_.size; i++)
            if (!storePath(paths, i)) return nullptr;  // nothing is placed yet
        for (Long i = 0; i < requests_.size; i++) {
            if (fillRecord(requests_.cont[i], i < nbIds ? ids[i] : 0) < 0 ||
                place() < 0) {
                PUSH_ERROR(CRITICAL, "Impossible to add BACKUP LSP");
                printFailedBackup(primID_, &record_);
                return kAddDBException;
            }
        }
        *result = paths;
        return nullptr;
    }

  private:
    jobjectArray newPathArray() {
        jintArray sample = env_->NewIntArray(100);
        if (sample == nullptr) return nullptr;
        jclass intArrayClass = env_->GetObjectClass(sample);
        jobjectArray paths = env_->NewObjectArray(requests_.size, intArrayClass, nullptr);
        env_->DeleteLocalRef(intArrayClass);
        env_->DeleteLocalRef(sample);
        return paths;
    }

    // What all backups share.
    int initRecord(DBLabelSwitchedPath* primary) {
        LongList* primPath = &primary->path;
        if (DBlspInit(&record_) < 0 || longVecCopy(&record_.primPath, primPath) < 0)
            return -1;
        if (backupType_ == 0 && requests_.size != primPath->top - 1)
            say(stderr, "Pas assez de lsps de backups locaux pour la taille du lsp!\n");
        record_.precedence = 0;
        record_.type = isGlobal_ ? DB_GLOBAL_BACKUP_LSP : DB_LOCAL_BACKUP_LSP;
        record_.primID = primID_;
        return 0;
    }

    bool storePath(jobjectArray paths, Long i) {
        jintArray path = toJava(env_, &requests_.cont[i].path);
        if (path == nullptr) return false;
        env_->SetObjectArrayElement(paths, i, path);
        env_->DeleteLocalRef(path);
        return true;
    }

    int fillRecord(LSPRequest& request, jint id) {
        record_.id = id;
        for (Long oa = 0; oa < nbClasses(); oa++) record_.bw[oa] = request.bw[oa];
        record_.noContentionId = -1;
        return longVecCopy(&record_.path, &request.path);
    }

    // Sets the backup up, or asks who would have to give way to it, or neither. Only a
    // backup that cannot be set up is a failure.
    int place() {
        ScopedLongList preemptList;
        if (longVecInit(&preemptList, -1) < 0) return -1;
        if (add_) return SCaddLSP(&record_, &preemptList);
        if (preempt_ && getpreemptList(centralDB, &record_, &preemptList) < 0) {
            PUSH_ERROR(CRITICAL, "Impossible to obtain preemptList");
            say(stderr, "Can't obtain preemptList \n");
        }
        return 0;
    }

    JNIEnv* env_;
    jint primID_;
    jintArray ids_;
    jint backupType_;
    bool isGlobal_;
    bool add_;
    bool preempt_;
    ScopedRequestList requests_;
    ScopedLSP record_;
};

}  // namespace

JNIEXPORT jobjectArray JNICALL
Java_velmor_repository_KAVRIL_JNIKAVRIL_jnicomputeBackupPath(
    JNIEnv* env, jobject obj, jint primarylspId, jintArray backuplspIds, jint backupType,
    jboolean ADDLSP, jboolean PREEMPT) {
    jobjectArray result = nullptr;
    withContext(env, obj, kNoRouteException, [&] {
        kavrilConfig.predicateConfig.allowReroute = PREEMPT != JNI_FALSE;
        return BackupCall(env, primarylspId, backuplspIds, backupType,
                          ADDLSP != JNI_FALSE, PREEMPT != JNI_FALSE)
            .run(&result);
    });
    return result;
}
