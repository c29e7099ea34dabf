// What is written is read back as it was, as far as the format can hold it.
#include "formats/write.h"

#include <gmock/gmock.h>

#include <random>

#include "cli/error.h"
#include "samples.h"

namespace workbench {
namespace {

struct FormatCase {
    const char* name;
    Format format;
    bool keepsNames;   // with blanks
    bool keepsMetric;  // and delay
};

const FormatCase kFormats[] = {
    {"Json", Format::Json, true, true},
    {"Repetita", Format::Repetita, false, true},
    {"SndlibNative", Format::SndlibNative, false, false},
    {"SndlibXml", Format::SndlibXml, false, false},
    {"Graphml", Format::Graphml, true, true},
};

// One-way links, kbit/s that are no round decimals, names that need quoting everywhere.
Network randomNetwork(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    Network network{
        .name = "", .unit = "Mbit/s", .geographic = true, .nodes = {}, .links = {}};
    const int nodes = 2 + static_cast<int>(random() % 8);
    const char* const kNames[] = {"Sankt <Gallen>", "a&b \"c\"", "K\xC3\xB6ln", "(#1)"};
    for (int id = 0; id < nodes; id++)
        network.nodes.push_back(
            {id, id < 4 ? kNames[id] : "n" + std::to_string(id),
             Position{0.1 * static_cast<double>(random() % 1700) + 0.1,
                      0.3 * static_cast<double>(random() % 200)}});
    for (int src = 0; src < nodes; src++)
        for (int dst = 0; dst < nodes; dst++)
            if (src != dst && random() % 3 != 0) {
                Link link = {};
                link.id = static_cast<int>(network.links.size());
                link.src = src;
                link.dst = dst;
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

class EveryWriter : public testing::TestWithParam<FormatCase> {};

TEST_P(EveryWriter, NetworkComesBackAsItWas) {
    for (std::uint64_t seed = 1; seed <= 30; seed++) {
        SCOPED_TRACE(seed);
        const Network network = randomNetwork(seed);
        Findings findings;
        const std::string text = networkText(network, GetParam().format, findings);
        const Network again = read(text, findings, {.direction = Direction::Directed});
        ASSERT_EQ(network.nodes.size(), again.nodes.size());
        for (const Node& node : network.nodes) {
            if (GetParam().keepsNames) {
                EXPECT_EQ(node.name, again.nodes[node.id].name);
            }
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
            if (!GetParam().keepsMetric) continue;
            EXPECT_EQ(link.metric, other.metric);
            EXPECT_EQ(link.delay, other.delay);
        }
    }
}

TEST_P(EveryWriter, DemandsComeBackAsTheyWere) {
    if (GetParam().format == Format::Graphml) {
        Findings findings;
        EXPECT_THROW(demandsText({}, {}, Format::Graphml, findings), UserError);
        return;
    }
    for (std::uint64_t seed = 1; seed <= 30; seed++) {
        SCOPED_TRACE(seed);
        const Network network = randomNetwork(seed);
        const Demands demands = randomDemands(network, seed);
        Findings findings;
        const Draft draft =
            parse({"f", demandsText(demands, network, GetParam().format, findings)});
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

INSTANTIATE_TEST_SUITE_P(Formats, EveryWriter, testing::ValuesIn(kFormats),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Writers, NoteWhatIsLost) {
    Network network = read(kRepetita);
    network.unit = "";
    network.links[0].colour = 5;
    Findings findings;
    networkText(network, Format::SndlibXml, findings);
    ASSERT_EQ(3u, findings.size());
    EXPECT_EQ("colour of 1 links: SNDlib has no place for it", findings[0].text);
    EXPECT_EQ("metric of 6 links: SNDlib has no place for it", findings[1].text);
    findings.clear();
    networkText(network, Format::Repetita, findings);
    ASSERT_EQ(2u, findings.size());
    EXPECT_EQ(FindingKind::AssumedUnit, findings[1].kind);
}

TEST(Writers, FormatIsKnownByTheNameOfTheFile) {
    EXPECT_EQ(Format::Repetita, formatOfName("a.b/x.demands"));
    EXPECT_EQ(Format::SndlibXml, formatOfName("x.xml"));
    EXPECT_EQ(std::nullopt, formatOfName("x.graph.bak"));
    EXPECT_EQ(std::nullopt, formatOfName("-"));
}

}  // namespace
}  // namespace workbench
