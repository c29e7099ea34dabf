#include "session/session_file.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>

#include "session/changes.h"
#include "session/contents.h"
#include "session/journal.h"
#include "support/support.h"

using Bytes = std::vector<std::uint8_t>;
using testing::HasSubstr;

namespace {

constexpr std::size_t kHeader = 36;

Bytes bytesIn(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

void write(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

// As a file has it, at a place in the header.
void putLarge(Bytes* bytes, std::size_t at, std::uint64_t value) {
    for (std::size_t i = 0; i < 8; i++)
        (*bytes)[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// Makes the checksum of the header right again.
Bytes sealed(Bytes bytes) {
    putLarge(&bytes, 28, checksum(bytes.data(), 28));
    return bytes;
}

// Where no file can be larger: as on a full disk.
template <class Act>
void withFilesUpTo(rlim_t size, Act act) {
    signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit now = {size, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &now);
    act();
    setrlimit(RLIMIT_FSIZE, &before);
}

// Gaps in ids, a link and a node that went from under LSPs, reservations that are stale,
// a state in somebody's hands, a message.
class SessionFiles : public KavrilTest {
  protected:
    SessionFiles() {
        NBOA = 2;
        NBPL = 8;
        net_.link(0, 1).link(1, 2, 50.0, 7).link(0, 3).link(3, 2).link(2, 5).link(5, 0);
        net_.add(Lsp(1, {0, 1, 2}, 0.1, 3));
        net_.add(Lsp(4, {0, 3, 2}, 0.7, 2, DB_LOCAL_BACKUP_LSP, 1, {0, 1, 2}));
        net_.add(Lsp(5, {0, 3, 2}, 0.2, 2, DB_GLOBAL_BACKUP_LSP, 1, {0, 1, 2}));
        net_.state(3, 2);
        DBremoveLink(net_, 1, 2);
        DBremoveNode(net_, 5);
        addError(WARNING, "kept");
        char folder[] = "/tmp/kavril-session-XXXXXX";
        folder_ = mkdtemp(folder);
    }
    ~SessionFiles() override {
        std::filesystem::remove_all(folder_);
        errorManager.top = 0;
        NBOA = NBPL = 0;
    }

    std::ptrdiff_t nbFiles() const {
        return std::distance(std::filesystem::directory_iterator(folder_), {});
    }
    std::string file() const { return folder_ + "/session"; }
    Bytes saved() {
        EXPECT_EQ(0, DBsave(net_, file().c_str()));
        return bytesIn(file());
    }
    // The oldest message of a load that fails.
    std::string refusal(const std::string& path) {
        errorManager.top = 0;
        EXPECT_EQ(nullptr, DBload(path.c_str()));
        return errorTexts().back();
    }
    std::string refusal(const Bytes& bytes) {
        write(file(), bytes);
        return refusal(file());
    }

    Net net_;
    std::string folder_;
};

}  // namespace

TEST_F(SessionFiles, HaveTheSameBytesEverywhereAndAgain) {
    const Bytes bytes = saved();
    EXPECT_EQ(bytesIn(KAVRIL_SESSION_CORPUS "/small"),
              Bytes(bytes.begin() + kHeader, bytes.end()));
    kavrilConfig.predicateConfig.capacityClause = false;
    NBOA = NBPL = errorManager.top = 0;
    DataBase* loaded = DBload(file().c_str());
    ASSERT_NE(nullptr, loaded);
    EXPECT_EQ(Ids({2, 8, 1}), Ids({NBOA, NBPL, errorManager.top}));
    EXPECT_TRUE(kavrilConfig.predicateConfig.capacityClause);
    EXPECT_EQ(0, DBsave(loaded, file().c_str()));
    EXPECT_EQ(bytes, bytesIn(file()));
    DataBase* copy = DBcopy(loaded);
    EXPECT_EQ(0, DBsave(copy, file().c_str()));
    EXPECT_EQ(bytes, bytesIn(file()));
    DBdestroy(copy);
    EXPECT_EQ(net_.print(), output(DBprintDB, loaded));
    DBdestroy(loaded);
    EXPECT_EQ(1, nbFiles());
}

TEST_F(SessionFiles, StayWhatTheyWereWhereNothingCanBeWritten) {
    const Bytes bytes = saved();
    auto refusalToSave = [&](const std::string& path) {
        errorManager.top = 0;
        EXPECT_EQ(-1, DBsave(net_, path.c_str()));
        return errorTexts().back();
    };
    EXPECT_THAT(refusalToSave(folder_ + "/none/session"), HasSubstr("No such file"));
    withFilesUpTo(bytes.size() - 1, [&] {
        EXPECT_THAT(refusalToSave(file()), HasSubstr("File too large"));
    });
    EXPECT_EQ(0, net_.add(Lsp(9, {0, 3}, NAN)));
    EXPECT_THAT(refusalToSave(file()), HasSubstr("not a number"));
    EXPECT_EQ(bytes, bytesIn(file()));
    EXPECT_EQ(1, nbFiles());
}

TEST_F(SessionFiles, AreRefusedWithTheReason) {
    const Bytes good = saved();
    Bytes newer = good, longer = good, altered = good;
    newer[8] = 2;
    longer.push_back(0);
    altered.back() ^= 1;
    Bytes claiming = good;
    putLarge(&claiming, 12, 1ULL << 40);
    EXPECT_THAT(refusal(folder_ + "/none"), HasSubstr("No such file"));
    EXPECT_THAT(refusal(folder_), HasSubstr("Is a directory"));
    EXPECT_THAT(refusal(Bytes()), HasSubstr("no session file"));
    EXPECT_THAT(refusal(Bytes(100, 'x')), HasSubstr("no session file"));
    EXPECT_THAT(refusal(Bytes(good.begin(), good.end() - 1)), HasSubstr("cut off"));
    EXPECT_THAT(refusal(newer), HasSubstr("header has been altered"));
    EXPECT_THAT(refusal(sealed(newer)), HasSubstr("has version 2"));
    EXPECT_THAT(refusal(sealed(claiming)), HasSubstr("cut off"));
    EXPECT_THAT(refusal(longer), HasSubstr("1 bytes too many"));
    EXPECT_THAT(refusal(altered), HasSubstr("contents have been altered"));
    std::filesystem::resize_file(file(), 1ULL << 33);
    EXPECT_THAT(refusal(file()), HasSubstr("too large"));
    UsedNumbers numbers;
    for (std::size_t i = 0; i < good.size(); i++) {
        Bytes bytes = good;
        bytes[i] ^= static_cast<std::uint8_t>(1U << (i % 8));
        EXPECT_EQ(nullptr, readFile(bytes.data(), bytes.size(), &numbers)) << i;
        EXPECT_EQ(nullptr, readFile(good.data(), i, &numbers)) << i;
        errorManager.top = 0;
    }
}

// Single numbers, mostly: those that would make trouble are 32 bits wide.
TEST_F(SessionFiles, MadeUpContentsHarmNobody) {
    Bytes good = saved();
    good.erase(good.begin(), good.begin() + kHeader);
    EXPECT_TRUE(tryContents(good.data(), good.size()));
    for (const auto& kept : std::filesystem::directory_iterator(KAVRIL_SESSION_CORPUS)) {
        const Bytes bytes = bytesIn(kept.path());
        EXPECT_EQ(kept.path().filename() == "small",
                  tryContents(bytes.data(), bytes.size()));
    }
    std::mt19937 random(1);
    const std::uint8_t odd[] = {0, 1, 2, 7, 8, 0x7F, 0x80, 0xFF};
    int nbAccepted = 0;
    for (int i = 0; i < 30000; i++) {
        Bytes bytes = good;
        for (auto left = 1 + random() % 3; left > 0; left--) {
            const std::size_t at = random() % bytes.size();
            const std::uint8_t value = random() % 2 == 0
                                           ? odd[random() % 8]
                                           : static_cast<std::uint8_t>(random());
            for (auto nb = random() % 4 == 0 ? 4U : 1U; nb > 0 && at + nb <= bytes.size();
                 nb--)
                bytes[at + nb - 1] = value;
        }
        nbAccepted += tryContents(bytes.data(), bytes.size()) ? 1 : 0;
    }
    EXPECT_THAT(nbAccepted, testing::AllOf(testing::Gt(3000), testing::Lt(27000)));
}

TEST_F(SessionFiles, CopiesAreMadeWholeOrNotAtAll) {
    for (int i = 0; i < 30; i++) addError(INFO, "room for more");
    errorManager.top = 0;
    const Long before = allocatedMemory;
    DataBase* copy = nullptr;
    Long nth = 0;
    while (copy == nullptr && nth < 100000) {
        failAllocation(++nth);
        copy = DBcopy(net_);
        if (copy == nullptr) {
            ASSERT_EQ("Unable to copy: Critical lack of memory", errorTexts().front());
            ASSERT_EQ(before, allocatedMemory) << nth;
        }
    }
    failAllocation(0);
    ASSERT_NE(nullptr, copy);
    EXPECT_GT(nth, 500);
    errorManager.top = 0;
    EXPECT_EQ(0, DBremoveNode(copy, 3));
    EXPECT_NE(net_.print(), output(DBprintDB, copy));
    DBdestroy(copy);
}

namespace {

// What is changed, and what is said then.
const std::pair<const char*, const char*> kRefusedJournals[] = {
    {"PRAGMA user_version = 3", "It has version 3, this library reads up to version 2"},
    {"PRAGMA application_id = 1", "It is a database, but no journal"},
    {"DELETE FROM base", "It is damaged: it has no base"},
    {"UPDATE base SET session = substr(session, 1, 60)", "It is cut off after 60 bytes"},
    {"UPDATE base SET session = session || x'00'", "It is damaged: 1 bytes too many"},
    {"UPDATE changes SET records = x'63'",
     "It is damaged: a change in it cannot be made"},
    {"UPDATE changes SET records = substr(records, 1, 3)",
     "It is damaged: a change in it cannot be made"},
    {"UPDATE changes SET records = records || records",
     "It is damaged: a change in it cannot be made"},
    {"PRAGMA writable_schema = ON; UPDATE sqlite_master SET rootpage = 99",
     "It cannot be used: malformed database schema"},
};

}  // namespace

// One that is good gets later what could not be written at once.
TEST_F(SessionFiles, JournalsThatCannotBeReadAreLeftAlone) {
    if (loadSqlite() == nullptr) {
        errorTexts();
        GTEST_SKIP() << "the emulated machine has no SQLite";
    }
    UsedNumbers numbers = {2, 8};
    auto open = [&](const char* said) {
        beginSession();
        centralDB = DBnew(0);
        openSession();
        addError(INFO, "%s", said);
        return openJournal(file().c_str(), false, &numbers);
    };
    auto close = [] {
        errorManager.top = 0;
        closeSession();
    };
    auto edit = [&](const char* sql) {
        const Sqlite* sqlite = loadSqlite();
        sqlite3* db = nullptr;
        sqlite->open(file().c_str(), &db, kSqliteReadWrite, nullptr);
        EXPECT_EQ(kSqliteOk, sqlite->exec(db, sql, nullptr, nullptr, nullptr));
        sqlite->close(db);
    };
    constexpr std::size_t kUserVersion = 63;  // its low byte in SQLite's header
    for (const auto& [change, why] : kRefusedJournals) {
        std::filesystem::remove(file());
        ASSERT_EQ(0, open("in the base"));
        withFilesUpTo(0, [] { EXPECT_EQ(-2, SCaddNode(3) + 2 * commitJournal()); });
        EXPECT_EQ(0, SCaddNode(4));
        close();
        edit("PRAGMA user_version = 1");
        EXPECT_EQ(0, open("new"));
        EXPECT_EQ(2, DBgetNbNodes(centralDB));
        close();
        EXPECT_EQ(2, bytesIn(file()).at(kUserVersion));
        edit(change);
        const Bytes before = bytesIn(file());
        EXPECT_EQ(-1, open("new"));
        const Texts texts = errorTexts();
        EXPECT_THAT(texts, testing::Contains(HasSubstr(why)));
        EXPECT_THAT(texts, testing::Not(testing::Contains("in the base")));
        EXPECT_EQ(0, DBgetNbNodes(centralDB));
        close();
        EXPECT_EQ(before, bytesIn(file())) << why;
        EXPECT_EQ(1, nbFiles());
    }
    errorInit();
}
