// Random calls, compared with the twin after each.
//
//     kavril_play FROM TO             plays the sequences of these seeds
//     kavril_play --case FILE...      plays kept inputs
//     kavril_play --list SEED|FILE    prints the calls of a sequence and their results
//     kavril_play --record FROM TO    the same for entry points alone, and their output
//     kavril_play --faults RUNS FILE...  plays inputs, memory ending here and there
//     kavril_play --soak CALLS SEED   long sequences; memory in use must not grow
//     kavril_play --threads N FROM TO N threads play the sequences of these seeds, and
//                                     between the calls others on shared sessions
//
// The first difference ends it: the input is made as small as it gets by dropping calls
// and written to the file "difference", and the calls that are left are printed.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <utility>

#include "player/play.h"

namespace {

constexpr unsigned kSeconds = 60;  // that one input may take
Rules rules;
long calls = 0;

std::string play(const Input& input) {
    return playInput(input, rules, [](const Player& player) { calls += player.calls(); });
}

Input inputOf(long seed, std::size_t records = 0) {
    std::mt19937 random(static_cast<unsigned>(seed));
    const std::size_t drawn = 20 + random() % 140;
    Input input(kRecord * (records > 0 ? records : drawn));
    for (std::uint8_t& byte : input) byte = static_cast<std::uint8_t>(random());
    return input;
}

// A file, or the number of a seed.
Input inputOf(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return file ? Input(std::istreambuf_iterator<char>(file), {})
                : inputOf(std::stol(name));
}

// Runs act in a process of its own; false if that ends badly.
template <class Act>
bool holdsApart(Act act) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        alarm(kSeconds);
        const bool holds = act();
        std::fflush(nullptr);
        _exit(holds ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0;
}

// Drops records, many at first, as long as the rest still fails.
Input shrunk(Input input) {
    for (std::size_t width = input.size() / kRecord / 2; width > 0; width /= 2)
        for (std::size_t at = kRecord; at < input.size();) {
            const std::size_t end = std::min(at + width * kRecord, input.size());
            Input less(input.begin(), input.begin() + static_cast<long>(at));
            less.insert(less.end(), input.begin() + static_cast<long>(end), input.end());
            if (holdsApart([&] { return play(less).empty(); }))
                at = end;
            else
                input = less;
        }
    return input;
}

bool tell(const std::string& name, const Input& found) {
    const Input input = shrunk(found);
    std::ofstream("difference", std::ios::binary)
        .write(reinterpret_cast<const char*>(input.data()),
               static_cast<std::streamsize>(input.size()));
    std::printf("%s differs; %zu of %zu calls are left, kept in the file difference:\n",
                name.c_str(), input.size() / kRecord - 1, found.size() / kRecord - 1);
    const bool fine = holdsApart([&] {
        const std::string wrong = playInput(input, rules, [](const Player& player) {
            for (const std::string& call : player.trace())
                std::printf("    %s\n", call.c_str());
        });
        std::printf("%s\n", wrong.c_str());
        return wrong.empty();
    });
    if (fine) std::printf("not twice the same\n");
    return false;
}

// Plays inputs in one process, which any of them may end; what it was is found out anew.
template <class InputAt>
bool playAll(long from, long to, InputAt inputAt) {
    void* shared = mmap(nullptr, sizeof(long), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) return false;
    volatile long& last = *static_cast<long*>(shared);
    const bool fine = holdsApart([&] {
        for (long i = from; i <= to; i++) {
            alarm(kSeconds);
            last = i;
            if (!play(inputAt(i)).empty()) return false;
        }
        std::printf("%ld calls\n", calls);
        return true;
    });
    return fine || tell("input " + std::to_string(last), inputAt(last));
}

// Prints calls and results for somebody who makes the same calls elsewhere.
bool list(const Input& input) {
    const std::string wrong = playInput(input, rules, [](const Player& player) {
        for (std::size_t i = 0; i < player.printed().size(); i++) {
            if (rules.entryPointsOnly) std::fputs(player.printed()[i].c_str(), stdout);
            std::printf("%s\n", player.trace()[i].c_str());
        }
    });
    if (!wrong.empty()) std::printf("%s\n", wrong.c_str());
    return wrong.empty();
}

bool record(long from, long to) {
    rules.entryPointsOnly = true;
    for (long seed = from; seed <= to; seed++) {
        std::puts("new");
        if (!list(inputOf(seed))) return false;
    }
    return true;
}

// In runs spread over the allocations of an input, one of them fails, or all from there.
bool playShort(const Input& input, long runs) {
    rules.entryPointsOnly = true;
    for (bool ofMachine : {false, true})
        for (bool staysShort : {false, true}) {
            if (ofMachine && staysShort) continue;
            rules.ofMachine = ofMachine;
            rules.staysShort = staysShort;
            rules.failing = 1L << 40;
            long all = 0;
            playInput(input, rules,
                      [&](const Player& player) { all = (1L << 40) - player.failing(); });
            // Those of the machine are few, and each has a way out of its own.
            const long nb = ofMachine ? all : std::min(runs, all);
            for (long run = 0; run < nb; run++) {
                rules.failing = 1 + run * all / nb;
                if (!holdsApart([&] { return play(input).empty(); }))
                    return tell("allocation " + std::to_string(rules.failing), input);
            }
        }
    return true;
}

double residentMiB() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / 1048576.0;
}

// Sequences long enough to use all ids again and again.
bool soak(long most, long seed) {
    double halves[2] = {};
    for (; calls < most; seed++) {
        const std::string wrong = play(inputOf(seed, 2000));
        if (!wrong.empty())
            return tell("seed " + std::to_string(seed), inputOf(seed, 2000));
        double& peak = halves[calls < most / 2 ? 0 : 1];
        peak = std::max(peak, residentMiB());
    }
    std::printf("%ld calls; resident %.1f MiB in the first half, %.1f in the second\n",
                calls, halves[0], halves[1]);
    // The first sequences also fill the pool of memory.
    const double growth = most < 100000 ? 1.5 : 1.1;
    return halves[1] <= growth * halves[0] + 2.0;
}

bool playBesideOthers(long threads, long from, long to) {
    std::string wrong;
    stderr = std::fopen("/dev/null", "w");
    std::FILE* screen = std::exchange(stdout, stderr);
    const long played = playInThreads(
        threads, from, to, [](long seed) { return inputOf(seed); }, &wrong);
    std::fprintf(screen, "%ld calls in %ld threads\n%s", played, threads, wrong.c_str());
    std::fclose(screen);
    return wrong.empty();
}

bool run(const std::vector<std::string>& args) {
    const std::string& mode = args.at(0);
    auto number = [&](std::size_t i) { return std::stol(args.at(i)); };
    auto file = [&](long i) { return inputOf(args.at(static_cast<std::size_t>(i))); };
    const auto nb = static_cast<long>(args.size());
    if (mode == "--case") return playAll(1, nb - 1, file);
    if (mode == "--list") return list(inputOf(args.at(1)));
    if (mode == "--soak") return soak(number(1), number(2));
    if (mode == "--threads") return playBesideOthers(number(1), number(2), number(3));
    if (mode == "--record") return record(number(1), number(2));
    if (mode == "--faults") {
        bool fine = true;
        for (long i = 2; i < nb; i++) fine = playShort(file(i), number(1)) && fine;
        return fine;
    }
    return playAll(number(0), number(1), [](long seed) { return inputOf(seed); });
}

}  // namespace

int main(int argc, char** argv) try {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && args[0] == "--tame") {
        rules.tame = true;
        args.erase(args.begin());
    }
    return run(args) ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception& e) {
    std::fprintf(stderr, "kavril_play: %s; the source tells how to call it\n", e.what());
    return EXIT_FAILURE;
}
