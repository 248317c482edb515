// The objects of pgc.bin on a solved image: the declination band found by the binary search, the
// right ascension pieces of an image across 0 hours, a pole on the image, and the drawing's text kept
// inside the image.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "catalogo/deep_sky_objects.h"
#include "tests/support/pointed_plate.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

struct Named {
    float ra, dec;
    std::string name;
};

// pgc.bin of `objects`, sorted by declination as the builder writes it.
std::string ObjectFile(std::vector<Named> objects) {
    std::stable_sort(objects.begin(), objects.end(),
                     [](const Named& a, const Named& b) { return a.dec < b.dec; });
    std::string bytes;
    for (const Named& o : objects) {
        char record[kObjectRecordBytes];
        const float size = 1;
        std::memcpy(record, &o.ra, 4);
        std::memcpy(record + 4, &o.dec, 4);
        std::memcpy(record + 8, &size, 4);
        std::string name = o.name;
        name.resize(26, ' ');
        std::memcpy(record + 12, name.data(), 26);
        bytes.append(record, sizeof record);
    }
    return bytes;
}

std::set<std::string> Found(Context& c, const std::string& path) {
    std::vector<ObjectInImage> objects;
    EXPECT_TRUE(ObjectsInImage(c, path, objects));
    std::set<std::string> names;
    for (const ObjectInImage& o : objects) {
        names.insert(o.name);
        EXPECT_GE(o.x, 0);
        EXPECT_LE(o.x, 1000);
    }
    return names;
}

TEST(DeepSkyObjects, AnImageAcrossZeroHoursOrOverAPoleFindsWhatLiesOnIt) {
    testing::TempFolder folder;
    // A row of objects along the equator across 0 hours, some far off in right ascension, others in
    // declination; a ring round the north pole.
    std::vector<Named> objects = {{359.2f, 0, "West"},       {0.7f, 0.3f, "East"}, {0, -0.9f, "South edge"},
                                  {0, -1.6f, "Below"},       {180, 0, "Opposite"}, {3.5f, 0, "Far east"},
                                  {356.5f, 0.1f, "Far west"}};
    for (int k = 0; k < 12; ++k)
        objects.push_back({30.0f * k, 88.5f, "Cap " + std::to_string(k)});
    folder.Write("pgc.bin", ObjectFile(objects));
    testing::RecordingPlatform platform;
    Context c(platform);
    testing::PointPlate(c, 0, 0, 2, 1000);  // 2 degrees across: -1 to 1 in both
    EXPECT_EQ(Found(c, folder.File("pgc.bin")), (std::set<std::string>{"West", "East", "South edge"}));
    testing::PointPlate(c, 123, 89.5, 5, 1000);  // the pole and the whole cap
    const std::set<std::string> cap = Found(c, folder.File("pgc.bin"));
    EXPECT_EQ(cap.size(), 12u);
    std::vector<ObjectInImage> none;
    EXPECT_FALSE(ObjectsInImage(c, folder.File("missing.bin"), none));
}

TEST(DeepSkyObjects, DrawnNamesStayInsideTheImageAndAMissingFileIsSaid) {
    testing::TempFolder folder;
    folder.Write("pgc.bin", ObjectFile({{0.95f, 0, "Near the right"}, {0, 0, "Middle"}}));
    testing::RecordingPlatform platform;
    Context c(platform);
    testing::PointPlate(c, 0, 0, 2, 1000);
    c.gCarpetaEstrellas = folder.Path();
    BuscaObjetosNGCdicotomica(c);
    ASSERT_EQ(platform.texts.size(), 2u);
    for (const auto& t : platform.texts)
        EXPECT_LT(t.x, 1000 - 40) << t.text;
    c.gCarpetaEstrellas = folder.Path() + "none/";
    BuscaObjetosNGCdicotomica(c);
    EXPECT_TRUE(platform.SummaryHas("Objects DataBase not found."));
}

}  // namespace
}  // namespace tornel
