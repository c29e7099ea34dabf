// The writers of the single formats; formats/write.h is what to call.
#pragma once

#include <string>
#include <vector>

#include "formats/table.h"
#include "network.h"

namespace workbench {

std::string repetitaNetwork(const Network& network, Findings& findings);
std::string repetitaDemands(const Demands& demands, Findings& findings);

// A network without its demands, or the demands with the nodes and links that they are
// for.
std::string sndlibNativeText(const Network& network, const Demands* demands,
                             Findings& findings);
std::string sndlibXmlText(const Network& network, const Demands* demands,
                          Findings& findings);

// A figure of every link, as an attribute of its own.
struct LinkFigure {
    std::string name;
    std::vector<double> values;
};
std::string graphmlText(const Network& network, Findings& findings,
                        const std::vector<LinkFigure>& figures = {});

// For Graphviz, links in colours by the share of their capacity in use.
std::string dotText(const Network& network, const std::vector<double>& shares);

// Positions of nodes, and what a network or matrix is called, have no place in a table.
Table linkTable(const Network& network);
Table demandTable(const Demands& demands, const Network& network);

// The names as words of their own: blanks, parentheses and '#' become '_'; what is then
// empty or taken is numbered. `what` is for the findings.
std::vector<std::string> wordsFor(const std::vector<std::string>& names,
                                  const std::string& what, Findings& findings);

// A bandwidth in the unit of a format that has just one; without a unit of its own it is
// taken to be in Mbit/s. Whole numbers come out whole.
double inUnit(double bandwidth, double unit);

// Notes what links have and the format cannot hold.
struct Kept {
    bool metric = false;
    bool delay = false;
    bool groups = false;
};
void noteLostAttributes(const Network& network, const Kept& kept, const char* format,
                        Findings& findings);
void noteMissingUnit(const std::string& unit, const char* taken, Findings& findings);

}  // namespace workbench
