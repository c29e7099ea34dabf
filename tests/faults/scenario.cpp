#include "faults/scenario.h"

#include <sstream>

#include "database/database.h"
#include "fuzz/check.h"
#include "session.h"
#include "support/entry_points.h"

namespace {

constexpr const char* kNoPath = "Impossible to compute Path";
constexpr const char* kBadLsp = "Lsp ID: ";

Step initStep() {
    auto call = [](FakeVm& vm, jobject object, Result*) {
        initKavril(vm.env(), object, 1, 8, JNI_FALSE, JNI_FALSE, JNI_TRUE, 0.0F, 0.0F,
                   0.0F, 1.0F, 0.0F, 0.0F, 0.0F, vm.rows({std::vector<jfloat>(8)}));
    };
    return {"init", call, ""};
}

Step nodeStep(jint id) {
    auto call = [=](FakeVm& vm, jobject object, Result*) {
        addNodeEntry(vm.env(), object, id);
    };
    return {"addNode", call, "Impossible to init a Node"};
}

Step linkStep(jint id, jint src, jint dst) {
    auto call = [=](FakeVm& vm, jobject object, Result*) {
        addLinkEntry(vm.env(), object, id, 0, src, dst, vm.floats({12.0F}),
                     vm.rows({std::vector<jfloat>(8)}), nullptr, nullptr, nullptr);
    };
    return {"addLink", call, "Impossible to "};
}

Step pathStep(jint id, jint src, jint dst, jint level, jfloat bw, bool add, bool preempt,
              const char* message) {
    auto call = [=](FakeVm& vm, jobject object, Result* result) {
        jintArray path = computePathEntry(vm.env(), object, id, src, dst, 0, 0, 0, 0,
                                          level, bw, nullptr, add ? JNI_TRUE : JNI_FALSE,
                                          preempt ? JNI_TRUE : JNI_FALSE);
        if (path != nullptr) result->paths = {FakeVm::values(path)};
    };
    return {"computePath", call, message};
}

Step backupStep(jint primary, const std::vector<jint>& ids, jint type) {
    auto call = [=](FakeVm& vm, jobject object, Result* result) {
        jobjectArray paths = computeBackupPathEntry(
            vm.env(), object, primary, vm.ints(ids), type, JNI_TRUE, JNI_FALSE);
        if (paths != nullptr) result->paths = FakeVm::valuesOfRows(paths);
    };
    return {type == 1 ? "global backup" : "local backups", call, "Impossible to "};
}

Step primaryStep(jint id, const std::vector<jint>& path, jint level, jfloat bw) {
    auto call = [=](FakeVm& vm, jobject object, Result*) {
        addLSPEntry(vm.env(), object, id, vm.ints(path), level, 0, bw);
    };
    return {"addLSP", call, kBadLsp};
}

Step detourStep(jint id, jint primary, const std::vector<jint>& path) {
    auto call = [=](FakeVm& vm, jobject object, Result*) {
        addBackupLSPEntry(vm.env(), object, id, primary, vm.ints(path), 5, 0, 1.0F,
                          JNI_TRUE);
    };
    return {"addBackupLSP", call, kBadLsp};
}

Step removeStep(jint id) {
    auto call = [=](FakeVm& vm, jobject object, Result*) {
        removeLSPEntry(vm.env(), object, id);
    };
    return {"removeLSP", call, "Impossible to remove LSP"};
}

Step cutStep(jint src, jint dst) {
    auto call = [=](FakeVm& vm, jobject object, Result*) {
        removeLinkEntry(vm.env(), object, src, dst);
    };
    return {"removeLink", call, "Impossible to remove Link"};
}

Step dropStep(jint node) {
    auto call = [=](FakeVm& vm, jobject object, Result*) {
        removeNodeEntry(vm.env(), object, node);
    };
    return {"removeNode", call, "Impossible to remove Node"};
}

Step printStep() {
    auto call = [](FakeVm& vm, jobject object, Result*) {
        printKavrilDB(vm.env(), object);
    };
    return {"print", call, ""};
}

// A caller of the core asks for the state of a link, which is kept in full from then on.
Step handOutStep(jint src, jint dst) {
    auto call = [=](FakeVm&, jobject object, Result* result) {
        const int id = loadSession(FakeVm::sessId(object));
        if (DBgetLinkState(centralDB, src, dst) == nullptr) result->exception = "-1";
        saveCntx(id);
    };
    return {"getLinkState", call, ""};
}

// Another LSP in place of one that is up.
Step rerouteStep(Long id, Long partner, const std::vector<jint>& path) {
    auto call = [=](FakeVm&, jobject object, Result* result) {
        const int sessId = loadSession(FakeVm::sessId(object));
        ScopedLSP lsp;
        ScopedLongList preempted;
        bool filled = DBlspInit(&lsp) == 0 && longVecInit(&preempted, -1) == 0;
        for (jint node : path) filled = filled && longVecPushBack(&lsp.path, node) == 0;
        lsp.id = id;
        lsp.precedence = 4;
        lsp.bw[0] = 3.0;
        lsp.noContentionId = partner;
        if (!filled || DBaddLSP(centralDB, &lsp, &preempted) < 0)
            result->exception = "-1";
        saveCntx(sessId);
    };
    return {"DBaddLSP", call, ""};
}

void dumpMatrix(std::ostream& out, const Matrix& matrix) {
    for (const Row& row : matrix)
        for (double x : row) out << x << ' ';
}

void dumpLink(std::ostream& out, const DBLink* link) {
    out << "link " << link->id << ':';
    for (double capacity : link->state.cap) out << ' ' << capacity;
    for (std::size_t oa = 0; oa < kClasses; oa++)
        for (std::size_t p = 0; p < kLevels; p++)
            out << ' ' << link->state.pbw[oa][p] << ' ' << link->state.rbw[oa][p];
    const Tables tables = failureTables(link);
    for (const auto* table : {&tables.bbw, &tables.fbw})
        for (const auto& [f, matrix] : *table)
            dumpMatrix(out << "\n " << f << ": ", matrix);
    out << "\n lsps";
    for (Long i = 0; i < link->lspList.top; i++) out << ' ' << link->lspList.cont[i]->id;
    out << '\n';
}

void dumpList(std::ostream& out, const LongList& list) {
    for (Long i = 0; i < list.top; i++) out << ' ' << list.cont[i];
    out << '\n';
}

}  // namespace

std::vector<Step> scenario() {
    std::vector<Step> steps = {initStep()};
    for (jint node = 0; node < 4; node++) steps.push_back(nodeStep(node));
    for (jint node = 0; node < 4; node++) {
        const jint next = (node + 1) % 4;
        steps.push_back(linkStep(2 * node, node, next));
        steps.push_back(linkStep(2 * node + 1, next, node));
    }
    const Step more[] = {pathStep(1, 0, 1, 6, 4.0F, true, false, "Impossible to "),
                         primaryStep(2, {0, 1, 2}, 5, 3.0F),
                         pathStep(3, 0, 1, 1, 9.0F, true, true, "Impossible to "),
                         primaryStep(4, {2, 3, 0}, 3, 0.5F),
                         pathStep(9, 2, 0, 0, 12.0F, false, true, "Impossible to "),
                         primaryStep(5, {1, 0}, 3, 2.0F),
                         backupStep(5, {10}, 0),
                         primaryStep(6, {2, 1, 0}, 4, 1.0F),
                         backupStep(6, {11, 12}, 0),
                         backupStep(5, {13}, 1),
                         detourStep(14, 6, {2, 3, 0}),
                         handOutStep(3, 2),
                         primaryStep(7, {0, 3, 2}, 4, 2.0F),
                         rerouteStep(8, 7, {0, 3, 2}),
                         pathStep(15, 3, 1, 7, 0.5F, true, false, "Impossible to "),
                         pathStep(9, 0, 2, 0, 50.0F, true, true, kNoPath),
                         primaryStep(5, {3, 2}, 3, 2.0F),
                         nodeStep(2),
                         cutStep(0, 2),
                         removeStep(7),
                         removeStep(6),
                         removeStep(11),
                         printStep(),
                         cutStep(3, 0),
                         removeStep(13),
                         linkStep(40, 3, 0),
                         pathStep(16, 3, 0, 2, 1.0F, true, false, "Impossible to "),
                         dropStep(2),
                         removeStep(5),
                         printStep()};
    steps.insert(steps.end(), std::begin(more), std::end(more));
    return steps;
}

std::string dumpOf(jobject session) {
    const jint id = FakeVm::sessId(session);
    if (id < 0 || sessions[id] == nullptr) return "no session";
    const DataBase* db = sessions[id]->centralDB;
    std::ostringstream out;
    out << db->nbNodes << " nodes, " << db->nbLinks << " links\n";
    for (Long node = 0; node < db->nodeVec.top; node++) {
        if (db->nodeVec.cont[node] == nullptr) continue;
        dumpList(out << "node " << node << " in", db->nodeVec.cont[node]->inNeighb);
        dumpList(out << " out", db->nodeVec.cont[node]->outNeighb);
    }
    for (Long link = 0; link < db->linkSrcVec.top; link++)
        if (db->linkSrcVec.cont[link] != 0)
            dumpLink(out, findLink(&db->linkTab, db->linkSrcVec.cont[link] - 1,
                                   db->linkDstVec.cont[link] - 1));
    for (Long lsp = 0; lsp < db->lspVec.size; lsp++) {
        if (db->lspVec.cont[lsp] == nullptr) continue;
        out << "lsp " << lsp << ' ' << db->lspVec.cont[lsp]->noContentionId;
        dumpList(out, db->lspVec.cont[lsp]->path);
    }
    return out.str();
}
