// The objects listed on real images, with the plate that each image's reference solution gives: an
// object file read by the builder's own reader from a small CSV of real positions (J2000) stands in
// for the full catalogue, which the test machines do not have.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "catalogo/deep_sky_objects.h"
#include "comun/files.h"
#include "herramientas/db/build.h"
#include "herramientas/db/records.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

std::string Validation(const std::string& name) {
    return std::string(TORNEL_SOURCE_DIR) + "/../shared/validation/" + name;
}

// The numeric cards of a FITS header file.
std::map<std::string, double> Cards(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::map<std::string, double> cards;
    char card[80];
    while (in.read(card, sizeof card)) {
        const std::string text(card, sizeof card);
        if (text.compare(0, 3, "END") == 0) break;
        if (text.size() < 10 || text[8] != '=') continue;
        std::string key = text.substr(0, 8);
        key.erase(key.find_last_not_of(' ') + 1);
        std::istringstream value(text.substr(10));
        double v = 0;
        if (value >> v) cards[key] = v;
    }
    return cards;
}

// The engine's plate for the tangent projection of a reference WCS (its distortion left out), in
// pixels of the file: rows 1 and 2 the sky directions of a step along x and y, row 3 the image centre.
void PlateFromWcs(Context& c, std::map<std::string, double> w) {
    constexpr double kRad = 3.14159265358979323846 / 180;
    const double a = w["CRVAL1"] * kRad, d = w["CRVAL2"] * kRad;
    const std::array<double, 3> centre = {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
    const std::array<double, 3> east = {-std::sin(a), std::cos(a), 0};
    const std::array<double, 3> north = {-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)};
    c.gAnchoImagen = c.gPixelesX = static_cast<int32_t>(w["IMAGEW"]);
    c.gAltoImagen = c.gPixelesY = static_cast<int32_t>(w["IMAGEH"]);
    c.gRelacionPixel = 1;
    c.gFocalEnPixeles = 100000;
    const double f = c.gFocalEnPixeles;
    const double dx = c.gAnchoImagen / 2.0 - w["CRPIX1"], dy = c.gAltoImagen / 2.0 - w["CRPIX2"];
    const double xi = (w["CD1_1"] * dx + w["CD1_2"] * dy) * kRad,
                 eta = (w["CD2_1"] * dx + w["CD2_2"] * dy) * kRad;
    for (size_t k = 0; k < 3; ++k) {
        c.Cij[1][k + 1] = f * kRad * (w["CD1_1"] * east[k] + w["CD2_1"] * north[k]);
        c.Cij[2][k + 1] = f * kRad * (w["CD1_2"] * east[k] + w["CD2_2"] * north[k]);
        c.Cij[3][k + 1] = centre[k] + xi * east[k] + eta * north[k];
    }
}

TEST(ValidationObjects, KnownObjectsAreListedOnTheirImages) {
    if (!FileExists(Validation("pleiades_color.wcs")) || !FileExists(Validation("apod1_ngc2264.wcs")))
        GTEST_SKIP() << "the validation images are not here";
    testing::TempFolder folder;
    folder.Write("objects.csv",
                 "ra_deg, dec_deg, size_arcmin, name\n"
                 "56.75, 24.1167, 110, M 45\n"
                 "100.2417, 9.895, 20, NGC 2264\n"
                 "83.8221, -5.3911, 85, M 42\n"
                 "97.98, 4.94, 24, NGC 2244\n"
                 "130.1, 19.67, 95, M 44\n");
    db::BuildInputs inputs;
    std::string error;
    ASSERT_TRUE(db::LoadInputs({folder.File("objects.csv")}, inputs, error, nullptr)) << error;
    ASSERT_EQ(inputs.objects.size(), 5u);
    std::string bytes;
    for (const db::ObjectRecord& r : db::ObjectRecords(inputs.objects)) {
        char record[db::ObjectRecord::kSize];
        db::Pack(r, record);
        bytes.append(record, sizeof record);
    }
    folder.Write("pgc.bin", bytes);

    // The object and its pixel by astropy's reading of the reference (distortion included).
    const struct {
        const char *wcs, *name;
        double x, y;
    } expected[] = {{"pleiades_color.wcs", "M 45", 243.2, 184.8},
                    {"apod1_ngc2264.wcs", "NGC 2264", 433.9, 249.2}};
    for (const auto& [wcs, name, x, y] : expected) {
        testing::RecordingPlatform platform;
        Context c(platform);
        PlateFromWcs(c, Cards(Validation(wcs)));
        std::vector<ObjectInImage> objects;
        ASSERT_TRUE(ObjectsInImage(c, folder.File("pgc.bin"), objects));
        ASSERT_EQ(objects.size(), 1u) << wcs;
        EXPECT_EQ(objects[0].name, name);
        EXPECT_NEAR(objects[0].x, x, 2) << wcs;
        EXPECT_NEAR(objects[0].y, y, 2) << wcs;
    }
}

}  // namespace
}  // namespace tornel
