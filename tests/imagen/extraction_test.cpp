// Extraction on rendered star fields: the selected stars are the brightest true stars, wherever the
// picture comes from, and a reversed picture gives the mirrored stars.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

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
void ExpectBrightestTrueStars(const std::vector<EstrellaImagen>& stars,
                              const std::vector<render::Star>& truth, size_t wanted) {
    ASSERT_EQ(stars.size(), wanted);
    for (size_t i = 0; i < stars.size(); ++i) {
        size_t k = 0;
        double d = Nearest(stars[i], truth, k);
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

// The check of an answer needs the faint stars of the whole frame, while the search takes the few
// brightest of the part it analyses.
TEST(Extraction, TheCheckOfAnAnswerGetsTheFaintStarsOfTheWholeImage) {
    ImageProgram p;
    render::Field field = StarField(5);
    field.stars = render::RandomStars(150, field.width, field.height, 20, 15, 1500, 300000, 5);
    const std::vector<render::Star> truth = render::Truth(field);
    const std::string path = p.home.File("deep.fit");
    ASSERT_TRUE(render::WriteFits(path, render::Render(field), render::FitsStorage::Unsigned));
    ASSERT_TRUE(p.Load(path));
    Context& c = p.c;
    c.gUmbralAutomatico = 1;
    c.gAreaImagen = 1;
    c.mRectanguloX1 = 480, c.mRectanguloY1 = 380, c.mRectanguloX2 = 160, c.mRectanguloY2 = 100;
    ASSERT_EQ(p.Extract().size(), 10U);
    ASSERT_GT(c.gXMin, 1);
    ASSERT_LT(c.gXMax, field.width);
    // The scan waits for the first check of an answer.
    EXPECT_TRUE(c.verificationStars.empty());
    FindVerificationStars(c);

    std::vector<EstrellaImagen> all(c.mEstrellas.begin() + 1, c.mEstrellas.begin() + c.mNumCandidatas + 1);
    all.insert(all.end(), c.verificationStars.begin(), c.verificationStars.end());
    EXPECT_LE(all.size(), static_cast<size_t>(kMaxVerificationStars));
    int32_t outside = 0, onTruth = 0;
    for (const EstrellaImagen& e : c.verificationStars) {
        for (int32_t k = 1; k <= c.mNumCandidatas; ++k)
            EXPECT_GT(std::hypot(e.x - c.mEstrellas[static_cast<size_t>(k)].x,
                                 e.y - c.mEstrellas[static_cast<size_t>(k)].y),
                      5);
        if (e.x < c.gXMin || e.x > c.gXMax || e.y < c.gYMin || e.y > c.gYMax) ++outside;
        size_t k = 0;
        if (Nearest(e, truth, k) < 1) ++onTruth;
    }
    EXPECT_GT(outside, 50);
    EXPECT_GE(onTruth, 0.9 * static_cast<double>(c.verificationStars.size()));
    // Nearly every true star is there once.
    int32_t found = 0;
    for (const render::Star& t : truth)
        if (std::any_of(all.begin(), all.end(),
                        [&](const EstrellaImagen& e) { return std::hypot(e.x - t.x, e.y - t.y) < 1; }))
            ++found;
    EXPECT_GE(found, 135);
}

// Levels of the 8-bit files: the brightest star peaks just below 255.
constexpr double kEightBit = 245.0 / 20000;

struct SameField : ::testing::Test {
    ImageProgram p;
    render::Field field = StarField(11);
    std::vector<render::Star> truth = render::Truth(field);

    std::vector<EstrellaImagen> Stars(const std::string& path) {
        p.c.gUmbralAutomatico = 1;
        EXPECT_TRUE(p.Load(path)) << path;
        return p.Extract();
    }
};

TEST_F(SameField, FitsBmpAndJpgGiveTheSameStars) {
    render::Image image = render::Render(field);
    std::vector<std::string> files;
    for (auto storage : {render::FitsStorage::Signed, render::FitsStorage::Unsigned}) {
        files.push_back(p.home.File("field" + std::to_string(files.size()) + ".fit"));
        ASSERT_TRUE(render::WriteFits(files.back(), image, storage));
    }
    for (int bits : {8, 24, 32})
        for (auto rows : {render::BmpRows::BottomUp, render::BmpRows::TopDown}) {
            files.push_back(p.home.File("field" + std::to_string(files.size()) + ".bmp"));
            ASSERT_TRUE(render::WriteBmp(files.back(), image, bits, rows, kEightBit));
        }
    files.push_back(p.home.File("field.jpg"));
    ASSERT_TRUE(render::WriteJpg(files.back(), image, 95, true, kEightBit));
    for (const std::string& f : files) {
        SCOPED_TRACE(f);
        ExpectBrightestTrueStars(Stars(f), truth, 10);
    }
}

TEST_F(SameField, ReversedPicturesGiveTheMirroredStars) {
    render::Field mirrored = field;
    mirrored.mirror = true;
    render::Image image = render::Render(mirrored);
    std::string fit = p.home.File("mirror.fit"), bmp = p.home.File("mirror.bmp"),
                jpg = p.home.File("mirror.jpg");
    ASSERT_TRUE(render::WriteFits(fit, image, render::FitsStorage::Unsigned));
    ASSERT_TRUE(render::WriteBmp(bmp, image, 24, render::BmpRows::TopDown, kEightBit));
    ASSERT_TRUE(render::WriteJpg(jpg, image, 95, false, kEightBit));
    // As read, the picture holds the stars mirrored; reversed, it holds them as the sky has them.
    ExpectBrightestTrueStars(Stars(fit), render::Truth(mirrored), 10);
    p.c.gImagenInvertida = 1;
    for (const std::string& f : {fit, bmp, jpg}) {
        SCOPED_TRACE(f);
        ExpectBrightestTrueStars(Stars(f), truth, 10);
    }
}

TEST_F(SameField, FixedThresholdAndHotPixels) {
    // Hot pixels are single lit pixels: their outline is too short to be kept.
    for (int32_t i = 0; i < 200; ++i)
        field.hotPixels.push_back({5 + (i * 37) % 630, 5 + (i * 53) % 470, 30000});
    std::string fit = p.home.File("hot.fit");
    ASSERT_TRUE(render::WriteFits(fit, render::Render(field), render::FitsStorage::Unsigned));
    ASSERT_TRUE(p.Load(fit));
    p.c.gUmbral = 0.02;
    ExpectBrightestTrueStars(p.Extract(), truth, 10);
    EXPECT_TRUE(
        p.platform.SummaryHas("Background brightness = " + std::to_string(p.c.mBrilloFondo) +
                              " Maximal brightness = " + std::to_string(p.c.gBrilloMaximo) +
                              "  Initial threshold brightness = " + std::to_string(p.c.mBrilloUmbral)));
}

// A FITS image of W x H at level 100 with the pixels of `lit` at 5000, signed data.
struct Blobs : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;
    render::Field f;
    void SetUp() override {
        f.width = 200, f.height = 150, f.noise = 0, f.sky = 100;
        c.gUmbral = 0.5;
    }
    void Lit(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
        for (int32_t y = y0; y <= y1; ++y)
            for (int32_t x = x0; x <= x1; ++x)
                f.hotPixels.push_back({x, y, 4900});
    }
    int32_t Run(int32_t area = 0) {
        std::string path = p.home.File("blobs.fit");
        EXPECT_TRUE(render::WriteFits(path, render::Render(f), render::FitsStorage::Signed));
        EXPECT_TRUE(p.Load(path));
        c.gAreaImagen = area;
        CalculaBrilloDeFondoYumbral(c);
        return ExtraeEstrellasLaberinto(c);
    }
    bool Says(const std::string& line) const { return p.platform.SummaryHas(line); }
};

TEST_F(Blobs, PerimeterLimitsAndEdgesDecideWhatIsKept) {
    Lit(20, 20, 20, 20);    // one pixel: p = 1
    Lit(40, 20, 41, 20);    // two pixels: p = 2
    Lit(30, 40, 33, 43);    // 4 x 4: p = 12, kept
    Lit(60, 40, 63, 43);    // kept
    Lit(90, 40, 94, 44);    // kept
    Lit(120, 40, 125, 45);  // kept
    Lit(1, 80, 4, 84);      // starts on the left edge: dropped
    Lit(190, 80, 200, 84);  // touches the right edge: a contour, but no candidate
    Lit(20, 100, 50, 140);  // perimeter 140: above the maximum
    EXPECT_EQ(Run(), 4);
    EXPECT_EQ(c.mNumContornos, 5);
    EXPECT_EQ(c.mNumCandidatas, 4);
    // Brightest first: the sums grow with the size of the square.
    EXPECT_DOUBLE_EQ(c.mSeleccionadas[1].x, 122.5);
    EXPECT_DOUBLE_EQ(c.mSeleccionadas[1].y, 42.5);
    // Equal sums: the candidate met first stays first.
    EXPECT_DOUBLE_EQ(c.mSeleccionadas[3].x, 31.5);
    EXPECT_DOUBLE_EQ(c.mSeleccionadas[4].x, 61.5);
    EXPECT_FALSE(c.mFinAnalisis);
}

TEST_F(Blobs, TooFewContoursOrCandidates) {
    Lit(30, 40, 33, 43);
    Lit(60, 40, 63, 43);
    EXPECT_EQ(Run(), -1);
    EXPECT_TRUE(Says("Only 2 contours."));
    EXPECT_EQ(p.platform.titles.back(), "Only 2 contours.");
    Lit(90, 40, 93, 43);
    Lit(190, 80, 200, 84);  // a contour, but cut by the edge
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(Says("Only 3 candidates."));
    EXPECT_TRUE(c.mFinAnalisis);
}

TEST_F(Blobs, RectangleAreas) {
    for (int32_t i = 0; i < 4; ++i) {
        Lit(30 + 30 * i, 30, 33 + 30 * i, 33);    // inside the rectangle
        Lit(30 + 30 * i, 110, 33 + 30 * i, 113);  // outside it
    }
    c.mRectanguloX1 = 150, c.mRectanguloY1 = 60, c.mRectanguloX2 = 20, c.mRectanguloY2 = 20;
    EXPECT_EQ(Run(1), 4);
    for (size_t i = 1; i <= 4; ++i)
        EXPECT_DOUBLE_EQ(c.mSeleccionadas[i].y, 31.5);
    // The diagonals of the rectangle cross two of its squares, which raises the background.
    EXPECT_TRUE(
        Says("Background brightness = 175 Maximal brightness = 5000  Initial threshold brightness = 2588"));
    EXPECT_EQ(Run(2), 4);
    for (size_t i = 1; i <= 4; ++i)
        EXPECT_DOUBLE_EQ(c.mSeleccionadas[i].y, 111.5);
}

TEST_F(Blobs, RunawayWalksAndTooManyContours) {
    // A thin line: its walk takes more than 10000 steps.
    f.width = 3000;
    f.height = 60;
    Lit(3, 30, 2997, 30);
    EXPECT_EQ(Run(), -1);
    EXPECT_TRUE(Says("ExtraeContornosFueraYtoda > 10000"));

    f.width = 300;
    f.height = 240;
    f.hotPixels.clear();
    for (int32_t y = 0; y < 34; ++y)
        for (int32_t x = 0; x < 34; ++x)
            Lit(5 + 8 * x, 5 + 7 * y, 8 + 8 * x, 8 + 7 * y);
    EXPECT_EQ(Run(), -1);
    EXPECT_TRUE(Says("Low threshold. Too many contours."));
    EXPECT_EQ(c.mNumContornos, 1000);
}

TEST_F(Blobs, AutomaticThresholdOnAFlatImage) {
    Lit(60, 20, 63, 23);
    c.gUmbralAutomatico = 1;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(c.mNumContornos, 1);
    EXPECT_TRUE(c.mFinAnalisis);
}

}  // namespace
}  // namespace tornel
