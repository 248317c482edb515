// Real sky images of the validation set: the selected stars are true stars of the picture, measured
// here by an independent centroid, and among its brightest.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "imagen/fits.h"
#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

using testing::ImageProgram;

std::string Validation(const std::string& name) {
    return std::string(TORNEL_SOURCE_DIR) + "/../shared/validation/" + name;
}

// The brightness matrix of the program read as a plain picture, for the independent measure.
struct Picture {
    const Context& c;
    double At(int32_t x, int32_t y) const {
        x = std::clamp(x, 1, c.gPixelesX), y = std::clamp(y, 1, c.gPixelesY);
        return c
            .mBrillo[static_cast<size_t>(y) * static_cast<size_t>(c.gPixelesX + 1) + static_cast<size_t>(x)];
    }
    // Median of a ring round (x, y): the local sky.
    double Sky(int32_t x, int32_t y, int32_t r0, int32_t r1) const {
        std::vector<double> ring;
        for (int32_t dy = -r1; dy <= r1; ++dy)
            for (int32_t dx = -r1; dx <= r1; ++dx) {
                int32_t d2 = dx * dx + dy * dy;
                if (d2 >= r0 * r0 && d2 <= r1 * r1) ring.push_back(At(x + dx, y + dy));
            }
        std::nth_element(ring.begin(), ring.begin() + static_cast<long>(ring.size() / 2), ring.end());
        return ring[ring.size() / 2];
    }
    // Centroid above the local sky in a disc of radius r, moved onto its own centroid until it
    // settles, starting at the brightest pixel near (x, y); answers the flux in the disc.
    double Measure(double x, double y, int32_t r, double& cx, double& cy) const {
        auto x0 = static_cast<int32_t>(std::lround(x)), y0 = static_cast<int32_t>(std::lround(y));
        int32_t px = x0, py = y0;
        for (int32_t dy = -2; dy <= 2; ++dy)
            for (int32_t dx = -2; dx <= 2; ++dx)
                if (At(x0 + dx, y0 + dy) > At(px, py)) px = x0 + dx, py = y0 + dy;
        cx = px, cy = py;
        double flux = 0;
        for (int round = 0; round < 10; ++round) {
            auto ix = static_cast<int32_t>(std::lround(cx)), iy = static_cast<int32_t>(std::lround(cy));
            double sky = Sky(ix, iy, 2 * r, 3 * r);
            double sx = 0, sy = 0, sw = 0;
            for (int32_t dy = -r; dy <= r; ++dy)
                for (int32_t dx = -r; dx <= r; ++dx) {
                    double w = At(ix + dx, iy + dy) - sky;
                    if (w <= 0 || dx * dx + dy * dy > r * r) continue;
                    sx += (ix + dx) * w, sy += (iy + dy) * w, sw += w;
                }
            cx = sx / sw, cy = sy / sw, flux = sw;
        }
        return flux;
    }
};

// The stars of the picture found independently: every local peak well above the background,
// clear of the edges, measured, with peaks that settle on the same place counted once. Brightest
// first.
std::vector<double> PeakFluxes(const Picture& pic, int32_t r) {
    const Context& c = pic.c;
    struct Found {
        double x, y, flux;
    };
    std::vector<Found> found;
    const int32_t edge = 3 * r + 2;
    // A tenth of the span above the background: faint peaks cannot outshine the selected stars.
    const double clear = c.mBrilloFondo + 0.1 * (c.gBrilloMaximo - c.mBrilloFondo);
    for (int32_t y = edge; y <= c.gPixelesY - edge; ++y)
        for (int32_t x = edge; x <= c.gPixelesX - edge; ++x) {
            double v = pic.At(x, y);
            if (v <= clear || v < pic.At(x - 1, y) || v < pic.At(x + 1, y) || v < pic.At(x, y - 1) ||
                v < pic.At(x, y + 1))
                continue;
            Found f{};
            f.flux = pic.Measure(x, y, r, f.x, f.y);
            bool known = std::any_of(found.begin(), found.end(),
                                     [&](const Found& o) { return std::hypot(o.x - f.x, o.y - f.y) < 2; });
            if (!known) found.push_back(f);
        }
    std::vector<double> fluxes;
    for (const Found& f : found)
        fluxes.push_back(f.flux);
    std::sort(fluxes.rbegin(), fluxes.rend());
    return fluxes;
}

// Real pictures of every kind whose stars are compact enough for a plain centroid to settle.
TEST(Validation, SelectedStarsAreTheBrightestTrueStars) {
    for (const char* name :
         {"pifinder_pleiades.bmp", "cam_virgo.jpg", "apod4_big_dipper.jpg", "sim_m47.fits"}) {
        SCOPED_TRACE(name);
        ImageProgram p;
        p.c.gUmbralAutomatico = 1;
        ASSERT_TRUE(p.Load(Validation(name)));
        std::vector<EstrellaImagen> stars = p.Extract();
        ASSERT_EQ(stars.size(), 10u);
        Picture pic{p.c};
        std::vector<double> found = PeakFluxes(pic, 5);
        for (size_t i = 0; i < stars.size(); ++i) {
            const EstrellaImagen& s = stars[i];
            // The disc of 5 pixels suits most stars, that of 8 the large ones.
            double x5 = 0, y5 = 0, x8 = 0, y8 = 0;
            double flux = pic.Measure(s.x, s.y, 5, x5, y5);
            pic.Measure(s.x, s.y, 8, x8, y8);
            double off = std::min(std::hypot(x5 - s.x, y5 - s.y), std::hypot(x8 - s.x, y8 - s.y));
            EXPECT_LT(off, 0.5) << "star " << i + 1 << " at " << s.x << ", " << s.y;
            // Close pairs and outlines past the perimeter limits leave a few bright ones out.
            auto brighter =
                std::count_if(found.begin(), found.end(), [&](double f) { return f > flux * 1.001; });
            EXPECT_LT(brighter, i == 0 ? 2 : 16) << "star " << i + 1;
        }
    }
}

// A nebula whose outline does not close is passed over, and the stars round it are kept.
TEST(Validation, OneLargeObjectDoesNotEndTheImage) {
    ImageProgram p;
    p.c.gUmbralAutomatico = 1;
    ASSERT_TRUE(p.Load(Validation("apod3_vela.jpg")));
    EXPECT_EQ(p.Extract().size(), 10u);
    EXPECT_GE(p.c.mNumCandidatas, 10);
    EXPECT_FALSE(p.c.mFinAnalisis);
    EXPECT_TRUE(std::any_of(p.platform.summary.begin(), p.platform.summary.end(), [](const std::string& l) {
        return l.rfind("TrataEstrella > 10000: object skipped at", 0) == 0;
    }));
}

TEST(Validation, HeadersOfRealFiles) {
    ImageProgram p;
    ASSERT_TRUE(p.Load(Validation("kocab_16bit.fits")));
    EXPECT_NEAR(p.c.gCentroFitRA, 222.672, 1e-3);
    EXPECT_NEAR(p.c.gCentroFitDEC90 - 90, 74.1587, 1e-3);
    // CTYPE padded past ten characters: CRVAL is ignored and OBJCTRA, read with its own seconds, wins.
    ASSERT_TRUE(p.Load(Validation("dss_horsehead.fits")));
    EXPECT_DOUBLE_EQ(p.c.gCentroFitRA, 5 * 15 + 41 * 0.25 + 6 * 0.00417);
    EXPECT_DOUBLE_EQ(p.c.gCentroFitDEC90, 90 - (2 + 27 / 60.0 + 30 / 3600.0));
    ASSERT_TRUE(p.Load(Validation("ngc4535_af1.fits")));
    EXPECT_TRUE(p.platform.SummaryHas("Invalid RA in FITS header."));
    EXPECT_EQ(p.c.gPixelesX, 1125);
}

// Every FITS file of the set is read, each by the reader its header calls for, at its own size.
TEST(Validation, EveryFitsFileLoads) {
    struct Expected {
        const char* name;
        int32_t width, height;
        bool sixteenBitReader;
    };
    for (const Expected& e :
         {Expected{"dss_horsehead.fits", 891, 893, true}, Expected{"kocab_16bit.fits", 695, 405, true},
          Expected{"kocab_8bit.fits", 695, 405, false}, Expected{"ngc4535_af1.fits", 1125, 1034, true},
          Expected{"ngc4535_af2.fits", 1017, 1001, true}, Expected{"panoptes_cyg.fits", 700, 700, true},
          Expected{"panoptes_tiny_crop.fits", 200, 200, true}, Expected{"poss_m67.fits", 1059, 1059, true},
          Expected{"sim_m47.fits", 1280, 1024, true}, Expected{"sim_randomsky_cas.fits", 1280, 1024, true},
          Expected{"tetra3_alt40_az-135.fits", 1024, 768, true},
          Expected{"tetra3_alt40_az135.fits", 1024, 768, true},
          Expected{"tetra3_alt60_az-45.fits", 1024, 768, true}}) {
        SCOPED_TRACE(e.name);
        ImageProgram p;
        ASSERT_TRUE(p.Load(Validation(e.name)));
        EXPECT_EQ(p.c.gPixelesX, e.width);
        EXPECT_EQ(p.c.gPixelesY, e.height);
        EXPECT_EQ(TakesSixteenBitReader(Validation(e.name)), e.sixteenBitReader);
        EXPECT_EQ(p.platform.SummaryHas("FITS read with CFITSIO: HDU 1, BITPIX 8."), !e.sixteenBitReader);
    }
}

// The 8-bit Kocab frame and its copy stored x 256 as unsigned 16 bits give the same image: the 8-bit
// counts are taken x 257, within a count of 1 in 256 of the copy.
TEST(Validation, EightBitKocabMatchesItsSixteenBitCopy) {
    ImageProgram eight, sixteen;
    ASSERT_TRUE(eight.Load(Validation("kocab_8bit.fits")));
    ASSERT_TRUE(sixteen.Load(Validation("kocab_16bit.fits")));
    EXPECT_TRUE(eight.platform.SummaryHas("8-bit data x 257."));
    EXPECT_EQ(eight.c.gCentroFitRA, sixteen.c.gCentroFitRA);
    EXPECT_EQ(eight.c.gCentroFitDEC90, sixteen.c.gCentroFitDEC90);
    ASSERT_EQ(eight.c.mBrillo.size(), sixteen.c.mBrillo.size());
    for (size_t i = 0; i < eight.c.mBrillo.size(); ++i) {
        double a = eight.c.mBrillo[i], b = sixteen.c.mBrillo[i];
        ASSERT_NEAR(a, b, b / 256 + 1) << i;
    }
    // The same stars, in the same order.
    eight.c.gUmbralAutomatico = sixteen.c.gUmbralAutomatico = 1;
    std::vector<EstrellaImagen> a = eight.Extract(), b = sixteen.Extract();
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) {
        EXPECT_NEAR(a[i].x, b[i].x, 0.05) << i;
        EXPECT_NEAR(a[i].y, b[i].y, 0.05) << i;
    }
}

}  // namespace
}  // namespace tornel
