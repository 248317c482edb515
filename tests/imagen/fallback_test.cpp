// The extraction of the run on frames where the automatic threshold alone keeps too few stars: a
// strong vignetting, a low-contrast 8-bit frame with a gradient, a large object whose outline does
// not close. The stars kept are true stars, and the image in memory is left as it was read.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

using testing::ImageProgram;
using testing::Nearest;

render::Field Stars(uint32_t seed, double sky, double noise, double faintest, double brightest) {
    render::Field f;
    f.width = 640;
    f.height = 480;
    f.psfSigma = 1.6;
    f.sky = sky;
    f.noise = noise;
    f.seed = seed;
    f.stars = render::RandomStars(40, f.width, f.height, 20, 40, faintest, brightest, seed);
    return f;
}

// A glow brightest at the centre, `peak` counts there and nothing at the corners.
void AddGlow(render::Image& image, double peak) {
    const double cx = (image.width + 1) / 2.0, cy = (image.height + 1) / 2.0;
    const double r2 = cx * cx + cy * cy;
    for (int32_t y = 1; y <= image.height; ++y)
        for (int32_t x = 1; x <= image.width; ++x)
            image.counts[static_cast<size_t>(y - 1) * static_cast<size_t>(image.width) +
                         static_cast<size_t>(x - 1)] +=
                static_cast<float>(peak * (1 - ((x - cx) * (x - cx) + (y - cy) * (y - cy)) / r2));
}

struct Fallbacks : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;

    // The first extraction alone, then the run's, on the same file.
    int32_t Alone(const std::string& path) {
        EXPECT_TRUE(p.Load(path));
        c.gUmbralAutomatico = 1;
        CalculaBrilloDeFondoYumbral(c);
        ExtraeEstrellasLaberinto(c);
        return c.mNumCandidatas;
    }
    int32_t Run(const std::string& path) {
        EXPECT_TRUE(p.Load(path));
        c.gUmbralAutomatico = 1;
        CalculaBrilloDeFondoYumbral(c);
        const std::vector<int16_t> read(c.mBrillo.begin(), c.mBrillo.end());
        const int32_t maximo = c.gBrilloMaximo;
        const int32_t n = ExtractStarsWithFallbacks(c);
        EXPECT_TRUE(std::equal(read.begin(), read.end(), c.mBrillo.begin())) << "image changed";
        EXPECT_EQ(c.gBrilloMaximo, maximo);
        return n;
    }
    // Every selected star lies on a true star.
    void ExpectTrueStars(const std::vector<render::Star>& truth, double within) {
        for (int32_t i = 1; i <= c.mNumSeleccionadas; ++i) {
            size_t k = 0;
            const EstrellaImagen& e = c.mSeleccionadas[static_cast<size_t>(i)];
            EXPECT_LT(Nearest(e, truth, k), within) << "candidate " << i << " at " << e.x << ", " << e.y;
        }
    }
};

TEST_F(Fallbacks, VignettedFrameKeepsItsStars) {
    render::Field field = Stars(3, 1000, 10, 2000, 40000);
    render::Image image = render::Render(field);
    AddGlow(image, 5000);
    const std::string path = p.home.File("vignetted.fit");
    ASSERT_TRUE(render::WriteFits(path, image, render::FitsStorage::Unsigned));
    const int32_t alone = Alone(path);
    EXPECT_LT(alone, kEnoughCandidates);
    EXPECT_EQ(Run(path), 10);
    EXPECT_GE(c.mNumCandidatas, kEnoughCandidates);
    ExpectTrueStars(render::Truth(field), 0.5);
    EXPECT_TRUE(p.platform.SummaryHas("Only " + std::to_string(alone) +
                                      " candidates: extracting again without the local background."));
}

TEST_F(Fallbacks, StretchedEightBitFrameWithAGradient) {
    render::Field field = Stars(5, 3000, 40, 3000, 60000);
    render::Image image = render::Render(field);
    for (int32_t y = 1; y <= image.height; ++y)
        for (int32_t x = 1; x <= image.width; ++x)
            image.counts[static_cast<size_t>(y - 1) * static_cast<size_t>(image.width) +
                         static_cast<size_t>(x - 1)] += static_cast<float>(6 * x);
    const std::string path = p.home.File("stretched.bmp");
    ASSERT_TRUE(render::WriteBmp(path, image, 8, render::BmpRows::BottomUp, 250.0 / 20000));
    EXPECT_LT(Alone(path), kEnoughCandidates);
    EXPECT_GE(Run(path), 4);
    EXPECT_GE(c.mNumCandidatas, kEnoughCandidates);
    ExpectTrueStars(render::Truth(field), 1.0);
}

TEST_F(Fallbacks, EnoughStarsKeepTheFirstExtractionTooFewEndTheAnalysis) {
    render::Field field = Stars(7, 1200, 12, 3000, 300000);
    const std::string path = p.home.File("plain.fit");
    ASSERT_TRUE(render::WriteFits(path, render::Render(field), render::FitsStorage::Unsigned));
    EXPECT_EQ(Run(path), 10);
    for (const std::string& line : p.platform.summary)
        EXPECT_EQ(line.find("extracting again"), std::string::npos) << line;

    // A flat frame with three blobs: every extraction keeps too few, the analysis ends.
    render::Field flat = Stars(9, 1000, 0, 1, 1);
    flat.stars.clear();
    for (int32_t i = 0; i < 3; ++i)
        flat.stars.push_back({100.0 + 150 * i, 200.0, 50000});
    const std::string few = p.home.File("few.fit");
    ASSERT_TRUE(render::WriteFits(few, render::Render(flat), render::FitsStorage::Unsigned));
    EXPECT_EQ(Run(few), 0);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_LT(c.mNumCandidatas, 4);
}

}  // namespace
}  // namespace tornel
