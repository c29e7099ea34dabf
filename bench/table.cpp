// The rows on all networks, as tables in Markdown:
//
//     kavril_bench [--full] [--only=NAME] [--examples=DIR] [--data=DIR]
//
// Every network is measured in a process of its own, because freed memory is kept for
// reuse: figures of memory would depend on what came before.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <boost/version.hpp>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "rows.h"

namespace {

struct Options {
    bool full = false;
    std::string only;
    std::string examples = "examples/data";
    std::string data = "../shared/data";
};

// In seconds.
struct Figures {
    double median;
    double p99;
    double perUnit;  // median
    double floor;    // median

    double ratio() const { return median / floor; }
};

// What the process of a network reports. Plain memory: it goes through a pipe.
struct Result {
    char failure[200];
    char name[32];
    bool synthetic;
    StateFacts facts;
    Figures rows[NB_ROWS];
    double plain;  // seconds, 0 if not measured

    double resident() const { return facts.linkBytes + facts.lspBytes; }
};

double quantile(std::vector<double> values, double q) {
    if (values.empty()) return 0.0;
    const auto index =
        static_cast<std::ptrdiff_t>(q * static_cast<double>(values.size()));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[index];
}

// Answers are verified when all have been timed.
Figures measure(Rig& rig, const Row& row, const Options& options) {
    const std::size_t samples = options.full ? 2000 : 300;
    const double end = secondsNow() + (options.full ? 20.0 : 1.5);
    std::vector<double> seconds, perUnit, floor;
    std::vector<std::function<void()>> checks;
    for (int warmUp = 0; warmUp < 5; warmUp++) row.measure(rig);
    while (seconds.size() < samples && (seconds.size() < 20 || secondsNow() < end)) {
        const Sample sample = row.measure(rig);
        seconds.push_back(sample.seconds);
        perUnit.push_back(sample.seconds / sample.units);
        floor.push_back(sample.floorSeconds);
        checks.push_back(sample.verify);
    }
    for (const auto& verify : checks) verify();
    return {quantile(seconds, 0.5), quantile(seconds, 0.99), quantile(perUnit, 0.5),
            quantile(floor, 0.5)};
}

void measureNetwork(const Network& network, Long offered, const Options& options,
                    Result* result) {
    configure();
    Rig rig(network, offered);
    result->facts = rig.state.facts;
    for (int i = 0; i < NB_ROWS; i++) {
        std::snprintf(result->failure, sizeof result->failure, "%s: ", kRows[i].name);
        result->rows[i] = measure(rig, kRows[i], options);
    }
    constexpr std::size_t kPlainLinks = 2000;  // with more it takes too long
    if (network.links.size() > kPlainLinks) return;
    std::vector<double> plain;
    for (int i = 0; i < 3; i++) plain.push_back(plainRequest(rig).seconds);
    result->plain = quantile(plain, 0.5);
}

Result measureApart(const Network& network, Long offered, const Options& options) {
    Result result = {};
    std::snprintf(result.name, sizeof result.name, "%s", network.name.c_str());
    result.synthetic = network.synthetic;
    int ends[2];
    if (pipe(ends) < 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        try {
            measureNetwork(network, offered, options, &result);
            result.failure[0] = '\0';
        } catch (const std::exception& e) {
            const std::string text = std::string(result.failure) + e.what();
            std::snprintf(result.failure, sizeof result.failure, "%s", text.c_str());
        }
        const bool written = write(ends[1], &result, sizeof result) == sizeof result;
        _exit(written ? 0 : 1);
    }
    close(ends[1]);
    const bool received = read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (!received || result.failure[0] != '\0')
        throw std::runtime_error(network.name + ": " +
                                 (received ? result.failure : "the process has died"));
    return result;
}

// The networks, and how many primaries are offered to each.
std::vector<Result> measureAll(const Options& options) {
    std::vector<Result> results;
    auto add = [&](const Network& network, Long offered) {
        if (network.name.find(options.only) == std::string::npos) return;
        std::fprintf(stderr, "%s ...\n", network.name.c_str());
        results.push_back(measureApart(network, offered, options));
    };
    add(readExample(options.examples + "/abilene.txt"), 2000);
    const std::string repetita = options.data + "/repetita";
    if (std::filesystem::exists(repetita)) {
        for (const char* name : {"Geant2012", "rf1221_real_hard", "Interoute",
                                 "rf6461_real_hard", "Colt", "Cogentco"})
            add(readRepetita(repetita, name), 3000);
        add(readRepetita(repetita, "rf1239_real_hard"), 5000);
    } else {
        std::fprintf(stderr, "No %s: without the Repetita networks\n", repetita.c_str());
    }
    add(makeSynthetic(1000, 4000), 10'000);
    add(makeSynthetic(2000, 8000), 20'000);
    add(makeSynthetic(5000, 20'000), 10'000);
    return results;
}

double mebi(double bytes) {
    return bytes / 1048576.0;
}

void printMachine(const Options& options) {
    std::string model = "unknown processor";
    std::ifstream cpuinfo("/proc/cpuinfo");
    for (std::string line; std::getline(cpuinfo, line);)
        if (line.starts_with("model name")) model = line.substr(line.find(':') + 2);
    const std::time_t now = std::time(nullptr);
    char date[16];
    std::strftime(date, sizeof date, "%Y-%m-%d", std::localtime(&now));
#ifdef __clang__
    const char* compiler = "clang " __clang_version__;
#else
    const char* compiler = "g++ " __VERSION__;
#endif
    std::printf("%s, %s, %u cores; %s mode; %s, Boost %s.\n\n", date, model.c_str(),
                std::thread::hardware_concurrency(), options.full ? "full" : "quick",
                compiler, BOOST_LIB_VERSION);
}

void printStates(const std::vector<Result>& results) {
    std::puts(
        "| network | nodes | links | primaries, of those offered | protected "
        "| backups | reserved | placed in | resident | accounted | per link "
        "| per LSP |\n|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|");
    for (const Result& r : results) {
        const StateFacts& f = r.facts;
        std::printf(
            "| %s | %d | %d | %d, %.0f %% | %d | %d | %.0f %% | %.1f s "
            "| %.0f MiB | %.0f MiB | %.0f B | %.0f B |\n",
            r.name, f.nodes, f.links, f.primaries, 100.0 * f.primaries / f.offered,
            f.protectedOnes, f.backups, 100.0 * f.reserved, f.seconds, mebi(r.resident()),
            mebi(f.allocated), f.linkBytes / f.links,
            f.lspBytes / (f.primaries + f.backups));
    }
}

void printTimes(const std::vector<Result>& results) {
    std::printf("\n| network | floor");
    for (const Row& row : kRows) std::printf(" | %s", row.name);
    std::puts(
        " | place, per hop | local, per search | plain request |\n"
        "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|");
    for (const Result& r : results) {
        std::printf("| %s | %.1f", r.name, 1e6 * r.rows[REQUEST].floor);
        for (const Figures& f : r.rows) {
            std::printf(" | %.1f, %.1f", 1e6 * f.median, 1e6 * f.p99);
            if (f.floor > 0.0) std::printf(", %.1f ×", f.ratio());
        }
        const Figures& local = r.rows[LOCAL];
        std::printf(" | %.2f | %.1f, %.1f × |", 1e6 * r.rows[PLACEMENT].perUnit,
                    1e6 * local.perUnit, local.perUnit / local.floor);
        if (r.plain > 0.0)
            std::printf(" %.0f, %.0f ×", 1e6 * r.plain, r.plain / r.rows[REQUEST].median);
        std::puts(" |");
    }
}

// Slope of log(time) over log(links), by least squares.
double growth(const std::vector<Result>& results) {
    double n = 0.0, sx = 0.0, sy = 0.0, sxx = 0.0, sxy = 0.0;
    for (const Result& r : results) {
        if (!r.synthetic) continue;
        const double x = std::log(r.facts.links), y = std::log(r.rows[REQUEST].median);
        n++;
        sx += x;
        sy += y;
        sxx += x * x;
        sxy += x * y;
    }
    return n < 2.0 ? NAN : (n * sxy - sx * sy) / (n * sxx - sx * sx);
}

// The worst of the large networks.
void printBars(const std::vector<Result>& results) {
    double request = NAN, local = NAN, global = NAN, place = NAN;
    double firstPlace = NAN, plain = NAN, memory = NAN;
    for (const Result& r : results) {
        if (r.facts.nodes < 315) continue;
        request = std::fmax(request, r.rows[REQUEST].ratio());
        local = std::fmax(local, r.rows[LOCAL].perUnit / r.rows[LOCAL].floor);
        global = std::fmax(global, r.rows[GLOBAL].ratio());
        place = std::fmax(place, r.rows[PLACEMENT].perUnit);
        if (std::isnan(firstPlace)) firstPlace = place;
        if (r.plain > 0.0) plain = r.plain / r.rows[REQUEST].median;
        if (r.facts.nodes == 2000) memory = mebi(r.resident()) / 1024.0;
    }
    const struct {
        const char* what;
        double limit, aim, measured;
    } figures[] = {
        {"primary request, times the floor", 3.0, 1.0, request},
        {"placing, per hop, times that of the smallest", 1.3, 1.0, place / firstPlace},
        {"local protection, per search, times the floor", 3.0, 1.0, local},
        {"global protection, times the floor", 5.0, 2.0, global},
        {"exponent of a request's growth with the links", 1.2, 1.0, growth(results)},
        {"GiB resident with 2,000 nodes and 20,000 LSPs", 2.0, 0.5, memory},
        {"plain request, times the fast one (at least)", 500.0, 5000.0, plain},
    };
    std::puts("\n| from 315 nodes on | limit | aim | measured |\n|---|--:|--:|--:|");
    for (const auto& f : figures)
        if (!std::isnan(f.measured))
            std::printf("| %s | %g | %g | %.2f |\n", f.what, f.limit, f.aim, f.measured);
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; i++) {
        const std::string arg = argv[i];
        const std::string name = arg.substr(0, arg.find('=') + 1);
        const std::string value = arg.substr(name.size());
        if (arg == "--full")
            options.full = true;
        else if (name == "--only=")
            options.only = value;
        else if (name == "--examples=")
            options.examples = value;
        else if (name == "--data=")
            options.data = value;
        else
            throw std::runtime_error("unknown option " + arg);
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse(argc, argv);
        const std::vector<Result> results = measureAll(options);
        printMachine(options);
        printStates(results);
        printTimes(results);
        printBars(results);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
