// Extraction on rendered star fields: the selected stars are the brightest true stars, wherever the
// picture comes from, and a reversed picture gives the mirrored stars.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

using testing::ImageProgram;
using testing::Nearest;

render::Field StarField(uint32_t seed, int32_t width = 640, int32_t height = 480) {
    render::Field f;
    f.width = width;
    f.height = height;
    f.psfSigma = 1.6;
    f.sky = 1200;
    f.noise = 12;
    f.seed = seed;
    f.stars = render::RandomStars(40, width, height, 20, 40, 3000, 300000, seed);
    return f;
}

// Each selected star lies within half a pixel of a true star, and they are the brightest ones in
// order.
void ExpectBrightestTrueStars(const std::vector<EstrellaImagen>& stars, const std::vector<render::Star>& truth,
                              size_t wanted) {
    ASSERT_EQ(stars.size(), wanted);
    for (size_t i = 0; i < stars.size(); ++i) {
        size_t k = 0;
        double d = Nearest(stars[i], truth, k);
        std::printf("%zu d=%.3f k=%zu\n", i, d, k);
        EXPECT_LT(d, 0.5) << "star " << i + 1 << " at " << stars[i].x << ", " << stars[i].y;
        EXPECT_EQ(k, i) << "star " << i + 1 << " is not the " << i + 1 << "th brightest";
    }
}

TEST(Extraction, AutomaticThresholdSelectsTheBrightestStarsOfAFits) {
    ImageProgram p;
    render::Field field = StarField(7);
    std::string path = p.home.File("field.fit");
    ASSERT_TRUE(render::WriteFits(path, render::Render(field), render::FitsStorage::Unsigned));
    ASSERT_TRUE(p.Load(path));
    p.c.gUmbralAutomatico = 1;
    ExpectBrightestTrueStars(p.Extract(), render::Truth(field), 10);
    EXPECT_GE(p.c.mNumContornos, 20);
    EXPECT_LE(p.c.mNumContornos, 30);
}

}  // namespace
}  // namespace tornel
