// Writing networks and demands in the formats that are read.
//
// What a format cannot hold is changed or left out and noted in the findings: names with
// blanks, colours, metrics, units. docs/formats.md has the table.
#pragma once

#include <optional>
#include <string>

#include "network.h"

namespace workbench {

enum class Format { Json, Repetita, SndlibNative, SndlibXml, Graphml, Csv, Tsv };

// By the end of the file's name: .json, .graph, .demands, .txt, .xml, .graphml,
// .csv, .tsv.
std::optional<Format> formatOfName(const std::string& path);

std::string networkText(const Network& network, Format format, Findings& findings);

// Throws UserError for GraphML, which knows no demands.
std::string demandsText(const Demands& demands, const Network& network, Format format,
                        Findings& findings);

}  // namespace workbench
