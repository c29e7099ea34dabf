#include "report/layout.h"

#include <gmock/gmock.h>

#include <cmath>

namespace workbench {

namespace {

void addLink(Network* network, int src, int dst) {
    const int id = static_cast<int>(network->links.size());
    network->links.push_back({.id = id,
                              .src = src,
                              .dst = dst,
                              .capacity = 1.0,
                              .metric = {},
                              .delay = {},
                              .name = ""});
}

// A chain of nodes.
Network networkOf(const std::vector<std::optional<Position>>& positions,
                  bool geographic) {
    Network network;
    network.geographic = geographic;
    for (const auto& position : positions) {
        const int id = static_cast<int>(network.nodes.size());
        network.nodes.push_back({id, std::to_string(id), position});
        if (id > 0) addLink(&network, id - 1, id);
    }
    return network;
}

double distance(const Point& a, const Point& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

TEST(PlacesFromFile, DegreesAreFlattenedAroundTheMiddleLatitude) {
    const auto places = placesFromFile(
        networkOf({Position{10, 50}, Position{20, 70}, Position{10, 70}}, true));
    ASSERT_EQ(3u, places.size());
    EXPECT_NEAR(5.0, places[1].x - places[0].x, 1e-9);   // cos 60 degrees
    EXPECT_NEAR(20.0, places[0].y - places[1].y, 1e-9);  // north is up
}

TEST(PlacesFromFile, APlaneKeepsItsShape) {
    const auto places =
        placesFromFile(networkOf({Position{0, 0}, Position{10, 70}}, false));
    ASSERT_EQ(2u, places.size());
    EXPECT_EQ(10.0, places[1].x - places[0].x);
    EXPECT_EQ(70.0, places[0].y - places[1].y);
}

// 0 -- 1 -- 2, and 1 is where nobody knows.
TEST(PlacesFromFile, ANodeWithoutPlaceGoesAmidItsNeighbours) {
    for (const auto& unknown :
         {std::optional<Position>(), std::optional(Position{0, 0})}) {
        const auto places = placesFromFile(
            networkOf({Position{10, 50}, unknown, Position{20, 50}}, true));
        ASSERT_EQ(3u, places.size());
        const Point middle = {(places[0].x + places[2].x) / 2, places[0].y};
        EXPECT_LT(distance(middle, places[1]), 0.1 * distance(places[0], places[2]));
    }
}

TEST(PlacesFromFile, IsEmptyWhereTheFileTellsTooLittle) {
    EXPECT_THAT(placesFromFile(networkOf({}, true)), testing::IsEmpty());
    EXPECT_THAT(placesFromFile(networkOf({Position{1, 2}, {}, {}}, true)),
                testing::IsEmpty());
    EXPECT_THAT(placesFromFile(networkOf({Position{1, 2}, Position{1, 2}}, true)),
                testing::IsEmpty());
}

TEST(ComputedPlaces, AreApartAndTheSameOnEveryRun) {
    const Network network = networkOf(std::vector<std::optional<Position>>(40), false);
    const auto places = computedPlaces(network);
    const auto again = computedPlaces(network);
    ASSERT_EQ(40u, places.size());
    double width = 0.0;
    double height = 0.0;
    for (std::size_t i = 0; i < places.size(); i++) {
        EXPECT_LT(distance(places[i], again[i]), 1e-6);
        width = std::max(width, std::abs(places[i].x - places[0].x));
        height = std::max(height, std::abs(places[i].y - places[0].y));
        for (std::size_t j = 0; j < i; j++)
            EXPECT_GT(distance(places[i], places[j]), 1.0);
    }
    EXPECT_GT(width + height, 100.0);
}

TEST(ComputedPlaces, KeepComponentsAndSingleNodesInSight) {
    Network network = networkOf(std::vector<std::optional<Position>>(6), false);
    network.links.clear();
    addLink(&network, 0, 1);
    addLink(&network, 2, 3);
    for (const Point& place : computedPlaces(network)) {
        EXPECT_TRUE(std::isfinite(place.x) && std::isfinite(place.y));
        EXPECT_LT(std::hypot(place.x, place.y), 1e4);
    }
}

}  // namespace

}  // namespace workbench
