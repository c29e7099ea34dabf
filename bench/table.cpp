// The rows on all networks, as tables in Markdown:
//
//     kavril_bench [--full] [--only=NAME] [--row=NAME] [--repeat=N] [--examples=DIR]
//                  [--data=DIR]
#include <algorithm>
#include <boost/version.hpp>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "apart.h"
#include "rows.h"

namespace {

// In seconds.
struct Figures {
    double median;
    double p99;
    double perUnit;  // median
    double floor;    // median

    double ratio() const { return median / floor; }
};

// Times that of AS 1239.
struct Growth {
    double request;
    double placePerHop;
};

// What the process of a network reports.
struct Result {
    char name[32];
    bool synthetic;
    StateFacts facts;
    Figures rows[NB_ROWS];
    double plain;   // seconds, 0 if not measured
    Growth growth;  // of synthetic networks

    double resident() const { return facts.linkBytes + facts.lspBytes; }
};

Figures measure(Rig& rig, const Row& row, const Options& options,
                std::vector<std::function<void()>>* checks) {
    const std::size_t samples = options.full ? 2000 : 300;
    const double end = secondsNow() + (options.full ? 20.0 : 1.5);
    std::vector<double> seconds, perUnit, floor;
    for (int warmUp = 0; warmUp < 5; warmUp++) row.measure(rig);
    while (seconds.size() < samples && (seconds.size() < 20 || secondsNow() < end)) {
        const Sample sample = row.measure(rig);
        seconds.push_back(sample.seconds);
        perUnit.push_back(sample.seconds / sample.units);
        floor.push_back(sample.floorSeconds);
        checks->push_back(sample.verify);
    }
    return {quantile(seconds, 0.5), quantile(seconds, 0.99), quantile(perUnit, 0.5),
            quantile(floor, 0.5)};
}

// The speed of a machine may change within seconds, so that networks are compared by
// turns.
Growth measureGrowth(Rig& rig, const Options& options) {
    Rig reference(readLarge(options.repetita), {kLargeOffered});
    auto ratio = [&](const Row& row) {
        std::vector<double> here, there;
        for (int turn = 0; turn < (options.full ? 100 : 30); turn++)
            for (Rig* at : {&reference, &rig})
                for (int i = 0; i < 10; i++) {
                    const Sample sample = row.measure(*at);
                    (at == &rig ? here : there).push_back(sample.seconds / sample.units);
                }
        return quantile(here, 0.5) / quantile(there, 0.5);
    };
    return {ratio(kRows[REQUEST]), ratio(kRows[PLACEMENT])};
}

// Answers are verified when all rows have been measured.
void measureRows(const Network& network, Long offered, const Options& options,
                 Result* result) {
    std::snprintf(result->name, sizeof result->name, "%s", network.name.c_str());
    result->synthetic = network.synthetic;
    configure();
    Rig rig(network, {offered});
    result->facts = rig.state.facts;
    std::vector<std::function<void()>> checks;
    for (int i = 0; i < NB_ROWS; i++)
        result->rows[i] = measure(rig, kRows[i], options, &checks);
    if (network.links.size() <= kPlainLinks) {
        std::vector<double> plain;
        for (int i = 0; i < 3; i++) plain.push_back(plainRequest(rig).seconds);
        result->plain = quantile(plain, 0.5);
    }
    for (const auto& verify : checks) verify();
    if (network.synthetic) result->growth = measureGrowth(rig, options);
}

std::vector<Result> measureAll(const Options& options) {
    std::vector<Result> results;
    forEachNetwork(options.examples, options.repetita, options.only,
                   [&](const Network& network, Long offered) {
                       Result result = {};
                       runApart(network.name, -1.0, &result, [&](Result* answer) {
                           measureRows(network, offered, options, answer);
                       });
                       results.push_back(result);
                       return true;
                   });
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

// Slope of log(time of a request) over log(links), by least squares.
double exponentOfGrowth(const std::vector<Result>& results) {
    double n = 0.0, sx = 0.0, sy = 0.0, sxx = 0.0, sxy = 0.0;
    for (const Result& r : results) {
        if (!r.synthetic) continue;
        const double x = std::log(r.facts.links), y = std::log(r.growth.request);
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
    double plain = NAN, memory = NAN;
    for (const Result& r : results) {
        if (r.facts.nodes < 315) continue;
        request = std::fmax(request, r.rows[REQUEST].ratio());
        local = std::fmax(local, r.rows[LOCAL].perUnit / r.rows[LOCAL].floor);
        global = std::fmax(global, r.rows[GLOBAL].ratio());
        if (r.synthetic) place = std::fmax(place, r.growth.placePerHop);
        if (r.plain > 0.0) plain = r.plain / r.rows[REQUEST].median;
        if (r.facts.nodes == 2000) memory = mebi(r.resident()) / 1024.0;
    }
    const struct {
        const char* what;
        double limit, aim, measured;
    } figures[] = {
        {"primary request, times the floor", 1.5, 1.0, request},
        {"placing, per hop, times that of AS 1239", 1.3, 1.0, place},
        {"local protection, per search, times the floor", 3.0, 1.0, local},
        {"global protection, times the floor", 5.0, 2.0, global},
        {"exponent of a request's growth with the links", 1.2, 1.0,
         exponentOfGrowth(results)},
        {"GiB resident with 2,000 nodes and 20,000 LSPs", 2.0, 0.5, memory},
        {"plain request, times the fast one (at least)", 500.0, 5000.0, plain},
    };
    std::puts("\n| from 315 nodes on | limit | aim | measured |\n|---|--:|--:|--:|");
    for (const auto& f : figures)
        if (!std::isnan(f.measured))
            std::printf("| %s | %g | %g | %.2f |\n", f.what, f.limit, f.aim, f.measured);
}

double repeatRow(const Row& row, const Options& options) {
    std::vector<double> seconds;
    auto run = [&](const Network& network, Long offered) {
        configure();
        Rig rig(network, {offered});
        while (seconds.size() < options.repeat)
            seconds.push_back(row.measure(rig).seconds);
        return false;
    };
    forEachNetwork(options.examples, options.repetita, options.only, run);
    return quantile(seconds, 0.5);
}

// The median of one row, which is done in this process.
double measureAlone(const Options& options) {
    std::string names;
    auto isMeant = [&](const auto& row) {
        names += std::string("\n  ") + row.name;
        return options.row == row.name;
    };
    for (const Row& row : kRows)
        if (isMeant(row)) return repeatRow(row, options);
    for (const OddRow& row : kOddRows)
        if (isMeant(row)) return measureOdd(row, options).odd;
    for (const JobRow& row : kJobRows)
        if (isMeant(row)) return row.run(readLarge(options.repetita));
    throw std::runtime_error("no row " + options.row + "; there are:" + names);
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
            options.repetita = value + "/repetita";
        else if (name == "--row=")
            options.row = value;
        else if (name == "--repeat=")
            options.repeat = std::stoul(value);
        else
            throw std::runtime_error("unknown option " + arg);
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse(argc, argv);
        if (!options.row.empty()) {
            std::printf("%s: %.1f us\n", options.row.c_str(),
                        1e6 * measureAlone(options));
            return 0;
        }
        const std::vector<Result> results = measureAll(options);
        printMachine(options);
        if (!results.empty()) {
            printStates(results);
            printTimes(results);
            printBars(results);
        }
        printOdd(options);
        printThreads(options);
        printJournal(options);
        printJobs(options);
        printWasm(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
