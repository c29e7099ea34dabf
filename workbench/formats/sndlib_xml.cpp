#include <fmt/format.h>

#include "formats/sndlib.h"
#include "formats/units.h"
#include "formats/xml.h"

namespace workbench {

namespace {

class SndlibXmlParser {
  public:
    explicit SndlibXmlParser(const Source& source) : xml_(source) {
        draft_.file = source.file;
    }

    Draft run() {
        const pugi::xml_node root = xml_.root();
        unit_ = takeSndlibUnit(textOf(root.child("meta").child("unit")), &draft_);
        const pugi::xml_node structure = root.child("networkStructure");
        if (!structure) xml_.fail(root, "<networkStructure>");
        addNodes(structure.child("nodes"));
        for (const pugi::xml_node link : structure.child("links").children("link"))
            addLink(link);
        for (const pugi::xml_node demand : root.child("demands").children("demand"))
            addDemand(demand);
        return std::move(draft_);
    }

  private:
    double numberOr(pugi::xml_node node, const char* name, double other) const {
        const double value = xml_.childNumber(node, name).value_or(other);
        if (value < 0)
            xml_.fail(node.child(name),
                      fmt::format("a number of at least 0, got {}", value));
        return value;
    }

    void addNodes(pugi::xml_node nodes) {
        const std::string type = nodes.attribute("coordinatesType").as_string();
        draft_.geographic = type == "geographical";
        for (const pugi::xml_node node : nodes.children("node")) {
            const std::string id = xml_.attribute(node, "id");
            const pugi::xml_node coordinates = node.child("coordinates");
            const auto x = xml_.childNumber(coordinates, "x");
            const auto y = xml_.childNumber(coordinates, "y");
            std::optional<Position> position;
            if (x && y) position = {*x, *y};
            draft_.nodes.push_back({id, id, position, xml_.line(node)});
        }
    }

    void addLink(pugi::xml_node link) {
        SndlibCapacity capacity;
        capacity.installed =
            inMbit(numberOr(link.child("preInstalledModule"), "capacity", 0), unit_);
        for (const pugi::xml_node module :
             link.child("additionalModules").children("addModule"))
            capacity.modules.push_back(inMbit(numberOr(module, "capacity", 0), unit_));
        addSndlibLink(xml_.attribute(link, "id"), xml_.childText(link, "source"),
                      xml_.childText(link, "target"), capacity, xml_.line(link), &draft_);
    }

    void addDemand(pugi::xml_node demand) {
        if (!demand.child("demandValue")) xml_.fail(demand, "<demandValue>");
        const double bandwidth = inMbit(
            numberOr(demand, "demandValue", 0) * numberOr(demand, "routingUnit", 1),
            unit_);
        addSndlibDemand(xml_.attribute(demand, "id"), xml_.childText(demand, "source"),
                        xml_.childText(demand, "target"), bandwidth,
                        textOf(demand.child("maxPathLength")), xml_.line(demand),
                        &draft_);
    }

    XmlFile xml_;
    Draft draft_;
    double unit_ = 1;
};

}  // namespace

Draft parseSndlibXml(const Source& source) {
    return SndlibXmlParser(source).run();
}

}  // namespace workbench
