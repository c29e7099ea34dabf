// The database of a sweep: rows for what has been done, kept whatever happens.
//
// A batch is written in one transaction, so that a process that is killed loses what it
// was at, and no more. What stands in the tables in the end depends on the study alone,
// not on who has done which case when.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sweep/batch.h"
#include "sweep/database.h"
#include "sweep/grid.h"

namespace workbench {

inline constexpr const char* kResultFormat = "kavril-sweep";
inline constexpr int kResultVersion = 1;
extern const char* const kResultTables;

// To be read. UserError if the file is something else.
Database openResults(const std::string& file);

// A study out of results.
Study studyIn(const std::string& results);

class Results {
  public:
    // Makes the file or goes on with it; `ids` are those of the settings. UserError if
    // another process is writing to it, or if it is something else.
    Results(const std::string& file, const Grid& grid, std::vector<std::string> ids);
    ~Results();
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;

    const std::string& idOf(int setting) const { return ids_[setting]; }

    // Forgets cases that have failed, so that they are tried again.
    void forgetFailed();

    // Numbers of the setting's cases that are not there, ascending.
    std::vector<int> missing(int setting);
    std::size_t nbDone() const { return nbDone_; }  // since it was opened
    std::size_t nbFailed();

    // By any thread. What comes while another thread writes is written by that one; it is
    // there when flush() comes back.
    void put(std::vector<BatchResult> results);
    void flush();

    // What that took so far, once all is written.
    struct Times {
        std::size_t commits = 0;
        double committing = 0.0;  // seconds
        double writing = 0.0;     // of work on rows
    };
    const Times& times() const { return times_; }

  private:
    struct Inserts;

    void registerStudy();
    void registerNetwork(int network);
    void registerSettings();
    int failureNumber(const GridNetwork& network, int number, int place) const;
    std::pair<int, int> numbersOf(int setting, int index) const;
    void write(const BatchResult& result);
    void writePlan(const BatchResult& result, int plan);
    void writeAll(std::unique_lock<std::mutex>* lock);

    const Grid& grid_;
    std::vector<std::string> ids_;
    std::string file_;
    int lock_ = -1;  // file that says that somebody is writing
    std::unique_ptr<Database> database_;
    std::unique_ptr<Inserts> inserts_;
    std::vector<int> networks_;               // their numbers in the database
    std::vector<std::vector<int>> failures_;  // by network
    std::vector<int> plans_;                  // by setting
    std::mutex mutex_;
    std::condition_variable written_;
    std::vector<BatchResult> waiting_;
    bool isWriting_ = false;
    std::atomic<std::size_t> nbDone_ = 0;
    Times times_;
};

}  // namespace workbench
