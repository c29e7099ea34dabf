// Every message names the line and what was expected there.
#include <gtest/gtest.h>

#include "cli/error.h"
#include "samples.h"

namespace workbench {
namespace {

struct BadCase {
    const char* name;
    std::string text;
    const char* message;
};

std::string json(const std::string& nodes, const std::string& links) {
    return "{\"format\": \"kavril-network\",\n\"nodes\": [\n" + nodes +
           "\n],\n\"links\": [\n" + links + "\n]}";
}
const std::string kTwoNodes = "{\"name\": \"A\"},\n{\"name\": \"B\"}";

std::string native(const std::string& links) {
    return "NODES (\n A ( 1 1 )\n B ( 2 2 )\n)\nLINKS (\n" + links + "\n)\n";
}

std::string repetita(const std::string& edges) {
    return "NODES 2\nlabel x y\nA 1 1\nB 2 2\n\nEDGES 1\nlabel src dest weight bw "
           "delay\n" +
           edges;
}

std::string graphml(const std::string& body) {
    return "<graphml>\n<key id='s' for='edge' attr.name='LinkSpeedRaw'/>\n<graph>\n" +
           body + "\n</graph></graphml>";
}

std::string sndlibXml(const std::string& links) {
    return "<network><networkStructure><nodes>\n<node id='A'/><node id='B'/></nodes>\n"
           "<links>\n" +
           links + "\n</links></networkStructure></network>";
}

const BadCase kCases[] = {
    {"Empty", "",
     "f: expected Topology Zoo GraphML, SNDlib XML or native text, Repetita or KAVRIL's "
     "JSON, "
     "got an empty file"},
    {"Unknown", "\nhello\n",
     "f:2: expected Topology Zoo GraphML, SNDlib XML or native text, Repetita or "
     "KAVRIL's "
     "JSON, got 'hello'"},
    {"OtherXml", "<?xml version='1.0'?>\n<html/>",
     "f:2: expected <graphml> or SNDlib's <network>, got <html>"},
    {"BrokenXml", "<graphml>\n<graph>\n</graphml>",
     "f:3: expected XML: Start-end tags mismatch"},

    {"GraphmlNoGraph", "<graphml>\n</graphml>", "f:1: expected <graph> in <graphml>"},
    {"GraphmlNoId", graphml("<node/>"), "f:4: expected the attribute id in <node>"},
    {"GraphmlNoTarget", graphml("<node id='0'/>\n<edge source='0'/>"),
     "f:5: expected the attribute target in <edge>"},
    {"GraphmlUnknownNode", graphml("<node id='0'/>\n<edge source='0' target='9'/>"),
     "f:5: expected the id of a node, got '9'"},
    {"GraphmlSameId", graphml("<node id='0'/>\n<node id='0'/>"),
     "f:5: expected an id of its own, '0' is taken"},
    {"GraphmlSpeed",
     graphml("<node id='0'/><node id='1'/>\n<edge source='0' target='1'>\n"
             "<data key='s'>fast</data></edge>"),
     "f:6: expected a number as LinkSpeedRaw, got 'fast' in <data>"},

    {"XmlNoStructure", "<network>\n</network>",
     "f:1: expected <networkStructure> in <network>"},
    {"XmlNoSource", sndlibXml("<link id='L'><target>B</target></link>"),
     "f:4: expected <source> in <link id=\"L\">"},
    {"XmlCapacity",
     sndlibXml(
         "<link id='L'><source>A</source><target>B</target>\n"
         "<preInstalledModule><capacity>lots</capacity></preInstalledModule></link>"),
     "f:5: expected a number, got 'lots' in <capacity>"},
    {"XmlNegative",
     sndlibXml("<link id='L'><source>A</source><target>B</target>\n"
               "<preInstalledModule><capacity>-1</capacity></preInstalledModule></link>"),
     "f:5: expected a number of at least 0, got -1 in <capacity>"},

    {"NativeSection", native(" L ( A B ) 5 0 0 0 ( )") + "STUFF (\n)\n",
     "f:8: expected one of the sections META, NODES, LINKS, DEMANDS, ADMISSIBLE_PATHS, "
     "got "
     "'STUFF'"},
    {"NativeNoParenthesis", native(" L A B 5 0 0 0 ( )"), "f:6: expected '(', got 'A'"},
    {"NativeShortLink", native(" L ( A B ) 5 0 0 ( )"),
     "f:6: expected the setup cost, got '('"},
    {"NativeCapacity", native(" L ( A B ) nan 0 0 0 ( )"),
     "f:6: expected the pre-installed capacity, a number of at least 0, got 'nan'"},
    {"NativeUnknownNode", native(" L ( A C ) 5 0 0 0 ( )"),
     "f:6: expected the id of a node, got 'C'"},
    {"NativeOpenEnd", "NODES (\n A ( 1 1 )\n",
     "f:3: expected ')', got the end of the file"},

    {"RepetitaCount", "NODES two\n", "f:1: expected the number of records, got 'two'"},
    {"RepetitaHeadings", "NODES 1\nA 1 1\n",
     "f:2: expected the headings 'label x y', got 'A'"},
    {"RepetitaTooFew", repetita(""),
     "f:8: expected record 1 of 1, got the end of the file"},
    {"RepetitaTooMany", repetita("e0 0 1 1 5 1\ne1 1 0 1 5 1\n"),
     "f:9: expected NODES, EDGES or DEMANDS, got 'e1'"},
    {"RepetitaShortLine", repetita("e0 0 1 1\n5 1\n"),
     "f:9: expected a capacity on line 8, got '5'"},
    {"RepetitaLongLine", repetita("e0 0 1 1 5 1 7\n"),
     "f:8: expected the end of the line, got '7'"},
    {"RepetitaNode", repetita("e0 0 x 1 5 1\n"),
     "f:8: expected the number of a node, got 'x'"},
    {"RepetitaUnknownNode", repetita("e0 0 2 1 5 1\n"),
     "f:8: expected a node number below 2, got 2"},
    {"RepetitaNegativeDemand", "DEMANDS 1\nlabel src dest bw\nd 0 1 -5\n",
     "f:3: expected a bandwidth, a number of at least 0, got '-5'"},

    {"JsonBroken", "{\"format\":\n \"kavril-network\",,\n}",
     "f:2: expected JSON: column 19: syntax error while parsing object key - unexpected "
     "','; "
     "expected string literal"},
    {"JsonHugeNumber", "{\n\"version\": 1e999}",
     "f:2: expected JSON: number overflow parsing '1e999'"},
    {"JsonFormat", "{\n\"format\": \"other\"}",
     "f:1: expected \"format\": \"kavril-network\", \"kavril-demands\" or "
     "\"kavril-plan\""},
    {"JsonVersion", "{\"format\": \"kavril-network\", \"version\": 2}",
     "f:1: expected version 1 in the file, got 2"},
    {"JsonNoLinks", "{\"format\": \"kavril-network\", \"nodes\": []}",
     "f:1: expected \"links\" in the network"},
    {"JsonNoName", json("{\"name\": \"A\"},\n{\"x\": 1}", ""),
     "f:4: expected \"name\" in an element of \"nodes\""},
    {"JsonSameName", json("{\"name\": \"A\"},\n{\"name\": \"A\"}", ""),
     "f:4: expected an id of its own, 'A' is taken"},
    {"JsonHalfPosition", json("{\"name\": \"A\", \"x\": 1}", ""),
     "f:3: expected \"y\" in an element of \"nodes\""},
    {"JsonNoEnd", json(kTwoNodes, "{\"src\": \"A\"}"),
     "f:7: expected \"dst\" in an element of \"links\""},
    {"JsonUnknownNode", json(kTwoNodes, "{\"src\": \"A\",\n\"dst\": \"C\"}"),
     "f:7: expected the id of a node, got 'C'"},
    {"JsonNodeNumber", json(kTwoNodes, "{\"src\": 0, \"dst\": -1}"),
     "f:7: expected the name or number of a node as \"dst\" in an element of \"links\", "
     "got -1"},
    {"JsonCapacity", json(kTwoNodes, "{\"src\": 0, \"dst\": 1, \"capacity\": -1}"),
     "f:7: expected a number of at least 0 as \"capacity\" in an element of \"links\", "
     "got -1"},
    {"JsonNotObject", json("7", ""),
     "f:1: expected an object in an element of \"nodes\", got 7"},
    {"JsonUnit", "{\"format\": \"kavril-demands\", \"unit\": \"cars\", \"demands\": []}",
     "f:1: expected a unit such as \"Mbit/s\" in the demands, got \"cars\""},
};

class BadInput : public testing::TestWithParam<BadCase> {};

TEST_P(BadInput, IsRefusedWithLineAndExpectation) {
    Findings findings;
    try {
        tidyNetwork(parse({"f", GetParam().text}), {}, findings);
        FAIL() << "was read";
    } catch (const InputError& error) {
        EXPECT_STREQ(GetParam().message, error.what());
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, BadInput, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A file that ends too early is refused or read, but nothing else happens.
TEST(Truncated, EveryPrefixIsReadOrRefused) {
    int refused = 0;
    for (const std::string* text :
         {&kGraphml, &kSndlibXml, &kSndlibNative, &kRepetita, &kRepetitaDemands, &kJson})
        for (std::size_t size = 0; size < text->size(); size++) try {
                Findings findings;
                tidyNetwork(parse({"f", text->substr(0, size)}), {}, findings);
            } catch (const InputError&) {
                refused++;
            }
    EXPECT_GT(refused, 3000);
}

}  // namespace
}  // namespace workbench
