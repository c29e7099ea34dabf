// What callers ask of the loaded session, in plain values: the calls that interfaces for
// other languages have in common.
//
// A call that fails has pushed its messages; a Refusal says which exception they go with.
// A call whose answer needs memory of the caller's comes in steps, so that the caller can
// make room before anything is placed: without it nobody would learn of the LSPs.
#pragma once

#include "common/setup.h"
#include "computation/computation.h"
#include "database/database.h"

enum class Refusal { NONE, ADD, NO_ROUTE, ROUTING };

// Weights of the criteria, in the order of jniinitKavril's arguments. Each has one value:
// that of class 0.
using Weights = float[7];
void setWeights(PrimaryComputationConfig* config, const Weights& weights);

// Opens the session that was begun, with an empty network; its number, or -1 with a
// message.
int openEmpty(const KAVRILConfig& config);

// Classes or levels that a table has of those that a caller uses: 0 to 8.
Long usable(Long nb);

// Classes and levels that the caller of the loaded session uses.
Long nbClasses();
Long nbLevels();

// Refuses a preemption level outside the tables, and a bandwidth that is not finite:
// it could not be ordered in a list of LSPs, nor be taken out of a sum again.
int checkLevel(Long level);
int checkBandwidth(float bw);

// The bandwidth in class oa of those in use, 0 in the others. A class that is not
// in use matches none.
void setBandwidth(double (&bw)[kClasses], Long oa, float bandwidth);

// An LSP along a path that was found elsewhere. Who has to give way is not reported.
class PlaceCall {
  public:
    struct Arguments {
        Long id, level, oa;
        float bw;
    };
    explicit PlaceCall(const Arguments& args) : args_(args) {}

    // Reads the LSP, its path by read(path), and sets it up.
    template <class Read>
    Refusal placePrimary(Read read) {
        return setUpPrimary(begin() == 0 && read(&lsp_.path) == 0);
    }
    template <class Read>
    Refusal placeBackup(Long primID, DBLSPType type, Read read) {
        return setUpBackup(begin() == 0 && read(&lsp_.path) == 0, primID, type);
    }

  private:
    int begin();
    int add();
    Refusal setUpPrimary(bool isRead);
    Refusal setUpBackup(bool isRead, Long primID, DBLSPType type);
    Refusal refuse(const char* message);

    Arguments args_;
    ScopedLSP lsp_;
};

// A request for a primary path: the LSP that it becomes, the LSPs that give way to it.
class PrimaryCall {
  public:
    struct Arguments {
        Long id, src, dst, oa, level;
        float bw;
    };

    Refusal compute(const Arguments& args, bool preempt);

    // Sets the LSP up, or only finds out who would have to give way.
    Refusal place(bool add, bool preempt);

    // Removes the LSPs that give way, of whom the caller has taken note; or takes the LSP
    // back, because the caller cannot.
    Refusal removePreempted();
    void takeBack();

    const LongList& path() const { return request_.path; }
    const LongList& preempted() const { return preempted_; }

  private:
    Refusal refuse();
    int fillLSP();

    ScopedRequest request_;
    ScopedLSP lsp_;
    ScopedLongList preempted_;
    bool added_ = false;
};

// Backups of a primary: local ones, or a global one for type 1. The requests become LSPs
// one after the other, in a record that is reused.
class BackupCall {
  public:
    struct Arguments {
        Long primID;
        int type;
        bool add, preempt;
    };
    explicit BackupCall(const Arguments& args) : args_(args) {}

    // -1 ids stand for an array that is null.
    Refusal compute(Long nbIds);
    Refusal place(const Long* ids, Long nbIds);

    Long nbPaths() const { return requests_.size; }
    const LongList& path(Long i) const { return requests_.cont[i].path; }

  private:
    bool isGlobal() const { return args_.type == 1; }
    int initRecord();
    int fillRecord(LSPRequest& request, Long id);
    int placeRecord();

    Arguments args_;
    ScopedRequestList requests_;
    ScopedLSP record_;
};

// Appends a path with its number of nodes before it.
int listPath(LongList* to, const LongList& path);

// Computes a local backup for each link of a primary that one gets around, and lists its
// path: no nodes where there is none.
int listLocalBackups(Long primary, LongList* paths);
