// Plays calls that are decoded from bytes, on the library and on its twin: entry points
// through a fake virtual machine, and functions of the C++ interface between them. After
// each call everything that a caller can see is compared.
//
// An input is a header and records of one size, one record a call, so that dropping calls
// leaves the others as they are.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <set>

#include "player/compare.h"
#include "support/fake_jni.h"

constexpr std::size_t kRecord = 40;

// Reads 0 where the input has ended.
class Bytes {
  public:
    Bytes() = default;
    Bytes(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}
    bool empty() const { return next_ == end_; }
    int byte() { return empty() ? 0 : *next_++; }
    int below(std::size_t n) { return byte() % static_cast<int>(n); }
    bool oneIn(std::size_t n) { return below(n) == 1; }
    template <class Container>
    auto& anyOf(Container& from) {
        return *std::next(std::begin(from), below(std::size(from)));
    }

  private:
    const std::uint8_t* next_ = nullptr;
    const std::uint8_t* end_ = nullptr;
};

// What a player may do, and when memory ends: of the library, for one allocation or for
// all of some calls, or of the virtual machine.
struct Rules {
    bool entryPointsOnly = false;
    bool tame = false;  // nothing that the core is known to do wrong
    long failing = 0;
    bool staysShort = false;
    bool ofMachine = false;
    // Other threads play, too: what they share with this one is not compared.
    bool besideOthers = false;
    std::function<void()> between = {};  // what happens between two calls
};

class Player {
  public:
    Player(const std::vector<std::uint8_t>& input, Rules rules = {});
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // Throws Difference.
    void play();
    // The calls and their results, and what each has printed.
    const std::vector<std::string>& trace() const { return trace_; }
    const std::vector<std::string>& printed() const { return printed_; }
    long calls() const { return calls_; }
    // Allocations that are left before memory ends.
    long failing() const { return failing_; }

  private:
    // An object of the application, on both sides.
    struct Caller {
        jobject object;
        twin::Object plain;
        std::string journal;  // of its session, "" for none
        twin::Stack atBase;   // what its stack was when the journal took its base
    };
    // A link state in a caller's hands, or a topology full of them.
    struct HandedOut {
        Long session;
        twin::Hop hop;
        DBLinkState* state;
    };
    struct HeldTopology {
        Long session = -1;
        twin::Request request = {};
        ScopedTopo topo = {};
        twin::Topology plain = {};
        std::set<twin::Hop> links = {};
    };

    void step();
    // Run a call on the twin, then on the library; each tells what came of it.
    void call(const std::string& what, const std::function<std::string()>& plain,
              const std::function<std::string()>& real);
    void entry(const std::string& what, const std::function<twin::Result()>& plain,
               const std::function<twin::Result()>& real);
    void core(const std::string& what,
              const std::function<std::string(twin::Database&)>& plain,
              const std::function<std::string(DataBase*)>& real);
    void callShort(const std::function<std::string()>& plain,
                   const std::function<std::string()>& real);
    bool runShort(const std::function<std::string()>& real, std::string* actual);
    void judge(const std::string& actual, const std::string& texts,
               const std::function<std::string()>& plain,
               const std::function<std::string()>& real);
    void compareAll(std::size_t from);
    void compareSession(Caller& caller);
    void dropHeld();
    void openAll();
    void abandon();

    // Decoding.
    Long node();
    Long lspId();
    Long anyLsp();
    Long linkId();
    twin::Hop anyHop();
    float single();
    double amount();
    double capacity();
    twin::Ids walk();
    twin::Ids path();
    twin::Lsp lsp();
    twin::Request request();
    twin::LinkState linkState();

    // Calls of entry points.
    void init();
    void kill();
    void print();
    void addNode(Long id);
    void addLink(Long id, twin::Hop hop);
    void buildNetwork();
    void removeLink();
    void removeNode();
    void addPrimary();
    void addBackup();
    void removeLsp();
    void computePath();
    void computeBackups();

    // Calls of the C++ interface.
    void multiply();
    void beginJournal();
    Long openRecovered(const Caller& from);
    void configure();
    void coreAddLink();
    void coreSetState();
    void coreAdd();
    void coreList();
    void coreCompute();
    void coreBackups();
    void coreEvaluate();
    void coreChoose();
    void coreLookUp();
    void coreTakeBack(Long lsp, twin::Hop hop);
    void coreHandOut();
    void coreHoldTopology();
    void coreSearchHeld();

    twin::Session* now() { return twin::session(caller_->plain.sessId); }
    twin::Database& db() { return now()->db; }
    JNIEnv* env() { return vm_.env(); }

    std::vector<std::uint8_t> input_;
    Rules rules_;
    Bytes bytes_;  // of the current record
    FakeVm vm_;
    Caller callers_[3];
    Caller* caller_;
    int palette_ = 0;  // of amounts
    Long nbNodes_ = 0;
    std::vector<HandedOut> handedOut_;
    std::list<HeldTopology> topologies_;
    std::vector<std::string> trace_, printed_;
    long calls_ = 0;
    // Where memory ends.
    long failing_;
    int shortCalls_ = 4;
    bool failed_ = false;
};
