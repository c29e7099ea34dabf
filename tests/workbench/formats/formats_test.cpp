// What the formats have in common, how untidy files are tidied up, and that what is
// written is read back as it was.
#include <gmock/gmock.h>

#include <charconv>
#include <cmath>
#include <map>
#include <random>
#include <sstream>

#include "cli/error.h"
#include "cli/file.h"
#include "formats/draft.h"
#include "formats/tidy.h"
#include "formats/units.h"
#include "formats/write.h"

namespace workbench {
namespace {

using testing::ElementsAre;

std::string sample(const std::string& name) {
    return readFile(std::string(KAVRIL_SAMPLES "/") + name);
}

Network read(const std::string& text, Findings& findings,
             const ReadOptions& options = {}) {
    return tidyNetwork(parse(sourceOf("sample", text)), options, findings);
}

std::vector<std::string> linksOf(const Network& network) {
    std::vector<std::string> lines;
    for (const Link& link : network.links)
        lines.push_back(linkName(network, link.id) + " " +
                        formatBandwidth(link.capacity, network.unit));
    return lines;
}

// "merged-link 2, self-loop 1"
std::string countsOf(const Findings& findings) {
    std::map<std::string, int> counts;
    for (const Finding& finding : findings) counts[keyOf(finding.kind)]++;
    std::string text;
    for (const auto& [key, count] : counts)
        text += (text.empty() ? "" : ", ") + key + " " + std::to_string(count);
    return text;
}

struct Sample {
    const char *network, *demands, *third;
    bool hasPositions = true;
};
const Sample kSamples[] = {{"net.graphml", "net.xml", "Cork Hill"},
                           {"net.xml", "net.xml", "Cork Hill"},
                           {"net.txt", "net.txt", "Cork_Hill"},
                           {"net.graph", "demands.demands", "Cork_Hill"},
                           {"net.json", "demands.json", "Cork Hill"},
                           {"net.csv", "demands.csv", "Cork Hill", false}};

TEST(EveryFormat, GivesTheSameNetworkAndDemands) {
    for (const Sample& one : kSamples) {
        SCOPED_TRACE(one.network);
        Findings findings;
        const Network network = read(sample(one.network), findings);
        const std::string third = one.third;
        EXPECT_EQ("Mbit/s", network.unit);
        EXPECT_EQ(one.hasPositions, network.geographic);
        ASSERT_EQ(3u, network.nodes.size());
        if (one.hasPositions) {
            EXPECT_EQ(-8.5, network.nodes[2].position->x);
            EXPECT_EQ(52, network.nodes[2].position->y);
        }
        EXPECT_THAT(
            linksOf(network),
            ElementsAre("Aix > Bonn 1 Gbit/s", "Bonn > Aix 1 Gbit/s",
                        "Bonn > " + third + " 2.5 Gbit/s", third + " > Bonn 2.5 Gbit/s",
                        "Aix > " + third + " 1 Gbit/s", third + " > Aix 1 Gbit/s"));
        const Demands demands = tidyDemands(
            parse(sourceOf("sample", sample(one.demands))), network, findings);
        ASSERT_EQ(2u, demands.demands.size());
        EXPECT_EQ(0, demands.demands[0].src);
        EXPECT_EQ(2, demands.demands[0].dst);
        EXPECT_EQ(0.25, demands.demands[0].bandwidth);
        EXPECT_EQ("D2", demands.demands[1].name);
        EXPECT_EQ(6, demands.demands[1].bandwidth);
    }
}

struct Untidy {
    const char* text;
    ReadOptions options;
    std::vector<std::string> links;
    const char* findings;
};
const char* const kTwoWay =
    "NODES (\n A ( )\n B ( 500 20 )\n)\n"
    "LINKS (\n 1 ( A B ) 5 0 0 0 ( )\n 2 ( B A ) 7 0 0 0 ( )\n)\n";
const Untidy kUntidy[] = {
    // Parallel to e0, e0 once more, a loop, no capacity, the same label with other ends.
    {"NODES 4\nlabel x y\nA 0 0\nB 0 0\nA 0 0\nD 0 0\nEDGES 7\nlabel src dest weight bw "
     "d\n"
     "e0 0 1 10 1000 1\ne1 0 1 20 2000 2\ne0 0 1 10 1000 1\ne2 1 1 10 1000 1\n"
     "e3 1 0 10 0 1\ne4 1 2 10 1000 1\ne4 2 1 10 1000 1\n",
     {.defaultCapacity = 40},
     {"A > B 3 Mbit/s", "B > A 40 Mbit/s", "B > A (2) 1 Mbit/s", "A (2) > B 1 Mbit/s"},
     "default-capacity 1, duplicate-link 1, merged-link 1, renamed-node 1, self-loop 1, "
     "separate-components 2"},
    {kTwoWay, {}, {"A > B 5", "B > A 7"}, "assumed-direction 1"},
    {kTwoWay,
     {.direction = Direction::Undirected},
     {"A > B 12", "B > A 12"},
     "merged-link 2, undirected-link 2"},
    {"<graphml><key id='l' for='node' attr.name='label'/>"
     "<key id='h' for='node' attr.name='hyperedge'/><graph edgedefault='directed'>"
     "<node id='n1'><data key='l'>Ulm</data></node>"
     "<node id='n2'><data key='l'>Ulm</data></node>"
     "<node id='n3'><data key='l'> </data></node>"
     "<node id='n4'><data key='l'>None</data><data key='h'>1</data></node>"
     "<edge source='n1' target='n2'/><edge source='n2' target='n3' directed='false'/>"
     "<edge source='n3' target='n4'/></graph></graphml>",
     {.scaleCapacity = 0.5, .setCapacity = {{"ULM>ulm (2)", 30}}},
     {"Ulm > Ulm (2) 30 Mbit/s", "Ulm (2) > node n3 5 Gbit/s",
      "node n3 > Ulm (2) 5 Gbit/s", "node n3 > hyperedge n4 5 Gbit/s"},
     "default-capacity 3, renamed-node 2, undirected-link 1"},
    {"src;dst;capacity\nA;B;1,5\nB;A;2\n\n\"A\"\"\";B;3\n",
     {},
     {"A > B 3.5", "B > A 3.5", "A\" > B 3", "B > A\" 3"},
     "assumed-direction 1, merged-link 2, undirected-link 3"},
};

TEST(Untidy, LinksAreMergedDroppedAndFilledIn) {
    for (const Untidy& one : kUntidy) {
        SCOPED_TRACE(one.text);
        Findings findings;
        const Network network = read(one.text, findings, one.options);
        EXPECT_EQ(one.links, linksOf(network));
        EXPECT_EQ(one.findings, countsOf(findings));
    }
}

TEST(Untidy, DemandsForNothingAreDropped) {
    Findings findings;
    const Network network = read(sample("net.graph"), findings);
    findings.clear();
    const Draft draft = parse({"m",
                               "DEMANDS 5\nlabel src dest bw\n"
                               "a 0 0 5\nb 0 1 0\nc 0 7 5\nd 0 1 5\ne 0 1 6\n"});
    EXPECT_EQ(2u, tidyDemands(draft, network, findings).demands.size())
        << "repeated pairs are demands of their own";
    EXPECT_EQ("self-demand 1, unknown-node-demand 1, zero-demand 1", countsOf(findings));
    EXPECT_EQ("m:5: demand c 0 > 7", findings[2].text);
}

// A file that ends too early is refused or read, but nothing else happens; how it marks
// its lines, and an old set of characters, make no difference.
TEST(Text, PrefixesAndEncodings) {
    int refused = 0;
    for (const Sample& one : kSamples) {
        const std::string text = sample(one.network);
        for (std::size_t size = 0; size < text.size(); size++) try {
                Findings findings;
                read(text.substr(0, size), findings);
            } catch (const UserError&) {
                refused++;
            }
        std::string dos = "\xEF\xBB\xBF";
        for (const char letter : text)
            dos += letter == '\n' ? "\r\n" : std::string(1, letter);
        Findings findings;
        EXPECT_EQ(6u, read(dos, findings).links.size()) << one.network;
    }
    EXPECT_GT(refused, 2000);
    Findings findings;
    for (const char* name : {"K\xF6ln", "K\xC3\xB6ln"})
        EXPECT_EQ("K\xC3\xB6ln",
                  read("NODES 1\nlabel x y\n" + std::string(name) + " 1 1\n", findings)
                      .nodes[0]
                      .name);
}

struct Written {
    Format format;
    bool names, metric, positions;  // that it keeps; metric and delay together
};
const Written kWritten[] = {{Format::Json, true, true, true},
                            {Format::Repetita, false, true, true},
                            {Format::SndlibNative, false, false, true},
                            {Format::SndlibXml, false, false, true},
                            {Format::Graphml, true, true, true},
                            {Format::Csv, true, true, false},
                            {Format::Tsv, true, true, false}};

// One-way links, kbit/s that are no round decimals, names that need quoting everywhere. A
// ring, so that a table of links has all nodes, in their order.
Network randomNetwork(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    Network network{
        .name = "", .unit = "Mbit/s", .geographic = true, .nodes = {}, .links = {}};
    const int nodes = 3 + static_cast<int>(random() % 7);
    const char* const kNames[] = {"Sankt <Gallen>", "a&b \"c\", d", "K\xC3\xB6ln",
                                  "=(#1)"};
    for (int id = 0; id < nodes; id++)
        network.nodes.push_back(
            {id, id < 4 ? kNames[id] : "n" + std::to_string(id),
             Position{0.1 * static_cast<double>(random() % 1700) + 0.1,
                      0.3 * static_cast<double>(random() % 200)}});
    for (int step = 1; step < nodes; step++)
        for (int src = 0; src < nodes; src++)
            if (step == 1 || random() % 3 != 0) {
                Link link = {};
                link.id = static_cast<int>(network.links.size());
                link.src = src;
                link.dst = (src + step) % nodes;
                link.capacity = static_cast<double>(1 + random() % 99999999) / 1000;
                link.metric = static_cast<double>(random() % 100);
                link.delay = static_cast<double>(random() % 1000) / 7;
                link.name = "link " + std::to_string(random() % 4);
                network.links.push_back(link);
            }
    return network;
}

Demands randomDemands(const Network& network, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    Demands demands{.name = "", .unit = "Mbit/s", .demands = {}};
    const int nodes = static_cast<int>(network.nodes.size());
    for (int i = 0; i < 20; i++) {
        const int src = static_cast<int>(random() % nodes);
        const int dst = (src + 1 + static_cast<int>(random() % (nodes - 1))) % nodes;
        demands.demands.push_back(
            {src, dst, static_cast<double>(1 + random() % 9999999) / 1000, "d"});
    }
    return demands;
}

void expectSame(const Network& network, const Network& again, const Written& kept) {
    ASSERT_EQ(network.nodes.size(), again.nodes.size());
    for (const Node& node : network.nodes) {
        EXPECT_EQ(kept.names ? node.name : again.nodes[node.id].name,
                  again.nodes[node.id].name);
        if (!kept.positions) continue;
        EXPECT_EQ(node.position->x, again.nodes[node.id].position->x);
        EXPECT_EQ(node.position->y, again.nodes[node.id].position->y);
    }
    ASSERT_EQ(network.links.size(), again.links.size());
    EXPECT_EQ(network.unit, again.unit);
    for (const Link& link : network.links) {
        const Link& other = again.links[link.id];
        EXPECT_EQ(link.src, other.src);
        EXPECT_EQ(link.dst, other.dst);
        EXPECT_EQ(link.capacity, other.capacity);
        if (!kept.metric) continue;
        EXPECT_EQ(link.metric, other.metric);
        EXPECT_EQ(link.delay, other.delay);
    }
}

TEST(EveryWriter, WhatItWritesComesBackAsItWas) {
    for (const Written& one : kWritten)
        for (std::uint64_t seed = 1; seed <= 30; seed++) {
            SCOPED_TRACE(static_cast<int>(one.format) * 1000 + seed);
            const Network network = randomNetwork(seed);
            Findings findings;
            expectSame(network,
                       read(networkText(network, one.format, findings), findings,
                            {.direction = Direction::Directed}),
                       one);
            if (one.format == Format::Graphml) continue;
            const Demands demands = randomDemands(network, seed);
            const Draft draft =
                parse(sourceOf("f", demandsText(demands, network, one.format, findings)));
            // A file with nodes is read with its own names for them.
            const Network own =
                draft.nodes.empty() ? network : tidyNetwork(draft, {}, findings);
            const Demands again = tidyDemands(draft, own, findings);
            ASSERT_EQ(demands.demands.size(), again.demands.size());
            for (std::size_t i = 0; i < demands.demands.size(); i++) {
                EXPECT_EQ(demands.demands[i].src, again.demands[i].src);
                EXPECT_EQ(demands.demands[i].dst, again.demands[i].dst);
                EXPECT_EQ(demands.demands[i].bandwidth, again.demands[i].bandwidth);
            }
        }
}

TEST(EveryWriter, NotesWhatIsLost) {
    Findings ignored;
    Network network = read(sample("net.graph"), ignored);
    network.unit = "";
    network.links[0].colour = 5;
    Findings findings;
    networkText(network, Format::SndlibXml, findings);
    networkText(network, Format::Repetita, findings);
    networkText(network, Format::Csv, findings);
    EXPECT_EQ("assumed-unit 1, lost-attribute 5", countsOf(findings));
    EXPECT_EQ("colour of 1 links: SNDlib has no place for it", findings[0].text);
}

// As std::from_chars does, but for what is not finite.
TEST(Numbers, AreReadAsTheyAlwaysWere) {
    std::mt19937 random(1);
    const std::string starts[] = {"", "-", "4.9e-32", "1.7976931348623157e30", "9"};
    const std::string letters = "0123456789.eE+-xinf";
    for (int i = 0; i < 100000; i++) {
        std::string text = starts[random() % std::size(starts)];
        while (random() % 5 != 0) text += letters[random() % letters.size()];
        const char* first = text.data() + (text.size() > 1 && text.starts_with('+') &&
                                           !text.starts_with("+-"));
        const char* last = text.data() + text.size();
        double value = 0.0;
        const auto [end, error] = std::from_chars(first, last, value);
        const bool isNumber = error == std::errc() && end == last && std::isfinite(value);
        EXPECT_EQ(isNumber ? std::optional(value) : std::nullopt, parseNumber(text))
            << text;
    }
}

}  // namespace
}  // namespace workbench
