// The module for JavaScript beside the library itself: both make the same requests of the
// same session, which goes from one to the other as a file.

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "common/setup.h"
#include "error/error.h"
#include "rows.h"
#include "session/calls.h"
#include "session/changes.h"
#include "session/session_file.h"

namespace {

constexpr const char* kName = "the module for JavaScript";
constexpr double kLimit = 3.0;
constexpr int kRequests = 3'000;

bool isPlaced(const Ask& ask, Path* path) {
    PrimaryCall call;
    const auto bw = static_cast<float>(ask.bw);
    if (call.compute({ask.id, ask.src, ask.dst, ask.oa, ask.level, bw}, false) !=
            Refusal::NONE ||
        call.place(true, false) != Refusal::NONE)
        return false;
    *path = nodesOf(call.path());
    return true;
}

// Places local backups under the ids behind the primary's, all or none.
bool isProtected(const Ask& ask) {
    BackupCall call({ask.id, 2, false, false});
    if (call.compute(0) != Refusal::NONE) return false;
    for (Long i = 0; i < call.nbPaths(); i++) {
        PlaceCall backup({ask.id + 1 + i, 0, ask.oa, static_cast<float>(ask.bw)});
        auto copy = [&](LongList* to) {
            for (Long node : nodesOf(call.path(i))) longVecPushBack(to, node);
            return 0;
        };
        if (backup.placeBackup(ask.id, DB_LOCAL_BACKUP_LSP, copy) == Refusal::NONE)
            continue;
        while (i > 0) SCremoveLSP(ask.id + i--);
        return false;
    }
    return true;
}

// A folder that goes with its scope.
struct Folder {
    Folder() {
        char name[] = "/tmp/kavril-XXXXXX";
        if (mkdtemp(name) == nullptr) throw std::runtime_error("no folder");
        path = name;
    }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string path;
};

struct Medians {
    double request = 0.0, protection = 0.0;
};

// Makes the requests and writes them to a file, each with what came of it.
Medians ask(State& state, const std::string& file) {
    const Muted quiet;
    std::ofstream out(file);
    std::vector<double> requests, protections;
    Long id = state.facts.primaries + state.facts.backups;
    for (int i = 0; i < kRequests; i++) {
        Ask ask = state.draw();
        ask.id = id;
        Path path;
        bool isFine = false;
        errorManager.top = 0;
        requests.push_back(timed([&] { isFine = isPlaced(ask, &path); }));
        out << ask.id << ' ' << ask.src << ' ' << ask.dst << ' ' << ask.oa << ' '
            << ask.level << ' ' << ask.bw << ' ' << (isFine && i % 3 == 0);
        if (isFine && i % 3 == 0) {
            protections.push_back(timed([&] { isFine = isProtected(ask); }));
            out << ' ' << isFine;
        } else {
            out << " 0";
        }
        for (Long node : path) out << ' ' << node;
        out << '\n';
        id += static_cast<Long>(path.size()) + 1;
    }
    return {quantile(requests, 0.5), quantile(protections, 0.5)};
}

Medians askModule(const std::string& command) {
    std::FILE* pipe = popen(command.c_str(), "r");
    Medians medians;
    const bool isRead = pipe != nullptr && std::fscanf(pipe, "%lf %lf", &medians.request,
                                                       &medians.protection) == 2;
    require(pipe != nullptr && pclose(pipe) == 0 && isRead, "the module has failed");
    return medians;
}

void printRow(const char* name, double native, double module) {
    std::printf("| %s | %.1f | %.1f | %.2f | %g |\n", name, 1e6 * native, 1e6 * module,
                module / native, kLimit);
}

}  // namespace

void printWasm(const Options& options) {
    if (!options.wants(kName)) return;
    if (!std::filesystem::exists(options.wasm + "/kavril.wasm")) {
        std::fprintf(stderr, "%s is not built, and not measured\n", kName);
        return;
    }
    std::fprintf(stderr, "%s ...\n", kName);
    const Network large = readLarge(options.repetita);
    configure();
    State state(large, {5'000});
    centralDB = state.dataBase;
    const Folder folder;
    const std::string session = folder.path + "/session", asked = folder.path + "/asked";
    require(saveFile(centralDB, {kUsedClasses, kUsedLevels}, session.c_str()) == 0,
            "the session is not saved");
    NBOA = kClasses;  // as the module's sessions have them
    NBPL = kLevels;
    const Medians native = ask(state, asked);
    const Medians module =
        askModule("node bench/wasm.mjs " + options.wasm + " " + session + " " + asked);
    std::printf(
        "\n| %s, 315 nodes, 1,944 links, 5,000 LSPs | native | WebAssembly | "
        "times | limit |\n|---|--:|--:|--:|--:|\n",
        kName);
    printRow("a primary, requested and placed", native.request, module.request);
    printRow("its local backups, computed and placed", native.protection,
             module.protection);
}
