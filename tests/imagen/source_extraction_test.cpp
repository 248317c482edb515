// The extraction for the pattern search: stars found over gradients and noise, clutter that is no
// star refused, and the image in memory read with its analysis area and binning.
#include "imagen/source_extraction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "herramientas/render/render.h"
#include "imagen/imagen.h"
#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

struct Plane {
    int32_t width = 0, height = 0;
    std::vector<int16_t> pixels;
    int16_t& At(int32_t x, int32_t y) {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    SourceImage View() const { return {pixels.data(), width, height, width}; }
};

Plane FromRender(const render::Image& image) {
    Plane p{image.width, image.height, {}};
    for (float v : image.counts)
        p.pixels.push_back(static_cast<int16_t>(std::clamp(std::lround(v), 0L, 32767L)));
    return p;
}

render::Field Sky(int32_t stars, uint32_t seed) {
    render::Field f;
    f.width = 600, f.height = 400;
    f.psfSigma = 1.4, f.sky = 1200, f.noise = 12, f.gradient = 900, f.seed = seed;
    f.stars = render::RandomStars(stars, f.width, f.height, 15, 12, 2500, 300000, seed);
    return f;
}

// The distance from a source to the nearest star of the truth (render pixels from 1).
double Nearest(const Source& s, const std::vector<render::Star>& truth) {
    double best = 1e300;
    for (const render::Star& t : truth)
        best = std::min(best, std::hypot(s.x + 1 - t.x, s.y + 1 - t.y));
    return best;
}

TEST(SourceExtraction, FindsTheStarsOverAGradientBrightestFirstAndWhereTheyAre) {
    const render::Field field = Sky(60, 7);
    const Plane plane = FromRender(render::Render(field));
    std::vector<Source> sources;
    ASSERT_EQ(ExtractSources(plane.View(), SourceOptions{}, sources), SourceStatus::Ok);
    const std::vector<render::Star> truth = render::Truth(field);
    // Every star well above the noise is found, close to where it was put.
    size_t found = 0;
    for (const render::Star& t : truth) {
        if (t.flux < 5000) continue;
        const bool seen = std::any_of(sources.begin(), sources.end(), [&](const Source& s) {
            return std::hypot(s.x + 1 - t.x, s.y + 1 - t.y) < 0.25;
        });
        found += seen;
        EXPECT_TRUE(seen) << "star at " << t.x << ", " << t.y << " of flux " << t.flux;
    }
    EXPECT_GT(found, 40u);
    // Nothing is found where there is no star, and the brightest come first.
    for (const Source& s : sources)
        EXPECT_LT(Nearest(s, truth), 1.0) << s.x << ", " << s.y;
    ASSERT_GE(sources.size(), 10u);
    for (size_t k = 0; k < 5; ++k)
        EXPECT_LT(Nearest(sources[k], {truth.begin(), truth.begin() + 8}), 0.25) << k;
    for (size_t k = 1; k < sources.size(); ++k)
        EXPECT_GE(sources[k - 1].flux, sources[k].flux);
}

TEST(SourceExtraction, RefusesHotPixelsStreaksLargeObjectsTexturesAndStarsOnTheEdge) {
    render::Field field = Sky(25, 11);
    field.hotPixels = {{200, 330, 4000}, {500, 300, 6000}};
    Plane plane = FromRender(render::Render(field));
    // A satellite's streak, a bright galaxy, a lit tree's grains on a patch, and a star cut by the edge.
    for (int32_t x = 200; x < 320; ++x)
        for (int32_t w = -1; w <= 1; ++w)
            plane.At(x, 60 + (x - 200) / 3 + w) += static_cast<int16_t>(w == 0 ? 900 : 400);
    for (int32_t y = 250; y < 350; ++y)
        for (int32_t x = 380; x < 480; ++x)
            plane.At(x, y) +=
                static_cast<int16_t>(3000 * std::exp(-(std::pow(x - 430, 2) + std::pow(y - 300, 2)) / 800));
    // Foliage lit by a street lamp: a raised patch of grains a few pixels across.
    std::mt19937 grains(3);
    std::uniform_real_distribution<double> grain(0, 1);
    std::vector<double> lit(130 * 130);
    for (double& v : lit)
        v = grain(grains);
    for (int32_t y = 1; y < 129; ++y)
        for (int32_t x = 1; x < 129; ++x) {
            double sum = 0;
            for (int32_t j = -1; j <= 1; ++j)
                for (int32_t i = -1; i <= 1; ++i)
                    sum += lit[static_cast<size_t>((y + j) * 130 + x + i)];
            plane.At(x, y) += static_cast<int16_t>(300 + 90 * sum);
        }
    for (int32_t y = 195; y < 205; ++y)
        for (int32_t x = 0; x < 4; ++x)
            plane.At(x, y) += 5000;

    std::vector<Source> sources;
    ASSERT_EQ(ExtractSources(plane.View(), SourceOptions{}, sources), SourceStatus::Ok);
    auto near = [&](double x, double y, double r) {
        return std::any_of(sources.begin(), sources.end(),
                           [&](const Source& s) { return std::hypot(s.x - x, s.y - y) < r; });
    };
    EXPECT_FALSE(near(199, 329, 2)) << "hot pixel";
    EXPECT_FALSE(near(499, 299, 2)) << "hot pixel";
    EXPECT_FALSE(near(260, 80, 30)) << "streak";
    EXPECT_FALSE(near(430, 300, 6)) << "galaxy";
    EXPECT_FALSE(near(1, 200, 4)) << "edge";
    // What stands on the foliage and is no star is known for clutter, and comes after every star.
    const std::vector<render::Star> truth = render::Truth(field);
    for (const Source& s : sources)
        if (s.x > 10 && s.x < 120 && s.y > 10 && s.y < 120 && Nearest(s, truth) > 1) {
            EXPECT_TRUE(s.cluttered) << s.x << ", " << s.y;
        }
    EXPECT_TRUE(
        std::is_partitioned(sources.begin(), sources.end(), [](const Source& s) { return !s.cluttered; }));
    // The stars away from the clutter are still there.
    size_t stars = 0;
    for (const render::Star& t : truth)
        if (t.flux > 8000 && (t.x > 135 || t.y > 135) && std::hypot(t.x - 431, t.y - 301) > 60)
            stars += near(t.x - 1, t.y - 1, 0.5) ? 1 : 0;
    EXPECT_GT(stars, 10u);
}

TEST(SourceExtraction, AFlatPictureHasNoSourcesAndBadInputIsTold) {
    Plane flat{200, 100, std::vector<int16_t>(20000, 37)};
    std::vector<Source> sources{Source{}};
    EXPECT_EQ(ExtractSources(flat.View(), SourceOptions{}, sources), SourceStatus::Ok);
    EXPECT_TRUE(sources.empty());
    EXPECT_EQ(ExtractSources(SourceImage{}, SourceOptions{}, sources), SourceStatus::EmptyImage);
    Plane tiny{2, 2, std::vector<int16_t>(4, 0)};
    EXPECT_EQ(ExtractSources(tiny.View(), SourceOptions{}, sources), SourceStatus::EmptyImage);
    SourceOptions none;
    none.thresholds.clear();
    EXPECT_EQ(ExtractSources(flat.View(), none, sources), SourceStatus::BadOptions);
}

// The image in memory, read from a file as the analysis reads it.
class PatternSourcesTest : public ::testing::Test {
  protected:
    testing::ImageProgram program;
    render::Field field;

    void Load(int32_t width, int32_t height, uint32_t seed) {
        field.width = width, field.height = height;
        field.psfSigma = 1.6, field.sky = 900, field.noise = 10, field.seed = seed;
        field.stars = render::RandomStars(40, width, height, 20, 15, 4000, 200000, seed);
        const std::string path = program.home.Path() + "field.fit";
        ASSERT_TRUE(render::WriteFits(path, render::Render(field), render::FitsStorage::Signed));
        ASSERT_TRUE(program.Load(path));
    }
    size_t Matched(const std::vector<EstrellaImagen>& stars, double within) {
        size_t n = 0;
        for (const EstrellaImagen& e : stars)
            for (const render::Star& t : render::Truth(field))
                if (std::hypot(e.x - t.x, e.y - t.y) < within) {
                    ++n;
                    break;
                }
        return n;
    }
};

TEST_F(PatternSourcesTest, ComeInImagePixelsAndKeepToTheAnalysisArea) {
    Load(500, 300, 5);
    Context& c = program.c;
    const std::vector<EstrellaImagen> all = PatternSources(c);
    EXPECT_GE(all.size(), 35u);
    EXPECT_EQ(Matched(all, 0.25), all.size());
    c.patternArea = 1;
    c.patternXMin = 1, c.patternXMax = 250, c.patternYMin = 1, c.patternYMax = 300;
    const std::vector<EstrellaImagen> left = PatternSources(c);
    EXPECT_TRUE(std::all_of(left.begin(), left.end(), [](const EstrellaImagen& e) { return e.x <= 250; }));
    c.patternArea = 2;
    const std::vector<EstrellaImagen> right = PatternSources(c);
    EXPECT_TRUE(std::all_of(right.begin(), right.end(), [](const EstrellaImagen& e) { return e.x > 250; }));
    EXPECT_EQ(left.size() + right.size(), all.size());
    // The distance road narrows a wide field to its centre; the pattern search still sees it all.
    c.gAreaImagen = 0;
    c.gLadoMaximoGrados = 0.05;
    CalculaBrilloDeFondoYumbral(c);
    ASSERT_EQ(c.gAreaImagen, 1);
    EXPECT_EQ(PatternSources(c).size(), all.size());
}

TEST_F(PatternSourcesTest, AVeryLargeImageIsBinnedAndAnswersInItsOwnPixels) {
    Load(4400, 400, 9);
    const std::vector<EstrellaImagen> stars = PatternSources(program.c);
    EXPECT_GE(stars.size(), 30u);
    // A third of a pixel at the binning of 3: a star is a pixel across there.
    EXPECT_EQ(Matched(stars, 1.0), stars.size());
}

}  // namespace
}  // namespace tornel
