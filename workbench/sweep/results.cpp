#include "sweep/results.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>

#include "cli/error.h"
#include "sweep/hash.h"
#include "sweep/work_seconds.h"

namespace workbench {

namespace {

constexpr std::size_t kMostWaiting = 64;  // batches

std::string lockName(const std::string& file) {
    return file + ".lock";
}

int takeLock(const std::string& file) {
    const std::string name = lockName(file);
    const int lock = open(name.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666);
    if (lock < 0) throw UserError("cannot write " + name);
    if (flock(lock, LOCK_EX | LOCK_NB) == 0) return lock;
    close(lock);
    throw UserError(file + ": another sweep is writing to it");
}

std::string axisText(const std::string& text, const char* usual) {
    return text.empty() ? usual : text;
}

void checkFormat(const std::string& file, Database* database) {
    const auto isThere = [&](const char* sql) { return database->prepare(sql).next(); };
    if (!isThere("SELECT 1 FROM sqlite_master WHERE name = 'sweep'"))
        throw UserError(file + " is a database, but not of a sweep");
    Statement sweep = database->prepare("SELECT format, version FROM sweep");
    if (!sweep.next() || sweep.text(0) != kResultFormat ||
        sweep.whole(1) != kResultVersion)
        throw UserError(file + " is not a sweep's results, or of another version");
}

}  // namespace

// What stays lost. Nothing, where all is placed again, whatever the sums round to.
static Count stillLost(const Count& lost, const Count& again) {
    const int lsps = lost.lsps - again.lsps;
    return {lsps, lsps == 0 ? 0.0 : lost.bandwidth - again.bandwidth};
}

struct Results::Inserts {
    explicit Inserts(Database* database)
        : plan(database->prepare(
              "UPDATE plans SET requests = ?, placed = ?, backups = ?, offered = ?, "
              "carried = ?, refused = ?, protected = ?, error = NULL WHERE plan = ?")),
          planError(database->prepare("UPDATE plans SET error = ? WHERE plan = ?")),
          planLevel(database->prepare(
              "INSERT OR REPLACE INTO plan_levels VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)")),
          one(database->prepare(
              "INSERT OR REPLACE INTO cases VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, "
              "?, ?, ?, ?, ?, NULL)")),
          failed(database->prepare(
              "INSERT OR REPLACE INTO cases (plan, failure, second, id, error) "
              "VALUES (?, ?, ?, ?, ?)")),
          level(database->prepare("INSERT OR REPLACE INTO case_levels VALUES "
                                  "(?, ?, ?, ?, ?, ?, ?, ?, ?)")),
          // Of equal loads that of the first failure, whoever comes first.
          link(database->prepare(
              "INSERT INTO link_loads VALUES (?, ?, ?, ?, ?, ?, ?, ?) "
              "ON CONFLICT (plan, link, class) DO UPDATE SET worst = excluded.worst, "
              "failure = excluded.failure, second = excluded.second "
              "WHERE excluded.worst > worst OR (excluded.worst = worst AND "
              "(excluded.failure, excluded.second) < (failure, second))")) {}

    Statement plan;
    Statement planError;
    Statement planLevel;
    Statement one;
    Statement failed;
    Statement level;
    Statement link;
};

Database openResults(const std::string& file) {
    Database database(file, Database::Mode::READ);
    checkFormat(file, &database);
    return database;
}

Study studyIn(const std::string& results) {
    Database database = openResults(results);
    Statement sweep = database.prepare("SELECT study, folder FROM sweep");
    sweep.next();
    return studyFrom(nlohmann::json::parse(sweep.text(0)), sweep.text(1));
}

Results::Results(const std::string& file, const Grid& grid, std::vector<std::string> ids)
    : grid_(grid), ids_(std::move(ids)), file_(file) {
    const bool isNew =
        !std::filesystem::exists(file) || std::filesystem::file_size(file) == 0;
    if (!isNew && !isDatabase(file))
        throw UserError(file + " is there already, and is no sweep's results");
    lock_ = takeLock(file);
    try {
        database_ = std::make_unique<Database>(file, Database::Mode::WRITE);
        database_->run("PRAGMA synchronous = FULL; PRAGMA cache_size = -65536");
        const bool isEmpty = !database_->prepare("SELECT 1 FROM sqlite_master").next();
        if (!isEmpty) checkFormat(file, database_.get());
        database_->run("BEGIN IMMEDIATE");
        if (isEmpty) database_->run(kResultTables);
        registerStudy();
        for (int i = 0; i < std::ssize(grid.networks()); i++) registerNetwork(i);
        registerSettings();
        database_->run("COMMIT");
        inserts_ = std::make_unique<Inserts>(database_.get());
    } catch (...) {
        close(lock_);
        throw;
    }
}

Results::~Results() {
    inserts_.reset();
    database_.reset();
    unlink(lockName(file_).c_str());
    close(lock_);
}

void Results::registerStudy() {
    database_->run("DELETE FROM sweep");
    const Study& study = grid_.study();
    database_
        ->prepare("INSERT INTO sweep VALUES (?, ?, ?, ?)")(
            kResultFormat, kResultVersion,
            std::filesystem::absolute(study.folder.empty() ? "." : study.folder)
                .lexically_normal()
                .string(),
            study.text.dump(1))
        .run();
}

// Numbers are those of the database where it knows the network and failure already.
void Results::registerNetwork(int which) {
    const GridNetwork& network = grid_.networks()[which];
    Statement known = database_->prepare("SELECT network FROM networks WHERE id = ?");
    int number = 0;
    if (known(network.id).next()) {
        number = static_cast<int>(known.whole(0));
    } else {
        Statement next =
            database_->prepare("SELECT ifnull(max(network), 0) + 1 FROM networks");
        next.next();
        number = static_cast<int>(next.whole(0));
        Statement link = database_->prepare("INSERT INTO links VALUES (?, ?, ?, ?)");
        for (const Link& one : network.network.links)
            link(number, one.id, linkName(network.network, one.id), one.capacity).run();
    }
    database_
        ->prepare("INSERT OR REPLACE INTO networks VALUES (?, ?, ?, ?)")(
            number, network.id, network.name, network.network.unit)
        .run();
    networks_.push_back(number);

    std::map<std::pair<std::string, std::string>, int> numbers;
    Statement all =
        database_->prepare("SELECT kind, name, failure FROM failures WHERE network = ?");
    all(number);
    while (all.next())
        numbers[{all.text(0), all.text(1)}] = static_cast<int>(all.whole(2));
    Statement failure = database_->prepare("INSERT INTO failures VALUES (?, ?, ?, ?)");
    std::vector<int>& own = failures_.emplace_back();
    for (const FailureSet& set : network.failures) {
        const auto [at, isNew] = numbers.try_emplace(
            {toText(set.kind), set.name}, static_cast<int>(numbers.size()) + 1);
        if (isNew) failure(number, at->second, toText(set.kind), set.name).run();
        own.push_back(at->second);
    }
}

void Results::registerSettings() {
    std::map<std::string, int> numbers;
    Statement all = database_->prepare("SELECT id, plan FROM plans");
    while (all.next()) numbers[all.text(0)] = static_cast<int>(all.whole(1));
    Statement plan = database_->prepare(
        "INSERT INTO plans (plan, id, network, matrix, scale, classes, weights, "
        "protection, replanning) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
    const Study& study = grid_.study();
    for (std::size_t i = 0; i < ids_.size(); i++) {
        const auto [at, isNew] =
            numbers.try_emplace(ids_[i], static_cast<int>(numbers.size()) + 1);
        plans_.push_back(at->second);
        if (!isNew) continue;
        const Setting& setting = grid_.settings()[i];
        plan(at->second, ids_[i], networks_[setting.network], grid_.matrixName(setting),
             study.scales[setting.scale],
             axisText(study.classes[setting.classes], "usual"),
             axisText(study.weights[setting.weights], "usual"),
             toText(study.protections[setting.protection]),
             toText(study.replannings[setting.replanning]))
            .run();
    }
}

void Results::forgetFailed() {
    database_->run("DELETE FROM cases WHERE error IS NOT NULL");
}

std::size_t Results::nbFailed() {
    Statement count =
        database_->prepare("SELECT count(*) FROM cases WHERE error IS NOT NULL");
    count.next();
    return static_cast<std::size_t>(count.whole(0));
}

// Of a case, as the tables have them: 0 for none, the lower one first.
std::pair<int, int> Results::numbersOf(int setting, int index) const {
    const Setting& which = grid_.settings()[setting];
    const FailedSets failed = grid_.casesOf(which)[index];
    const std::vector<int>& numbers = failures_[which.network];
    const int first = failed.first < 0 ? 0 : numbers[failed.first];
    if (failed.second < 0) return {first, 0};
    return std::minmax(first, numbers[failed.second]);
}

std::vector<int> Results::missing(int setting) {
    const std::lock_guard lock(mutex_);
    std::vector<std::pair<int, int>> there;
    Statement done = database_->prepare(
        "SELECT failure, second FROM cases WHERE plan = ? ORDER BY failure, second");
    done(plans_[setting]);
    while (done.next())
        there.emplace_back(static_cast<int>(done.whole(0)),
                           static_cast<int>(done.whole(1)));
    const auto count = static_cast<int>(grid_.casesOf(grid_.settings()[setting]).size());
    std::vector<int> all;
    for (int index = 0; index < count; index++)
        if (there.empty() ||
            !std::ranges::binary_search(there, numbersOf(setting, index)))
            all.push_back(index);
    return all;
}

void Results::writePlan(const BatchResult& result, int plan) {
    PlanLevel sum;
    for (const PlanLevel& level : result.plan.levels) {
        inserts_
            ->planLevel(plan, result.plan.classes[level.trafficClass], level.level,
                        level.requests, level.placed, level.offered, level.carried,
                        level.offered - level.carried, level.carriedProtected)
            .run();
        sum.requests += level.requests;
        sum.placed += level.placed;
        sum.offered += level.offered;
        sum.carried += level.carried;
        sum.carriedProtected += level.carriedProtected;
    }
    inserts_
        ->plan(sum.requests, sum.placed, result.plan.backups, sum.offered, sum.carried,
               sum.offered - sum.carried, sum.carriedProtected, plan)
        .run();
}

void Results::write(const BatchResult& result) {
    const int plan = plans_[result.setting];
    const auto& classes = result.plan.classes;
    if (result.planError.empty())
        writePlan(result, plan);
    else
        inserts_->planError(result.planError, plan).run();
    double carried = 0.0;
    for (const PlanLevel& level : result.plan.levels) carried += level.carried;
    for (const CaseFigures& one : result.cases) {
        const auto [first, second] = numbersOf(result.setting, one.index);
        const Tally& tally = one.tally;
        const Count lost = stillLost(tally.lost, one.again);
        const bool isLoaded = one.fullest.link >= 0;
        inserts_
            ->one(plan, first, second, hashText(one.id),
                  carried - lost.bandwidth - tally.ended.bandwidth,
                  tally.restored.bandwidth, one.again.bandwidth, lost.bandwidth,
                  tally.ended.bandwidth, tally.restored.lsps, one.again.lsps, lost.lsps,
                  tally.ended.lsps, one.fullest.share(),
                  isLoaded ? std::optional(one.fullest.link) : std::nullopt,
                  isLoaded ? std::optional(classes[one.fullest.trafficClass])
                           : std::nullopt,
                  one.overloads)
            .run();
    }
    for (const CaseError& one : result.errors) {
        const auto [first, second] = numbersOf(result.setting, one.index);
        inserts_->failed(plan, first, second, hashText(one.id), one.reason).run();
    }
    for (const LevelFigures& one : result.levels) {
        const auto [first, second] = numbersOf(result.setting, one.index);
        inserts_
            ->level(plan, first, second, classes[one.trafficClass], one.level,
                    one.tally.restored.bandwidth, one.again.bandwidth,
                    stillLost(one.tally.lost, one.again).bandwidth,
                    one.tally.ended.bandwidth)
            .run();
    }
    for (const LinkFigures& one : result.links) {
        std::optional<int> first;
        std::optional<int> second;
        if (one.index >= 0)
            std::tie(first, second) = numbersOf(result.setting, one.index);
        inserts_
            ->link(plan, one.link, classes[one.trafficClass], one.capacity, one.usual,
                   one.worst, first, second)
            .run();
    }
    nbDone_ += result.size();
}

// The lock is open while rows are written: only one thread does that at a time.
void Results::writeAll(std::unique_lock<std::mutex>* lock) {
    using Clock = std::chrono::steady_clock;
    isWriting_ = true;
    try {
        while (!waiting_.empty()) {
            std::vector<BatchResult> batches;
            batches.swap(waiting_);
            lock->unlock();
            const double start = workSeconds();
            database_->run("BEGIN IMMEDIATE");
            for (const BatchResult& batch : batches) write(batch);
            times_.writing += workSeconds() - start;
            const auto written = Clock::now();
            database_->run("COMMIT");
            times_.committing +=
                std::chrono::duration<double>(Clock::now() - written).count();
            times_.commits++;
            lock->lock();
            written_.notify_all();
        }
    } catch (...) {
        if (!lock->owns_lock()) lock->lock();
        isWriting_ = false;
        written_.notify_all();
        throw;
    }
    isWriting_ = false;
    written_.notify_all();
}

void Results::put(std::vector<BatchResult> results) {
    std::unique_lock lock(mutex_);
    written_.wait(lock, [this] { return !isWriting_ || waiting_.size() < kMostWaiting; });
    std::ranges::move(results, std::back_inserter(waiting_));
    if (!isWriting_) writeAll(&lock);
}

void Results::flush() {
    std::unique_lock lock(mutex_);
    written_.wait(lock, [this] { return !isWriting_; });
    if (!waiting_.empty()) writeAll(&lock);
}

}  // namespace workbench
