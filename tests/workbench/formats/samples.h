// One small network and its demands in every notation, typed by hand.
//
//     Aix --1000-- Bonn --2500-- Cork Hill         Aix --1000-- Cork Hill
#pragma once

#include <string>

#include "formats/draft.h"
#include "formats/tidy.h"

namespace workbench {

inline Network read(const std::string& text, Findings& findings,
                    const ReadOptions& options = {}) {
    return tidyNetwork(parse(sourceOf("sample", text)), options, findings);
}

inline Network read(const std::string& text) {
    Findings findings;
    return read(text, findings);
}

inline const std::string kGraphml = R"(<?xml version="1.0" encoding="utf-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key attr.name="label" attr.type="string" for="node" id="d7" />
  <key attr.name="Longitude" attr.type="double" for="node" id="d3" />
  <key attr.name="Latitude" attr.type="double" for="node" id="d4" />
  <key attr.name="LinkSpeedRaw" attr.type="double" for="edge" id="d1" />
  <key attr.name="LinkLabel" attr.type="string" for="edge" id="d2" />
  <key attr.name="LinkSpeed" attr.type="string" for="edge" id="d5" />
  <key attr.name="LinkSpeedUnits" attr.type="string" for="edge" id="d6" />
  <graph edgedefault="undirected">
    <node id="0"><data key="d3">5.5</data><data key="d4">43.5</data><data key="d7">Aix</data></node>
    <node id="1"><data key="d3">7</data><data key="d4">50.75</data><data key="d7">Bonn</data></node>
    <node id="2"><data key="d3">-8.5</data><data key="d4">52</data><data key="d7">Cork
      Hill</data></node>
    <edge source="0" target="1"><data key="d1">1000000000.0</data></edge>
    <edge source="1" target="2"><data key="d5">2.5</data><data key="d6">G</data></edge>
    <edge source="0" target="2"><data key="d2">1 Gbit/s</data></edge>
  </graph>
</graphml>
)";

inline const std::string kSndlibXml = R"(<?xml version="1.0" encoding="ISO-8859-1"?>
<network xmlns="http://sndlib.zib.de/network" version="1.0">
 <meta><unit>MBITPERSEC</unit></meta>
 <networkStructure>
  <nodes coordinatesType="geographical">
   <node id="Aix"><coordinates><x> 5.5 </x><y>43.5</y></coordinates></node>
   <node id="Bonn"><coordinates><x>7</x><y>50.75</y></coordinates></node>
   <node id="Cork Hill"><coordinates><x>-8.5</x><y>52</y></coordinates></node>
  </nodes>
  <links>
   <link id="L1"><source>Aix</source><target>Bonn</target>
    <preInstalledModule><capacity>1000.0</capacity><cost>0.0</cost></preInstalledModule></link>
   <link id="L2"><source>Bonn</source><target>Cork Hill</target>
    <additionalModules>
     <addModule><capacity>155</capacity><cost>1</cost></addModule>
     <addModule><capacity>2500</capacity><cost>9</cost></addModule>
     <addModule><capacity>622</capacity><cost>3</cost></addModule>
    </additionalModules></link>
   <link id="L3"><source>Aix</source><target>Cork Hill</target>
    <preInstalledModule><capacity>1000</capacity></preInstalledModule></link>
  </links>
 </networkStructure>
 <demands>
  <demand id="D1"><source>Aix</source><target>Cork Hill</target><demandValue> 0.25 </demandValue></demand>
  <demand id="D2"><source>Bonn</source><target>Aix</target><routingUnit>2</routingUnit>
   <demandValue>3</demandValue><maxPathLength>4</maxPathLength></demand>
 </demands>
</network>
)";

// Here the third node is Cork_Hill: the notation allows no blanks.
inline const std::string kSndlibNative =
    R"(?SNDlib native format; type: network; version: 1.0
# network sample
META (
  granularity = 5min
  unit  = MBITPERSEC
)
# <node_id> [(<longitude>, <latitude>)]
NODES (
  Aix ( 5.5 43.5 )
  Bonn ( 7 50.75 )
  Cork_Hill ( -8.5 52.00 )
)
LINKS (
  L1 ( Aix Bonn ) 1000 0.00 0.00 0.00 ( 9000.00 2.00 )
  L2 ( Bonn Cork_Hill ) 0.00 0.00 0.00 0.00 ( 155 1 2500 9 622 3 )
  L3 ( Aix Cork_Hill ) 1000 0 0 0 ( )
)
DEMANDS (
  D1 ( Aix Cork_Hill ) 1 0.25 UNLIMITED
  D2 ( Bonn Aix ) 2 3 4
)
ADMISSIBLE_PATHS (
)
)";

inline const std::string kRepetita =
    "NODES 3\nlabel x y\nAix 5.5 43.5\nBonn 7 50.75\nCork_Hill -8.5 52.0\n\n"
    "EDGES 6\nlabel src dest weight bw delay\n"
    "edge_0 0 1 10 1000000 700\nedge_1 1 0 10 1000000 700\n"
    "edge_2 1 2 4 2500000 900\nedge_3 2 1 4 2500000 900\n"
    "edge_4 0 2 10 1000000 1300\nedge_5 2 0 10 1000000 1300\n";

inline const std::string kRepetitaDemands =
    "DEMANDS 2\nlabel src dest bw\nD1 0 2 250\nD2 1 0 6000\n";

inline const std::string kJson = R"({
  "format": "kavril-network", "version": 1, "unit": "Gbit/s", "geographic": true,
  "nodes": [
    {"name": "Aix", "x": 5.5, "y": 43.5},
    {"name": "Bonn", "x": 7, "y": 50.75},
    {"name": "Cork Hill", "x": -8.5, "y": 52}
  ],
  "links": [
    {"src": "Aix", "dst": "Bonn", "capacity": 1, "undirected": true},
    {"src": "Bonn", "dst": 2, "capacity": 2.5, "undirected": true},
    {"src": 0, "dst": "Cork Hill", "capacity": 1, "undirected": true}
  ]
})";

inline const std::string kJsonDemands = R"({
  "format": "kavril-demands", "unit": "kbit/s",
  "demands": [
    {"name": "D1", "src": "Aix", "dst": 2, "bandwidth": 250},
    {"name": "D2", "src": 1, "dst": 0, "bandwidth": 6000}
  ]
})";

}  // namespace workbench
