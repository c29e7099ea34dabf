#include "session/journal.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "common/memory.h"
#include "database/database.h"
#include "error/error.h"
#include "session/changes.h"

#define ERROR_SOURCE "session/journal.c"

namespace {

constexpr std::int64_t kApplication = 0x4B56524C;  // "KVRL"
// Version 2 has changes that version 1 has not: of LSPs and of capacities. A journal of
// version 1 becomes one of version 2 when it is opened.
constexpr std::int64_t kVersion = 2;
// Changes are replaced by a new base once they are larger than it, and than this.
constexpr std::size_t kLeastLog = std::size_t{1} << 20;

Journal* journals[kMaxSessions] = {};

int failed(const Journal* journal) {
    const char* why = journal->sqlite->message(journal->db);
    if (std::strcmp(why, "database is locked") == 0)
        return FAIL_WITH(-1, "It is in use by another session");
    return FAIL_WITH(-1, "It cannot be used: %s", why);
}

int run(Journal* journal, const char* sql) {
    const int ret = journal->sqlite->exec(journal->db, sql, nullptr, nullptr, nullptr);
    return ret == kSqliteOk ? 0 : failed(journal);
}

// A statement that ends with its scope.
class Statement {
  public:
    Statement(const Journal* journal, const char* sql) : journal_(journal) {
        journal->sqlite->prepare(journal->db, sql, -1, &statement_, nullptr);
    }
    ~Statement() { journal_->sqlite->finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Goes to the next row; false if there is none, or it cannot be read.
    bool next() {
        result_ = statement_ != nullptr ? journal_->sqlite->step(statement_) : -1;
        return result_ == kSqliteRow;
    }
    bool isDone() const { return result_ == kSqliteDone; }
    std::int64_t number() const { return journal_->sqlite->columnNumber(statement_, 0); }
    std::size_t size() const {
        return static_cast<std::size_t>(journal_->sqlite->columnBytes(statement_, 0));
    }
    const std::uint8_t* blob() const {
        return static_cast<const std::uint8_t*>(
            journal_->sqlite->columnBlob(statement_, 0));
    }

  private:
    const Journal* journal_;
    sqlite3_stmt* statement_ = nullptr;
    int result_ = kSqliteOk;
};

// The number that a query gives, -1 for none.
std::int64_t numberOf(const Journal* journal, const char* sql) {
    Statement statement(journal, sql);
    return statement.next() ? statement.number() : -1;
}

// Runs a statement with the bytes of a writer.
int runWith(const Journal* journal, sqlite3_stmt* statement, const ByteWriter& bytes) {
    const Sqlite* sqlite = journal->sqlite;
    const bool done = sqlite->bindBlob(statement, 1, bytes.data(), bytes.size(),
                                       nullptr) == kSqliteOk &&
                      sqlite->step(statement) == kSqliteDone;
    const int ret = done ? 0 : failed(journal);
    sqlite->reset(statement);
    return ret;
}

// Puts the session as it is in place of base and changes, within a transaction.
int writeBase(Journal* journal, const ByteWriter& image) {
    sqlite3_stmt* insert = nullptr;
    if (run(journal, "DELETE FROM changes; DELETE FROM base") < 0) return -1;
    if (journal->sqlite->prepare(journal->db, "INSERT INTO base VALUES (?)", -1, &insert,
                                 nullptr) != kSqliteOk)
        return failed(journal);
    const int ret = runWith(journal, insert, image);
    journal->sqlite->finalize(insert);
    return ret;
}

int takeBase(Journal* journal) {
    ByteWriter image;
    writeFile(&image, centralDB, journal->numbers);
    if (!image.isFine())
        return FAIL_WITH(-1, "The session cannot be saved: %s", image.wrong());
    if (run(journal, "BEGIN IMMEDIATE") < 0) return -1;
    if (writeBase(journal, image) < 0 || run(journal, "COMMIT") < 0) {
        journal->sqlite->exec(journal->db, "ROLLBACK", nullptr, nullptr, nullptr);
        return -1;
    }
    journal->pending.clear();
    journal->switches = kavrilConfig.predicateConfig;
    journal->needsBase = false;
    journal->logged = 0;
    journal->baseSize = image.size();
    // A log that cannot be emptied now will be later.
    journal->sqlite->checkpoint(journal->db, nullptr, kSqliteTruncate, nullptr, nullptr);
    return 0;
}

// Last of all that a new journal gets: without its name there is none yet.
int setName(Journal* journal) {
    char text[100];
    std::snprintf(text, sizeof text,
                  "PRAGMA user_version = %lld; PRAGMA application_id = %lld",
                  static_cast<long long>(kVersion), static_cast<long long>(kApplication));
    return run(journal, text);
}

int begin(Journal* journal) {
    if (run(journal,
            "CREATE TABLE IF NOT EXISTS base (session BLOB NOT NULL);"
            "CREATE TABLE IF NOT EXISTS changes "
            "(number INTEGER PRIMARY KEY, records BLOB NOT NULL)") < 0 ||
        takeBase(journal) < 0)
        return -1;
    return setName(journal);
}

int replayAll(Journal* journal) {
    Statement rows(journal, "SELECT records FROM changes ORDER BY number");
    while (rows.next()) {
        ByteReader records(rows.blob(), rows.size());
        if (replay(&records) < 0) return -1;
        journal->logged += rows.size();
    }
    return rows.isDone() ? 0 : failed(journal);
}

// Makes the stack what it was with so many messages and slots.
void forgetMessages(Long messages, Long slots) {
    errorManager.top = messages;
    void* list =
        myrealloc(errorManager.list, static_cast<std::size_t>(slots) * sizeof(ErrorElem));
    if (list == nullptr) return;
    errorManager.list = static_cast<ErrorElem*>(list);
    errorManager.size = slots;
}

// Puts the session that the journal holds in place of the loaded one, which comes back if
// that fails.
int recover(Journal* journal) {
    DataBase* const empty = centralDB;
    const KAVRILConfig config = kavrilConfig;
    {
        Statement base(journal, "SELECT session FROM base");
        if (!base.next())
            return base.isDone() ? FAIL_WITH(-1, "It is damaged: it has no base")
                                 : failed(journal);
        DataBase* loaded = readFile(base.blob(), base.size(), &journal->numbers);
        if (loaded == nullptr) return -1;
        journal->baseSize = base.size();
        centralDB = loaded;
    }
    const Long messages = errorManager.top;
    const Long slots = errorManager.size;
    if (replayAll(journal) == 0 && setName(journal) == 0) {
        forgetMessages(messages, slots);  // what was said then has been read
        journal->switches = kavrilConfig.predicateConfig;
        DBdestroy(empty);
        return 0;
    }
    // The base came with its messages: they are not about this.
    ErrorElem* const said = errorManager.list;
    errorManager.top = static_cast<Long>(
        std::copy(said + messages, said + errorManager.top, said) - said);
    DBdestroy(centralDB);
    centralDB = empty;
    kavrilConfig = config;
    return -1;
}

// A database of somebody else's is left alone.
int checkKind(Journal* journal, bool* isNew) {
    const std::int64_t tables = numberOf(journal, "SELECT count(*) FROM sqlite_master");
    if (tables < 0) return failed(journal);
    const std::int64_t application = numberOf(journal, "PRAGMA application_id");
    const std::int64_t version = numberOf(journal, "PRAGMA user_version");
    // One that was begun has its tables before it has its name.
    *isNew = application == 0 &&
             (tables == 0 || numberOf(journal,
                                      "SELECT count(*) = 2 FROM sqlite_master "
                                      "WHERE name IN ('base', 'changes')") == 1);
    if (*isNew) return 0;
    if (application != kApplication)
        return FAIL_WITH(-1, "It is a database, but no journal");
    return version <= kVersion
               ? 0
               : FAIL_WITH(-1, "It has version %d, this library reads up to version %d",
                           static_cast<int>(version), static_cast<int>(kVersion));
}

int openDatabase(Journal* journal, const char* path, bool waitsForDisk) {
    const Sqlite* sqlite = journal->sqlite;
    if (sqlite->open(path, &journal->db, kSqliteReadWrite | kSqliteCreate, nullptr) !=
        kSqliteOk)
        return failed(journal);
    // One process at a time, which then needs no shared memory; the first access locks.
    bool isNew = false;
    if (run(journal, "PRAGMA locking_mode = EXCLUSIVE") < 0 ||
        checkKind(journal, &isNew) < 0)
        return -1;
    // Small pages: a change is a hundred bytes, and every page it touches is written.
    if (run(journal, "PRAGMA page_size = 1024; PRAGMA journal_mode = WAL") < 0 ||
        run(journal, waitsForDisk ? "PRAGMA synchronous = FULL"
                                  : "PRAGMA synchronous = NORMAL") < 0 ||
        (isNew ? begin(journal) : recover(journal)) < 0)
        return -1;
    return sqlite->prepare(journal->db, "INSERT INTO changes (records) VALUES (?)", -1,
                           &journal->append, nullptr) == kSqliteOk
               ? 0
               : failed(journal);
}

void endJournal(Journal* journal) {
    journal->sqlite->finalize(journal->append);
    journal->sqlite->close(journal->db);
    journal->~Journal();
    std::free(journal);
}

}  // namespace

Journal* journalOf(int sessId) {
    return sessId >= 0 && sessId < kMaxSessions ? journals[sessId] : nullptr;
}

int openJournal(const char* path, bool waitsForDisk, UsedNumbers* numbers) {
    const Sqlite* sqlite = loadSqlite();
    if (sqlite == nullptr || path == nullptr || currentSessId < 0) return -1;
    void* memory = std::malloc(sizeof(Journal));
    if (memory == nullptr) return FAIL_WITH(-1, "%s", kNoMemory);
    auto* journal = new (memory) Journal{};
    journal->sqlite = sqlite;
    journal->numbers = *numbers;
    if (openDatabase(journal, path, waitsForDisk) < 0) {
        endJournal(journal);
        return -1;
    }
    *numbers = journal->numbers;
    journals[currentSessId] = journal;
    return 0;
}

int commitJournal() {
    Journal* journal = journalOf(currentSessId);
    if (journal == nullptr) return 0;
    recordSwitches(journal);
    if (journal->pending.size() == 0 && !journal->needsBase) return 0;
    if (journal->needsBase || !journal->pending.isFine() ||
        journal->logged > std::max(kLeastLog, journal->baseSize))
        return takeBase(journal);
    if (runWith(journal, journal->append, journal->pending) < 0) return -1;
    journal->logged += journal->pending.size();
    journal->pending.clear();
    return 0;
}

int flushJournal() {
    const Journal* journal = journalOf(currentSessId);
    if (journal == nullptr) return 0;
    const int ret = journal->sqlite->checkpoint(journal->db, nullptr, kSqlitePassive,
                                                nullptr, nullptr);
    return ret == kSqliteOk ? 0 : failed(journal);
}

void closeJournal() {
    Journal* journal = journalOf(currentSessId);
    if (journal == nullptr) return;
    commitJournal();
    journals[currentSessId] = nullptr;
    endJournal(journal);
}
