// What the formats have in common, and how untidy files are tidied up.
#include <gmock/gmock.h>

#include <map>

#include "cli/error.h"
#include "samples.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

using Kind = FindingKind;

std::map<Kind, int> countsOf(const Findings& findings) {
    std::map<Kind, int> counts;
    for (const Finding& finding : findings) counts[finding.kind]++;
    return counts;
}

std::vector<std::string> linesOf(const Network& network) {
    std::vector<std::string> lines;
    for (const Link& link : network.links)
        lines.push_back(linkName(network, link.id) + " " +
                        formatBandwidth(link.capacity, network.unit));
    return lines;
}

struct FormatCase {
    const char* name;
    const std::string* network;
    const std::string* demands;
    const char* thirdNode;
};

const FormatCase kFormats[] = {
    {"Graphml", &kGraphml, &kSndlibXml, "Cork Hill"},
    {"SndlibXml", &kSndlibXml, &kSndlibXml, "Cork Hill"},
    {"SndlibNative", &kSndlibNative, &kSndlibNative, "Cork_Hill"},
    {"Repetita", &kRepetita, &kRepetitaDemands, "Cork_Hill"},
    {"OwnJson", &kJson, &kJsonDemands, "Cork Hill"},
};

class EveryFormat : public testing::TestWithParam<FormatCase> {};

TEST_P(EveryFormat, GivesTheSameNetworkAndDemands) {
    Findings findings;
    const Network network = read(*GetParam().network, findings);
    const std::string third = GetParam().thirdNode;
    EXPECT_EQ("Mbit/s", network.unit);
    EXPECT_TRUE(network.geographic);
    ASSERT_EQ(3u, network.nodes.size());
    EXPECT_EQ(third, network.nodes[2].name);
    EXPECT_DOUBLE_EQ(-8.5, network.nodes[2].position->x);
    EXPECT_DOUBLE_EQ(52, network.nodes[2].position->y);
    EXPECT_THAT(
        linesOf(network),
        ElementsAre("Aix > Bonn 1 Gbit/s", "Bonn > Aix 1 Gbit/s",
                    "Bonn > " + third + " 2.5 Gbit/s", third + " > Bonn 2.5 Gbit/s",
                    "Aix > " + third + " 1 Gbit/s", third + " > Aix 1 Gbit/s"));
    const Demands demands =
        tidyDemands(parse({"sample", *GetParam().demands}), network, findings);
    ASSERT_EQ(2u, demands.demands.size());
    EXPECT_EQ(0, demands.demands[0].src);
    EXPECT_EQ(2, demands.demands[0].dst);
    EXPECT_EQ(0.25, demands.demands[0].bandwidth);
    EXPECT_EQ("D2", demands.demands[1].name);
    EXPECT_EQ(6, demands.demands[1].bandwidth);
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, testing::ValuesIn(kFormats),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Sndlib, TakesModuleAndDirectionAsAsked) {
    Findings findings;
    Network network = read(kSndlibNative, findings, {.module = ModuleChoice::Smallest});
    EXPECT_EQ(155, network.links[2].capacity);
    EXPECT_THAT(countsOf(findings), UnorderedElementsAre(Pair(Kind::ModuleCapacity, 1),
                                                         Pair(Kind::UndirectedLink, 3),
                                                         Pair(Kind::AssumedDirection, 1),
                                                         Pair(Kind::IgnoredLimit, 1)));
    findings.clear();
    network = read(kSndlibNative, findings, {.direction = Direction::Directed});
    EXPECT_EQ(3u, network.links.size());
    EXPECT_EQ(0, countsOf(findings)[Kind::AssumedDirection]);
}

TEST(Sndlib, IsDirectedWhereEveryLinkHasItsReverse) {
    const std::string text =
        "NODES (\n A ( )\n B ( 500 20 )\n)\n"
        "LINKS (\n 1 ( A B ) 5 0 0 0 ( )\n 2 ( B A ) 7 0 0 0 ( )\n)\n";
    Network network = read(text);
    EXPECT_THAT(linesOf(network), ElementsAre("A > B 5", "B > A 7"));
    EXPECT_EQ("", network.unit);
    EXPECT_FALSE(network.geographic);
    EXPECT_FALSE(network.nodes[0].position);
    // Undirected, they are two parallel edges.
    Findings findings;
    network = read(text, findings, {.direction = Direction::Undirected});
    EXPECT_THAT(linesOf(network), ElementsAre("A > B 12", "B > A 12"));
}

TEST(Untidy, LinksAreMergedDroppedAndFilledIn) {
    Findings findings;
    const Network network = read(
        "NODES 4\nlabel x y\nA 0 0\nB 0 0\nA 0 0\nD 0 0\n\nEDGES 7\nlabel src dest "
        "weight bw delay\n"
        "e0 0 1 10 1000 1\n"
        "e1 0 1 20 2000 2\n"  // parallel
        "e0 0 1 10 1000 1\n"  // e0 once more
        "e2 1 1 10 1000 1\n"  // loop
        "e3 1 0 10 0 1\n"     // no capacity
        "e4 1 2 10 1000 1\n"
        "e4 2 1 10 1000 1\n",  // same label, other ends
        findings, {.defaultCapacity = 40});
    EXPECT_THAT(linesOf(network),
                ElementsAre("A > B 3 Mbit/s", "B > A 40 Mbit/s", "B > A (2) 1 Mbit/s",
                            "A (2) > B 1 Mbit/s"));
    EXPECT_EQ(10, network.links[0].metric);
    EXPECT_FALSE(network.nodes[0].position) << "all zero means no positions";
    EXPECT_THAT(countsOf(findings),
                UnorderedElementsAre(
                    Pair(Kind::MergedLink, 1), Pair(Kind::DuplicateLink, 1),
                    Pair(Kind::SelfLoop, 1), Pair(Kind::DefaultCapacity, 1),
                    Pair(Kind::RenamedNode, 1), Pair(Kind::SeparateComponents, 2)));
    EXPECT_EQ("sample:11: link e1 A > B: 2 Mbit/s more, 3 Mbit/s in all",
              std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
                  return finding.kind == Kind::MergedLink;
              })->text);
}

TEST(Untidy, GraphmlNodesGetNamesOfTheirOwn) {
    Findings findings;
    const Network network = read(
        "<graphml><key id='l' for='node' attr.name='label'/>"
        "<key id='h' for='node' attr.name='hyperedge'/><graph edgedefault='directed'>"
        "<node id='n1'><data key='l'>Ulm</data></node><node id='n2'><data "
        "key='l'>Ulm</data></node>"
        "<node id='n3'><data key='l'> </data></node>"
        "<node id='n4'><data key='l'>None</data><data key='h'>1</data></node>"
        "<edge source='n1' target='n2'/><edge source='n2' target='n3' directed='false'/>"
        "<edge source='n3' target='n4'/></graph></graphml>",
        findings);
    std::vector<std::string> names;
    for (const Node& node : network.nodes) names.push_back(node.name);
    EXPECT_THAT(names, ElementsAre("Ulm", "Ulm (2)", "node n3", "hyperedge n4"));
    EXPECT_EQ(4u, network.links.size()) << "one of the three edges is undirected";
}

TEST(Untidy, DemandsForNothingAreDropped) {
    Findings findings;
    const Network network = read(kRepetita);
    const Draft draft = parse({"m",
                               "DEMANDS 5\nlabel src dest bw\n"
                               "a 0 0 5\nb 0 1 0\nc 0 7 5\nd 0 1 5\ne 0 1 6\n"});
    const Demands demands = tidyDemands(draft, network, findings);
    EXPECT_EQ(2u, demands.demands.size()) << "repeated pairs are demands of their own";
    EXPECT_THAT(countsOf(findings),
                UnorderedElementsAre(Pair(Kind::SelfDemand, 1), Pair(Kind::ZeroDemand, 1),
                                     Pair(Kind::UnknownNodeDemand, 1)));
    EXPECT_EQ("m:5: demand c 0 > 7", findings[2].text);
}

TEST(Untidy, UnitsThatNobodyStatesAreTakenAsEqual) {
    Findings findings;
    const Network unnamed = read(
        "NODES (\n Aix ( )\n Bonn ( )\n Cork_Hill ( )\n)\n"
        "LINKS (\n 1 ( Aix Bonn ) 5 0 0 0 ( )\n)\n");
    const Demands demands = tidyDemands(parse({"m", kSndlibNative}), unnamed, findings);
    EXPECT_EQ("", demands.unit);
    EXPECT_EQ(6, demands.demands[1].bandwidth);
    EXPECT_THAT(countsOf(findings), ElementsAre(Pair(Kind::AssumedUnit, 1)));
}

TEST(Untidy, MatrixOfAnotherNetworkIsAnError) {
    Findings findings;
    const Network other =
        read("NODES (\n X ( )\n Y ( )\n)\nLINKS (\n 1 ( X Y ) 5 0 0 0 ( )\n)\n");
    try {
        tidyDemands(parse({"m", kSndlibNative}), other, findings);
        FAIL() << "no demand fits";
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr("m:19: expected demands between nodes of"));
    }
}

// Each is read in spite of how it is written.
TEST(Encoding, MarksLineEndsAndOldCharactersAreUnderstood) {
    std::string dos;
    for (const char letter : kSndlibNative)
        dos += letter == '\n' ? "\r\n" : std::string(1, letter);
    EXPECT_EQ(6u, read("\xEF\xBB\xBF" + dos).links.size());
    EXPECT_EQ(6u, read("\n  " + kJson).links.size());
    EXPECT_EQ("K\xC3\xB6ln", read("NODES 1\nlabel x y\nK\xF6ln 1 1\n").nodes[0].name);
    EXPECT_EQ("K\xC3\xB6ln", read("NODES 1\nlabel x y\nK\xC3\xB6ln 1 1\n").nodes[0].name);
}

}  // namespace
}  // namespace workbench
