// Plays calls that are decoded from bytes: entry points through a fake virtual machine,
// and functions of the core between them, in up to three sessions at once. A model is
// kept beside every session; after every call the outcome, the error stack, the lists and
// the tables are compared with it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "computation/computation_st.h"
#include "database/database_st.h"
#include "fuzz/model.h"
#include "support/fake_jni.h"

// Reads 0 where the input has ended. Read once per statement or list in braces: in which
// order a call's arguments are read differs from machine to machine.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}
    bool empty() const { return next_ == end_; }
    int byte() { return empty() ? 0 : *next_++; }
    Long below(std::size_t n) { return byte() % static_cast<Long>(n); }
    bool oneIn(std::size_t n) { return below(n) == 1; }
    template <class Container>
    auto& anyOf(Container& from) {
        return *std::next(std::begin(from), below(std::size(from)));
    }

  private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

class Player {
  public:
    Player(const std::uint8_t* data, std::size_t size);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void play();
    long calls() const { return calls_; }

  private:
    struct Session {
        jobject object;
        bool live = false;
        Model model;
    };
    // What an operation does when it fails.
    struct Failure {
        const char* exception;
        const char* message;
    };
    struct Outcome {
        std::string exception;
        Long stackBefore;
    };

    // Decoding.
    Long node();
    Long lspId();
    Long anyLsp();
    double amount();
    Ids walk();
    Ids path();
    ModelLsp lsp(const Ids& path);
    void setBandwidth(ModelLsp* lsp, Long oa, double bw);

    // Calls of entry points.
    void init();
    void kill();
    void print();
    void addNode(Long id);
    void addLink(Long id, Hop hop);
    void buildNetwork();
    void removeLink();
    void removeNode();
    void addPrimary();
    void addBackup();
    void removeLsp();
    void computePath();
    void computeBackups();

    // Calls of the core.
    void coreAdd();
    void coreCompute();
    void coreList();
    void coreLookUp();
    void coreHandOut();

    void step();
    void check();
    DataBase* db() const;
    const struct ErrorList& stack() const;
    template <class Call>
    Outcome call(Call call);
    template <class Call>
    void coreCall(Call call);
    void compare(const Outcome& outcome, Verdict verdict, Failure failure);
    void settle(const ModelLsp& lsp, bool whole);
    void settleRemovals();
    Verdict removeVictims(const Ids& victims);
    Verdict isReachable(const ModelLsp& lsp, Long src, Long dst,
                        const std::function<bool(Hop)>& isOpen) const;
    void checkPath(const ModelLsp& lsp, const Ids& path, Long src, Long dst) const;
    void checkBackups(const ModelLsp& primary, const std::vector<Ids>& paths,
                      bool global) const;
    void comparePathWithTopology(LSPRequest* req, const Ids& ends, int ret, double cost);

    Model& model() { return now_->model; }
    const Model& model() const { return now_->model; }
    JNIEnv* env() { return vm_.env(); }

    Bytes bytes_;
    FakeVm vm_;
    Session sessions_[3];
    Session* now_;
    bool coarse_;  // amounts are such that sums are exact
    bool deep_;    // all tables are compared after every call, not only at the end
    long calls_ = 0;
};

// What is played; a finding tells it.
extern std::string inputName;

// Aborts with the text, for a fuzzer to keep what led there.
void require(bool holds, const char* otherwise);
