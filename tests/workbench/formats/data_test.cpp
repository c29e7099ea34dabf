// Real files, where they are present: KAVRIL_DATA, or ../shared/data beside the project.
#include <gtest/gtest.h>
#include <cctype>

#include <cstdlib>
#include <filesystem>

#include "formats/read.h"
#include "graph/graph.h"

namespace workbench {
namespace {

namespace fs = std::filesystem;

fs::path dataFolder() {
    const char* named = std::getenv("KAVRIL_DATA");
    return named != nullptr ? fs::path(named)
                            : fs::path(KAVRIL_SOURCE_DIR) / ".." / "shared" / "data";
}

// Links are those left when loops are dropped and parallels merged.
struct DataCase {
    const char* network;
    std::size_t nodes, links;
    const char* demands;
    std::size_t used;  // demands that ask for something
};

void PrintTo(const DataCase& data, std::ostream* out) {
    *out << data.network;
}

const DataCase kCases[] = {
    {"repetita/Abilene.graph", 11, 28, "repetita/Abilene.0000.demands", 110},
    {"repetita/Abilene.graph", 11, 28, "repetita/Abilene.0004.demands", 110},
    {"repetita/Geant2012.graph", 40, 122, "repetita/Geant2012.0000.demands", 1556},
    {"repetita/rf1221_real_hard.graph", 104, 302, "repetita/rf1221_real_hard.demands",
     10593},
    {"repetita/Interoute.graph", 110, 292, "repetita/Interoute.0000.demands", 11938},
    {"repetita/rf6461_real_hard.graph", 138, 744, "repetita/rf6461_real_hard.demands",
     18790},
    {"repetita/Colt.graph", 153, 354, "repetita/Colt.0000.demands", 23168},
    {"repetita/Cogentco.graph", 197, 486, "repetita/Cogentco.0000.demands", 37805},
    {"repetita/rf1239_real_hard.graph", 315, 1944, "repetita/rf1239_real_hard.demands",
     95750},
    {"sndlib-native/abilene.txt", 12, 30, "sndlib-native/abilene.txt", 132},
    {"sndlib-native/nobel-germany.txt", 17, 52, "sndlib-native/nobel-germany.txt", 121},
    {"sndlib-native/janos-us-ca.txt", 39, 122, "sndlib-native/janos-us-ca.txt", 1482},
    {"sndlib-native/germany50.txt", 50, 176, "sndlib-native/germany50.txt", 662},
    {"sndlib-native/zib54.txt", 54, 160, "sndlib-native/zib54.txt", 1501},
    {"sndlib-native/ta2.txt", 65, 216, "sndlib-native/ta2.txt", 1869},
    {"sndlib-xml/abilene.xml", 12, 30,
     "sndlib-demands/demandMatrix-abilene-zhang-5min-20040301-0000.xml", 132},
    {"sndlib-xml/germany50.xml", 50, 176,
     "sndlib-demands/demandMatrix-germany50-DFN-1day-20050201.xml", 2028},
    {"topologyzoo/Abilene.graphml", 11, 28, nullptr, 0},
    {"topologyzoo/Belnet2005.graphml", 23, 82, nullptr, 0},
    {"topologyzoo/Geant2011.graphml", 40, 118, nullptr, 0},
    {"topologyzoo/Geant2012.graphml", 40, 122, nullptr, 0},
    {"topologyzoo/Interoute.graphml", 110, 292, nullptr, 0},
    {"topologyzoo/Cogentco.graphml", 197, 486, nullptr, 0},
    {"topologyzoo/Kdl.graphml", 754, 1790, nullptr, 0},
};

class RealFile : public testing::TestWithParam<DataCase> {
  protected:
    void SetUp() override {
        if (!fs::exists(dataFolder() / GetParam().network)) GTEST_SKIP() << "not here";
    }
};

TEST_P(RealFile, HasTheSizeThatIsKnown) {
    Findings findings;
    const Network network =
        readNetwork((dataFolder() / GetParam().network).string(), {}, findings);
    EXPECT_EQ(GetParam().nodes, network.nodes.size());
    EXPECT_EQ(GetParam().links, network.links.size());
    if (GetParam().demands == nullptr) return;
    const Demands demands =
        readDemands((dataFolder() / GetParam().demands).string(), network, findings);
    EXPECT_EQ(GetParam().used, demands.demands.size());
}

// The file of the network, and a number, as a name of a test.
std::string nameOf(const testing::TestParamInfo<DataCase>& info) {
    std::string name = info.param.network;
    for (char& c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    return name + '_' + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(Data, RealFile, testing::ValuesIn(kCases), nameOf);

// Nothing in the folders is left unread.
TEST(RealFiles, BothSndlibNotationsAgreeAndEverythingElseIsRead) {
    if (!fs::exists(dataFolder())) GTEST_SKIP() << "no data here";
    const Network* last = nullptr;
    Network network;
    for (const auto& entry : fs::recursive_directory_iterator(dataFolder())) {
        const std::string ending = entry.path().extension().string();
        const std::string folder = entry.path().parent_path().filename().string();
        if (ending != ".graph" && ending != ".graphml" && ending != ".xml") continue;
        if (folder == "sndlib-demands") continue;
        SCOPED_TRACE(entry.path().string());
        Findings findings;
        network = readNetwork(entry.path().string(), {}, findings);
        last = &network;
        EXPECT_FALSE(network.links.empty());
        if (folder != "sndlib-xml") continue;
        const fs::path twin = dataFolder() / "sndlib-native" /
                              entry.path().filename().replace_extension(".txt");
        const Network other = readNetwork(twin.string(), {}, findings);
        ASSERT_EQ(network.links.size(), other.links.size());
        for (const Link& link : network.links) {
            EXPECT_EQ(link.src, other.links[link.id].src);
            EXPECT_EQ(link.capacity, other.links[link.id].capacity);
        }
    }
    EXPECT_NE(nullptr, last);
}

}  // namespace
}  // namespace workbench
