#include "io/LocationVertices.h"
#include "io/OrthographicView.h"
#include "io/readGeometry.h"
#include "support/files.h"
#include "support/locationCases.h"

namespace {

using namespace Stratum::io;
using namespace Stratum::test;
using namespace StratumTest;
using namespace Vantor::Geometry;
using Indices = Ostrum::Array<std::uint32_t>;
using Object = Ostrum::Ptr<Vantor::Object>;

Indices indices(const Object& object, const Ostrum::String& name) {
    const auto values = object->propertyData<std::uint32_t>(name);
    return values ? *values : Indices();
}

Ostrum::Array<float3> points(const Object& object) {
    return *object->propertyData<float3>(sPointPosition);
}

GenerateLocationOptions maskedBy(const std::string& property) {
    auto options = masked(byCount(50));
    options.mask_property = property;
    return options;
}

TEST(Obj, FacesKeepTheirCornersAndTheirOrder) {
    std::string text = "\xEF\xBB\xBF# a comment\r\nmtllib none.mtl\r\n";
    text += "v 9 9 9 1 0 0\r\n\tv +1.5 -2e-3 .25  \r\nvn 0 0 1\r\nvt 0 0\r\no first\r\n";
    text += "v 0 0 0\r\nf 1//1 2/1 3/1/1\r\nusemtl a\r\nf -1 -2 -3 1 # back\r\ng\r\ng second\r\n";
    std::string large = "f"; // more corners than a byte counts
    for (int corner = 0; corner < 600; ++corner)
        (large += ' ') += std::to_string(1 + corner % 3);
    text += "s off\r\n" + large + "\r\nv 7 7 7\nf 4 1 2";
    const LoadedGeometry geometry = readObj(text, "f");
    EXPECT_TRUE(geometry.warnings.empty());
    EXPECT_EQ(points(geometry.object),
              (Ostrum::Array<float3>{{9, 9, 9}, {1.5F, -2e-3F, .25F}, {0, 0, 0}, {7, 7, 7}}));
    EXPECT_EQ(indices(geometry.object, sFaceOffset), (Indices{0, 3, 7, 607, 610}));
    const Indices corners = indices(geometry.object, sFaceVertex);
    EXPECT_EQ(Indices(corners.begin(), corners.begin() + 8), (Indices{0, 1, 2, 2, 1, 0, 0, 0}));
    EXPECT_EQ(corners[607], 3U);
    EXPECT_EQ(getElementCount(*geometry.object, sFaceVertexComp), 610U);
}

TEST(Obj, LinesAreStrandsWithPointsOfTheirOwn) {
    // Groups and materials must neither lose lines nor repeat them.
    const LoadedGeometry geometry = readObj(
        "v 0 0 0\nv 1 0 0\nv 0 2 0\ng a\nl 1 2\nusemtl m\nl 3/1 2 1\ng b\nv 5 5 5\nl -1 -4\n", "f");
    EXPECT_EQ(indices(geometry.object, sStrandOffset), (Indices{0, 2, 5, 7}));
    EXPECT_EQ(points(geometry.object),
              (Ostrum::Array<float3>{
                  {0, 0, 0}, {1, 0, 0}, {0, 2, 0}, {1, 0, 0}, {0, 0, 0}, {5, 5, 5}, {0, 0, 0}}));
    EXPECT_TRUE(geometry.object->isA(*getStrandPrototype()));
    EXPECT_FALSE(geometry.object->isA(*getMeshPrototype()));

    const LoadedGeometry both = readObj("v 0 0 0\nv 1 0 0\nv 0 2 0\nl 1 2\nf 1 2 3\n", "f");
    EXPECT_FALSE(both.object->isA(*getStrandPrototype()));
    EXPECT_EQ(both.warnings,
              (std::vector<std::string>{"f has faces, and so its 1 lines are left "
                                        "out; a file of lines alone makes strands"}));
    const LoadedGeometry cloud = readObj("v 0 0 0\nv 1 0 0\np 1\n", "f");
    EXPECT_FALSE(cloud.object->isA(*getMeshPrototype()));
    EXPECT_EQ(points(cloud.object).size(), 2U);
}

TEST(Obj, WhatIsWrongIsNamedWithItsLine) {
    const std::string v3 = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    const std::pair<std::string, std::string> cases[] = {
        {"v 1 2\n", "f, line 1: a vertex has 3 coordinates"},
        {"v 1 2 three\n", "f, line 1: 'three' is no number of single precision"},
        {"v 1 2 nan\n", "f, line 1: 'nan' is no number of single precision"},
        {"v 1 2 1e39\n", "f, line 1: '1e39' is no number of single precision"},
        {"v 1 2 1e999\n", "f, line 1: '1e999' is no number of single precision"},
        {v3 + "f 1 2\n", "f, line 4: a face has at least 3 corners, and this one has 2"},
        {v3 + "l 1\n", "f, line 4: a line has at least 2 points, and this one has 1"},
        {v3 + "f 1 2 0\n", "f, line 4: '0' names no vertex"},
        {v3 + "f 1 2 3.5\n", "f, line 4: '3.5' names no vertex"},
        {v3 + "f 1 2 99999999999\n", "f, line 4: '99999999999' names no vertex"},
        {v3 + "f 1 2 /3\n", "f, line 4: '/3' names no vertex"},
        {v3 + "f 1 2 -4\n", "f, line 4: there is no vertex -4; before this line there are 3"},
        {v3 + "f 1 2 4\n\nf 1 2 5\nf 1 2 3\n", "f, line 6: there is no vertex 5; there are 3"},
    };
    for (const auto& [text, message] : cases)
        EXPECT_EQ(failureOf([&] { readObj(text, "f"); }), message);
}

// Faces first, numbers of several types, and properties that the geometry has no use for.
std::string mesh(const std::string& encoding) {
    using I8 = std::int8_t;
    using U8 = std::uint8_t;
    using I16 = std::int16_t;
    return plyFile(
        encoding, "\n",
        {"element face 3", "property short moss", "property list uchar int16 vertex_index",
         "property list int8 float uv", "property double age", "element vertex 5",
         "property double z", "property uchar moss", "property float x",
         "property list uchar uchar none", "property int y", "property uint face_offset"},
        "-1 3 0 1 2 0 0.1\n1 4 0 1 3 2 2 .5 .5 1e300\n0 0 0 -7\n"
        "0 0 0 1 9 0 1\n0 1 1 0 0 2\n0.5 2 0 0 1 3\n0 255 1 0 1 4\n3 9 4 0 4 5\n",
        I16{-1}, U8{3}, I16{0}, I16{1}, I16{2}, I8{0}, 0.1, I16{1}, U8{4}, I16{0}, I16{1}, I16{3},
        I16{2}, I8{2}, .5F, .5F, 1e300, I16{0}, U8{0}, I8{0}, -7.0, //
        0.0, U8{0}, 0.0F, U8{1}, U8{9}, 0, 1U, 0.0, U8{1}, 1.0F, U8{0}, 0, 2U, 0.5, U8{2}, 0.0F,
        U8{0}, 1, 3U, 0.0, U8{255}, 1.0F, U8{0}, 1, 4U, 3.0, U8{9}, 4.0F, U8{0}, 4, 5U);
}

TEST(PlyGeometry, MeshesOfEveryEncodingWithTheirProperties) {
    for (const char* encoding : kPlyEncodings) {
        SCOPED_TRACE(encoding);
        const Object object = readPlyGeometry(mesh(encoding), "f").object;
        EXPECT_EQ(points(object),
                  (Ostrum::Array<float3>{{0, 0, 0}, {1, 0, 0}, {0, 1, .5F}, {1, 1, 0}, {4, 4, 3}}));
        EXPECT_EQ(indices(object, sFaceOffset), (Indices{0, 3, 7, 7}));
        EXPECT_EQ(indices(object, sFaceVertex), (Indices{0, 1, 2, 0, 1, 3, 2}));
        EXPECT_EQ(*object->propertyData<float>("moss"), (Ostrum::Array<float>{0, 1, 2, 255, 9}));
        EXPECT_EQ(object->propertyTarget("moss"), sPointComp);
        EXPECT_EQ(*object->propertyData<float>("face:moss"), (Ostrum::Array<float>{-1, 1, 0}));
        EXPECT_EQ(object->propertyTarget("face:moss"), sFaceComp);
        EXPECT_EQ(*object->propertyData<double>("age"), (Ostrum::Array<double>{.1, 1e300, -7}));
        // The host's own names stay the host's.
        EXPECT_EQ(object->propertyTarget("face_offset"), sFaceComp);
        for (const auto& location : scatter(*object, maskedBy("face:moss")))
            EXPECT_EQ(location.element, 1U) << "the mask of face 0 is below 0";
    }
}

TEST(PlyGeometry, WithoutFacesThereArePoints) {
    const std::string vertices = "element vertex 2\nproperty float x\nproperty float y\nproperty "
                                 "float z\nproperty uchar dry\n";
    const std::string rows = "end_header\n1 2 nan 0\n4 5 6 1\n";
    for (const std::string faces : {"", "element face 0\nproperty list uchar int vertex_indices\n",
                                    "element face 0\nproperty float area\n"}) {
        const Object object =
            readPlyGeometry("ply\nformat ascii 1.0\n" + vertices + faces + rows, "f").object;
        EXPECT_FALSE(object->isA(*getMeshPrototype()));
        EXPECT_TRUE(object->isA(*getPointCloudPrototype()));
        for (const auto& location : scatter(*object, onPoints(maskedBy("dry"))))
            EXPECT_EQ(location.element, 1U);
    }
}

TEST(PlyGeometry, WhatIsWrongIsNamedWithItsPlace) {
    const std::string start = "ply\nformat ascii 1.0\n";
    const std::string xyz = "property float x\nproperty float y\nproperty float z\n";
    const std::string one = start + "element vertex 1\n" + xyz;
    const std::string list = "element face 2\nproperty list char int vertex_indices\nend_header\n";
    const std::pair<std::string, std::string> cases[] = {
        {one + "element face 1\nproperty float vertex_indices\nend_header\n0 0 0\n1\n",
         "f: its faces have no list 'vertex_indices' of whole numbers"},
        {one + "element face 1\nproperty list int float vertex_indices\nend_header\n0 0 0\n1 0\n",
         "f: its faces have no list 'vertex_indices' of whole numbers"},
        {one + list + "0 0 0\n1 0\n2 0 1\n",
         "f: face 1: there is no vertex 1; there are 1, from 0"},
        {one + list + "0 0 0\n1 -1\n0\n", "f: face 0: there is no vertex -1; there are 1, from 0"},
        {one + list + "0 0 0\n1 0\n", "f: it is cut short: it holds 1 of 2 of 'face'"},
        {start + "element vertex 1\nproperty double x\nproperty double y\nproperty double "
                 "z\nend_header\n0 0 1e39\n",
         "f: vertex 0 is beyond single precision"},
    };
    for (const auto& [text, message] : cases)
        EXPECT_EQ(failureOf([&] { readPlyGeometry(text, "f"); }), message);
}

TEST(OrthographicView, LooksFromWhereItIsAskedFor) {
    const float3 points[] = {{0, 0, 0}, {2, 1, 1}};
    for (const double azimuth : {0, 90, 180, 270}) {
        const OrthographicView view({.azimuth = azimuth}, points, 100);
        const auto origin = view(points[0]), other = view(points[1]);
        EXPECT_EQ(other.x > origin.x, azimuth < 100) << azimuth;
        EXPECT_EQ(other.depth > origin.depth, azimuth == 90 || azimuth == 180) << azimuth;
        EXPECT_LT(other.y, origin.y) << "upward";
    }
}

TEST(PropertyAt, InterpolatesAsMasksDo) {
    const Object object = readPlyGeometry(mesh("ascii"), "f").object;
    Locations locations(3);
    locations[0].kind = Common::kOnFace;
    locations[0].element = 1; // of the points 0, 1, 3, 2
    locations[0].indices = {0, 2, 3, kInvalidIndex};
    locations[0].weights = {.5F, .125F, .375F, 0};
    locations[1].kind = Common::kOnPoint;
    locations[1].element = 3;
    const std::span all(locations.data(), locations.size());
    EXPECT_EQ(propertyAt(*object, "moss", all)[0], .125F * 255 + .375F * 2);
    EXPECT_EQ(propertyAt(*object, "face:moss", all)[0], 1);
    EXPECT_EQ(propertyAt(*object, "moss", all)[1], 255);
    EXPECT_EQ(propertyAt(*object, "point_position", all)[0], .125F) << "a vector's first component";
    EXPECT_TRUE(std::isnan(propertyAt(*object, "moss", all)[2])) << "a location that is nowhere";
    EXPECT_EQ(failureOf([&] { propertyAt(*object, "none", all); }),
              "the geometry has no property 'none' of numbers or vectors");
}

} // namespace
