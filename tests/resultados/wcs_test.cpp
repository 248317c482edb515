// The FITS WCS writer: card texts, the CD matrix measured on a plate, the header rewrite record by
// record, real images whose rewritten header astropy reads back, and fields solved by tornel-cli.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "astrometria/plate_model.h"
#include "comun/files.h"
#include "core/parametros.h"
#include "resultados/wcs.h"
#include "tests/support/astropy_wcs.h"
#include "tests/support/generated_sky.h"
#include "tests/support/test_program.h"
#include "tests/support/wide_camera.h"

namespace tornel {
namespace {

using testing::Astropy;
using testing::AstropyReading;
using testing::SeparationDegrees;
using testing::TestProgram;

constexpr size_t kBlock = 2880;

std::string Card(const std::string& text) {
    std::string card = text;
    card.resize(80, ' ');
    return card;
}

// A FITS file: the cards, END (unless left out), blank cards to the block, then the data bytes.
std::string FitsBytes(const std::vector<std::string>& cards, const std::string& data, bool withEnd = true) {
    std::string out;
    for (const auto& card : cards)
        out += Card(card);
    if (withEnd) out += Card("END");
    while (out.size() % kBlock != 0)
        out += ' ';
    return out + data;
}

std::string DataBytes(size_t size) {
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i)
        data[i] = static_cast<char>((i * 7 + i / 2880) % 251);
    return data;
}

std::vector<std::string> Cards(const std::string& bytes, size_t from, size_t count) {
    std::vector<std::string> cards;
    for (size_t i = 0; i < count; ++i)
        cards.push_back(bytes.substr((from + i) * 80, 80));
    return cards;
}

double CardValue(const std::string& block, const std::string& keyword) {
    for (size_t at = 0; at + 80 <= block.size(); at += 80)
        if (block.compare(at, keyword.size(), keyword) == 0) return std::stod(block.substr(at + 10, 70));
    ADD_FAILURE() << keyword << " missing";
    return 0;
}

// An ideal camera: the plate's rows are the sky directions of the image's x and y axes and of its
// optical axis. North is up and east left, or right when `mirrored`.
struct PlateProgram : TestProgram {
    PlateProgram(double ra, double dec, bool mirrored) {
        c.gAnchoImagen = c.gPixelesX = 800;
        c.gAltoImagen = c.gPixelesY = 600;
        c.gFocalEnPixeles = 20000;
        double a = ra * c.gGradosARadianes, d = dec * c.gGradosARadianes, side = mirrored ? 1 : -1;
        std::array<double, 3> east{-std::sin(a), std::cos(a), 0};
        std::array<double, 3> north{-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)};
        std::array<double, 3> centre{std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
        for (int j = 0; j < 3; ++j) {
            c.Cij[1][j + 1] = side * east[j];
            c.Cij[2][j + 1] = north[j];
            c.Cij[3][j + 1] = centre[j];
        }
        c.gHaySolucion = true;
        c.gARJ2000 = ra;
        c.gDEJ2000 = dec;
    }
    // Degrees per pixel of the ideal camera at the centre.
    double Scale() const { return std::atan(1.0 / c.gFocalEnPixeles) / c.gGradosARadianes; }
};

TEST(WcsCards, NumbersAndKeywords) {
    EXPECT_EQ(DobleAcadenaFIT(0.1), "0.1" + std::string(17, ' '));
    EXPECT_EQ(DobleAcadenaFIT(1.5e-05), "1.5E-05             ");
    EXPECT_EQ(DobleAcadenaFIT(400), "400                 ");
    EXPECT_EQ(DobleAcadenaFIT(1e15), "1E+15               ");
    EXPECT_EQ(DobleAcadenaFIT(1.0 / 3), "0.333333333333333   ");
    EXPECT_EQ(DobleAcadenaFIT(-2.77777777777778e-4), "-0.000277777777777778");  // longer: kept whole

    std::string line = Card("CRVAL1  =            85.274970 /GetImage: RA of reference pixel");
    bool modificada = false;
    CompruebaLineaWCS(line, modificada);
    EXPECT_TRUE(modificada);
    EXPECT_EQ(line, ("COMMENT (**) CRVAL1  =            85.274970 /GetImage: RA of reference pixel" +
                     std::string(80, ' '))
                            .substr(0, 79) +
                        " ");
    for (const char* other : {"CRVAL1A =  1", "EQUINOX=  2000", "OBJECT  = 'M42'", "CD1_1"}) {
        std::string card = other;
        CompruebaLineaWCS(card, modificada);
        EXPECT_FALSE(modificada) << other;
        EXPECT_EQ(card, other);
    }
}

// The four CD elements of the block composed for the plate in force.
std::array<double, 4> CdOf(Context& c) {
    std::string block;
    int32_t longitud = 0;
    FabricaCadenaWCS(c, block, longitud);
    EXPECT_EQ(longitud, 18 * 80);
    return {CardValue(block, "CD1_1"), CardValue(block, "CD1_2"), CardValue(block, "CD2_1"),
            CardValue(block, "CD2_2")};
}

TEST(WcsCards, BlockAndMatrixFromThePlate) {
    PlateProgram p(83.82, -5.39, false);
    std::string block;
    int32_t longitud = 0;
    FabricaCadenaWCS(p.c, block, longitud);
    ASSERT_EQ(block.size(), 18u * 80);
    EXPECT_EQ(block.substr(0, 80), Card("COMMENT = Tornel is a telescope pointing tool, "));
    EXPECT_EQ(block.substr(6 * 80, 80),
              Card("CRPIX1  = 400                  / pixel coordinate x at reference point"));
    EXPECT_EQ(block.substr(7 * 80, 80), Card("CRVAL1  = 83.82                / RA at image center"));
    EXPECT_EQ(block.substr(11 * 80, 80), Card("CRVAL2  = -5.39                / DEC at image center"));
    EXPECT_EQ(block.substr(17 * 80, 80), Card("END"));
    // North up and east left: RA grows to the left, declination upwards. Measured over 10 arcminutes,
    // the scale is the centre's to a few parts in a million.
    double k = p.Scale();
    auto near = [k](const std::array<double, 4>& cd, const std::array<double, 4>& expected) {
        for (size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(cd[i], expected[i] * k, 1e-5 * k) << "CD element " << i;
    };
    near(CdOf(p.c), {-1, 0, 0, 1});
    PlateProgram mirrored(200, 40, true);
    near(CdOf(mirrored.c), {1, 0, 0, 1});
    // A reversed image turns the y of both test vectors before the matrix is formed, and its centre
    // row is read from the other end of the file.
    p.c.gImagenInvertida = 1;
    near(CdOf(p.c), {-1, 0, 0, -1});
    FabricaCadenaWCS(p.c, block, longitud);
    EXPECT_EQ(block.substr(10 * 80, 80),
              Card("CRPIX2  = 301                  / pixel coordinate y at reference point"));
}

struct RewriteProgram : PlateProgram {
    RewriteProgram() : PlateProgram(83.82, -5.39, false) {}
    std::string Rewrite(const std::string& original) {
        ExtraeNombreDeRuta(c, home.Write("image.fit", original));
        GrehacerCabeceraFits(c);
        return home.Read("image.fit");
    }
};

TEST(WcsRewrite, EarlierCardsBecomeCommentsInTheirPlace) {
    RewriteProgram p;
    std::vector<std::string> cards = {
        "SIMPLE  =                    T", "EQUINOX =               2000.0 / old",
        "CRVAL1  =      10.123456789012 / an earlier solution with a long tail", "DATE-OBS= '2009-05-18'"};
    std::string data = DataBytes(2 * kBlock);
    p.home.Write("image.fitConWCS.kkk", "left by a run that failed");
    std::string out = p.Rewrite(FitsBytes(cards, data + std::string(50, 'x')));
    std::vector<std::string> header = Cards(out, 0, 36);
    EXPECT_EQ(header[1], Card("COMMENT (**) EQUINOX =               2000.0 / old"));
    // The old card's tail is cut so that column 80 is a blank.
    EXPECT_EQ(header[2], "COMMENT (**) CRVAL1  =      10.123456789012 / an earlier solution with a long t ");
    EXPECT_EQ(header[3], Card("DATE-OBS= '2009-05-18'"));
    EXPECT_EQ(header[4], Card("COMMENT = WCS coordinates modified by Tornel:"));
    EXPECT_EQ(header[5], Card("COMMENT = (**) indicates modified WCS line in the original FITS file."));
    EXPECT_EQ(header[6], Card("COMMENT = Tornel is a telescope pointing tool, "));
    EXPECT_EQ(header[23], Card("END"));
    EXPECT_EQ(header[35], Card(""));
    // The data follows whole records only: the partial one at the end is dropped.
    EXPECT_EQ(out.substr(kBlock), data);
    EXPECT_FALSE(FileExists(p.c.gRutaImagen + "ConWCS.kkk"));
    EXPECT_EQ(p.c.gUltimaFechaBuzon, FileStamp(p.c.gRutaImagen));
    EXPECT_EQ(p.c.mFechaUltimaImagen, p.c.gUltimaFechaBuzon);
}

TEST(WcsRewrite, HeadersAtTheEdges) {
    RewriteProgram p;
    // END closing a block: 35 cards, a comment and 18 cards take two blocks, and the first block of
    // data is skipped, as it always was.
    std::string data = DataBytes(3 * kBlock);
    std::string out = p.Rewrite(FitsBytes(std::vector<std::string>(35, "HISTORY filler"), data));
    ASSERT_EQ(out.size(), 4 * kBlock);
    EXPECT_EQ(Cards(out, 35, 1)[0], Card("COMMENT = WCS coordinates added by Tornel:"));
    EXPECT_EQ(out.substr(2 * kBlock), data.substr(kBlock));
    // Without END: only the records and the blanks to the block.
    out = p.Rewrite(FitsBytes(std::vector<std::string>(40, "HISTORY no end card"), "", false));
    ASSERT_EQ(out.size(), 2 * kBlock);
    EXPECT_EQ(out.find("COMMENT = "), std::string::npos);
    EXPECT_EQ(Cards(out, 40, 1)[0], Card(""));
}

TEST(WcsRewrite, NothingAtThePolesOrAfterAFailedAnalysis) {
    std::string original = FitsBytes({"SIMPLE  =                    T"}, DataBytes(kBlock));
    for (double dec : {90.0, -90.0}) {
        PlateProgram p(10, dec, false);
        ExtraeNombreDeRuta(p.c, p.home.Write("pole.fit", original));
        GrehacerCabeceraFits(p.c);
        EXPECT_EQ(p.home.Read("pole.fit"), original) << dec;
        EXPECT_FALSE(FileExists(p.c.gRutaImagen + "ConWCS.kkk"));
    }
    RewriteProgram p;
    p.c.mFinAnalisis = true;
    EXPECT_EQ(p.Rewrite(original), original);
    // A missing image is the trap's: reported, the analysis ends.
    p.c.mFinAnalisis = false;
    ExtraeNombreDeRuta(p.c, p.home.File("absent.fit"));
    GrehacerCabeceraFits(p.c);
    EXPECT_TRUE(p.c.mFinAnalisis);
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_NE(p.platform.messages[0].find(" GrehacerCabeceraFits"), std::string::npos);
}

std::string Header(const std::string& bytes) {
    for (size_t at = 0; at + 80 <= bytes.size(); at += 80)
        if (bytes.compare(at, 8, "END     ") == 0) return bytes.substr(0, (at / kBlock + 1) * kBlock);
    return {};
}

// Real images: a plate is solved from three pixels placed by the image's reference solution, the
// header is rewritten, and astropy's reading of it must agree with the plate within a pixel at the
// centre and the corners, while the data after the header stays byte for byte. The written matrix is
// a rotation and a scale, as a lens gives; both references are square to 5 parts in 10000, which
// keeps the corners of the 11-degree tetra3 frame within a pixel.
TEST(WcsRewrite, AstropyReadsThePlateBackOnRealImages) {
    struct Image {
        const char* fits;
        const char* reference;  // the solution the plate is made from
        int32_t width, height;
        bool earlierWcs;
    };
    std::string validation = std::string(TORNEL_SOURCE_DIR) + "/../shared/validation/";
    for (const Image& image :
         {Image{"sim_randomsky_cas.fits", "sim_randomsky_cas.fits", 1280, 1024, true},
          Image{"tetra3_alt40_az-135.fits", "tetra3_alt40_az-135.wcs", 1024, 768, false}}) {
        SCOPED_TRACE(image.fits);
        TestProgram p;
        std::string original;
        ASSERT_TRUE(ReadWholeFile(validation + image.fits, original));
        const double w = image.width, h = image.height;
        std::vector<std::array<double, 2>> three = {
            {0.1 * w, 0.1 * h}, {0.9 * w, 0.2 * h}, {0.5 * w, 0.9 * h}};
        // The reference's bare projection, about the image centre as a lens has it.
        AstropyReading truth =
            Astropy(validation + image.reference, three,
                    "--core --centre " + std::to_string(w / 2) + " " + std::to_string(h / 2));
        ASSERT_EQ(truth.sky.size(), 3u);

        Context& c = p.c;
        c.gPixelesX = image.width, c.gPixelesY = image.height;
        c.gAnchoImagen = w, c.gAltoImagen = h;
        c.gFocalEnPixeles = FocalDesdeEscala(truth.scale);
        std::array<PlateStar, 3> stars;
        for (size_t i = 0; i < 3; ++i)
            stars[i] = {three[i][0], three[i][1], truth.sky[i][0], truth.sky[i][1]};
        ResuelveSistema(c, stars);
        CoordenadasImagenAesfericas(c, w / 2, h / 2);
        c.gHaySolucion = true;
        c.gARJ2000 = c.mRAconvertida;
        c.gDEJ2000 = c.mDECconvertida;
        ExtraeNombreDeRuta(c, p.home.Write(image.fits, original));
        GrehacerCabeceraFits(c);
        ASSERT_FALSE(c.mFinAnalisis);

        std::vector<std::array<double, 2>> checked = {{w / 2, h / 2}, {1, 1}, {w, 1}, {1, h}, {w, h}};
        AstropyReading written = Astropy(c.gRutaImagen, checked);
        ASSERT_EQ(written.sky.size(), checked.size());
        EXPECT_EQ(written.crpixX, w / 2);  // the new cards are the ones in force
        EXPECT_EQ(written.crpixY, h / 2);
        for (size_t i = 0; i < checked.size(); ++i) {
            CoordenadasImagenAesfericas(c, checked[i][0], checked[i][1]);
            double pixels =
                SeparationDegrees(written.sky[i][0], written.sky[i][1], c.mRAconvertida, c.mDECconvertida) *
                3600 / truth.scale;
            EXPECT_LT(pixels, 1.0) << "pixel " << checked[i][0] << ", " << checked[i][1];
        }

        std::string rewritten = p.home.Read(image.fits);
        std::string before = Header(original), after = Header(rewritten);
        ASSERT_FALSE(after.empty());
        EXPECT_EQ(rewritten.substr(after.size()), original.substr(before.size()));
        bool marked = after.find("COMMENT (**) CRVAL1  =") != std::string::npos;
        EXPECT_EQ(marked, image.earlierWcs);
        EXPECT_NE(after.find(image.earlierWcs ? "COMMENT = WCS coordinates modified by Tornel:"
                                              : "COMMENT = WCS coordinates added by Tornel:"),
                  std::string::npos);
    }
}

// A file the rewrite must not touch (a compressed FITS, a PNG, anything not read by the 16-bit
// reader) keeps every byte; the solution goes to a FITS header beside it, which astropy reads as the
// plate, in the pixels of the file: a binned image's pixel i covers the file's pixels 2i - 1 and 2i.
TEST(WcsBeside, TheImageStaysAsItIsAndItsCardsGoBeside) {
    for (int32_t binning : {1, 2}) {
        SCOPED_TRACE(binning);
        PlateProgram p(83.82, -5.39, false);
        Context& c = p.c;
        c.wcsBesideImage = true;
        c.imageBinning = binning;
        const std::string original =
            "SIMPLE  =                    T  compressed bytes that no rewrite may touch";
        ExtraeNombreDeRuta(c, p.home.Write("frame.fits.fz", original));
        GrehacerCabeceraFits(c);
        ASSERT_FALSE(c.mFinAnalisis);
        EXPECT_EQ(p.home.Read("frame.fits.fz"), original);
        EXPECT_EQ(c.gUltimaFechaBuzon, 0);  // the image did not change
        const std::string beside = c.gRutaImagen + ".wcs";
        EXPECT_TRUE(p.platform.SummaryHas("WCS written to " + beside));
        std::string header = p.home.Read("frame.fits.fz.wcs");
        ASSERT_EQ(header.size() % kBlock, 0u);
        EXPECT_EQ(header.substr(0, 80),
                  Card("SIMPLE  =                    T / the WCS of an image, no data"));
        EXPECT_EQ(header.substr(3 * 80, 80), Card("COMMENT = WCS coordinates of frame.fits.fz by Tornel:"));

        const double b = binning, w = 800 * b, h = 600 * b;
        std::vector<std::array<double, 2>> checked = {{w / 2, h / 2}, {1, 1}, {w, 1}, {1, h}, {w, h}};
        AstropyReading written = Astropy(beside, checked);
        ASSERT_EQ(written.sky.size(), checked.size());
        EXPECT_NEAR(written.scale, p.Scale() * 3600 / b, 1e-4 * p.Scale() * 3600);
        for (size_t i = 0; i < checked.size(); ++i) {
            CoordenadasImagenAesfericas(c, (checked[i][0] + (b - 1) / 2) / b,
                                        (checked[i][1] + (b - 1) / 2) / b);
            double filePixels =
                SeparationDegrees(written.sky[i][0], written.sky[i][1], c.mRAconvertida, c.mDECconvertida) /
                (p.Scale() / b);
            EXPECT_LT(filePixels, 0.05) << "pixel " << checked[i][0] << ", " << checked[i][1];
        }
    }
}

// A wide field solved with its matched stars: the camera of 4000 x 3000 file pixels, seen by the engine
// in square pixels (rows divided by the pixel ratio, read from the other end when reversed, binned b
// times by the reader), its plate fitted as a road fits it, a similarity to the stars.
struct WideProgram : TestProgram {
    struct Frame {
        bool reversed = false;
        double ratio = 1;
        int32_t binning = 1;
    } frame;
    testing::WideCamera camera;

    explicit WideProgram(Frame f, double across = 40, int stars = 300) : frame(f) {
        c.gPixelesX = 4000 / f.binning;
        c.gPixelesY = 3000 / f.binning;
        c.gRelacionPixel = f.ratio;
        c.gImagenInvertida = f.reversed ? 1 : 0;
        c.imageBinning = f.binning;
        c.gAnchoImagen = c.gPixelesX;
        c.gAltoImagen = c.gPixelesY / f.ratio;
        camera.ra0 = 250, camera.dec0 = 50, camera.roll = 30;
        camera.width = c.gAnchoImagen, camera.height = c.gAltoImagen, camera.across = across;
        c.gFocalEnPixeles = static_cast<int32_t>(camera.Focal());
        c.matchedStars = camera.Stars<MatchedStar>(stars, 0.1);
        std::vector<PlateStar> plate;
        for (const MatchedStar& s : c.matchedStars)
            plate.push_back({s.x, s.y, s.ra, s.dec});
        RotatePlate(c, plate);
        CoordenadasImagenAesfericas(c, c.gAnchoImagen / 2, c.gAltoImagen / 2);
        c.gARJ2000 = c.mRAconvertida;
        c.gDEJ2000 = c.mDECconvertida;
        c.gHaySolucion = true;
    }
    // The camera's sky at a pixel of the file.
    void Sky(double fileX, double fileY, double& ra, double& dec) const {
        const double b = frame.binning;
        double x = (fileX + (b - 1) / 2) / b, y = (fileY + (b - 1) / 2) / b;
        if (frame.reversed) y = c.gPixelesY + 1 - y;
        camera.Sky(x, y / frame.ratio, ra, dec);
    }
    // The centre, the corners and the middles of the sides, in pixels of the file.
    static std::vector<std::array<double, 2>> Checked() {
        return {{2000, 1500}, {1, 1},    {4000, 1},    {1, 3000},   {4000, 3000},
                {2000, 1},    {1, 1500}, {4000, 1500}, {2000, 3000}};
    }
    // The worst distance (pixels of the camera) between the camera's sky and astropy's reading of
    // `file` at the checked pixels; the header must raise no warning.
    double WorstOnSky(const std::string& file, int& sipOrder) {
        AstropyReading written = Astropy(file, Checked(), "--strict");
        sipOrder = written.sipOrder;
        double worst = 0;
        for (size_t i = 0; i < Checked().size() && i < written.sky.size(); ++i) {
            double ra = 0, dec = 0;
            Sky(Checked()[i][0], Checked()[i][1], ra, dec);
            worst = std::max(
                worst, SeparationDegrees(ra, dec, written.sky[i][0], written.sky[i][1]) / camera.Scale());
        }
        return written.sky.size() == Checked().size() ? worst : 1e9;
    }
};

// The SIP cards carry the lens: astropy's reading of the written header follows the camera to the
// corners and back from the sky through AP, BP, where the plain projection misses by many pixels, in
// the file's own pixels whether the image was reversed, of oblong pixels or binned.
TEST(WcsDistortion, AWideLensIsWrittenWithSipThatAstropyFollows) {
    for (const WideProgram::Frame frame : {WideProgram::Frame{false, 1, 1}, WideProgram::Frame{true, 1.25, 1},
                                           WideProgram::Frame{false, 1, 2}}) {
        SCOPED_TRACE(std::to_string(frame.reversed) + " " + std::to_string(frame.ratio) + " " +
                     std::to_string(frame.binning));
        WideProgram p(frame);
        ASSERT_FALSE(p.c.mFinAnalisis);
        const std::string file = p.home.File("field.wcs");
        ASSERT_TRUE(WriteWcsHeader(p.c, file));
        const std::string header = p.home.Read("field.wcs");
        EXPECT_NE(header.find(Card("CTYPE1  = 'RA---TAN-SIP'       / TAN projection with SIP distortion")),
                  std::string::npos);
        EXPECT_NE(
            header.find(Card("A_ORDER = 3                    / polynomial order, pixel to sky, axis 1")),
            std::string::npos);
        int order = 0;
        EXPECT_LT(p.WorstOnSky(file, order), 0.2);
        EXPECT_EQ(order, 3);

        std::vector<std::array<double, 2>> sky;
        for (const auto& px : WideProgram::Checked()) {
            double ra = 0, dec = 0;
            p.Sky(px[0], px[1], ra, dec);
            sky.push_back({ra, dec});
        }
        AstropyReading back = Astropy(file, sky, "--sky --strict");
        ASSERT_EQ(back.sky.size(), sky.size());
        EXPECT_GE(back.inverseOrder, 4);
        if (frame.binning == 1) {
            EXPECT_EQ(back.crpixX, 2000);
            EXPECT_EQ(back.crpixY, frame.reversed ? 1501 : 1500);
        }
        for (size_t i = 0; i < sky.size(); ++i)
            EXPECT_LT(std::hypot(back.sky[i][0] - WideProgram::Checked()[i][0],
                                 (back.sky[i][1] - WideProgram::Checked()[i][1]) / frame.ratio),
                      0.2 * frame.binning)
                << "pixel " << i;

        p.c.matchedStars.clear();
        ASSERT_TRUE(WriteWcsHeader(p.c, file));
        EXPECT_GT(p.WorstOnSky(file, order), 10);
        EXPECT_EQ(order, 0);
    }
}

// Only a wide field whose stars can fix the model gets it; any other keeps the plain cards, byte for
// byte, and nothing fails.
TEST(WcsDistortion, NarrowFieldsAndUnfitStarsKeepThePlainCards) {
    auto block = [](Context& c) {
        std::string cadena;
        int32_t longitud = 0;
        FabricaCadenaWCS(c, cadena, longitud);
        EXPECT_FALSE(c.mFinAnalisis);
        return cadena;
    };
    auto plain = [&](WideProgram& p) {
        std::string with = block(p.c);
        p.c.matchedStars.clear();
        EXPECT_EQ(with, block(p.c));
        EXPECT_EQ(with.size(), 18u * 80);
    };
    WideProgram narrow({}, 1.8);
    plain(narrow);
    WideProgram few({}, 40, 9);
    plain(few);
    WideProgram line({});
    for (size_t i = 0; i < line.c.matchedStars.size(); ++i) {
        MatchedStar& s = line.c.matchedStars[i];
        s.x = 10 + 13.0 * static_cast<double>(i), s.y = 10 + 9.0 * static_cast<double>(i);
        line.camera.Sky(s.x, s.y, s.ra, s.dec);
    }
    plain(line);
    WideProgram wide({});
    EXPECT_EQ(block(wide.c).find("CTYPE1  = 'RA---TAN'"), std::string::npos);
}

// An earlier distortion in a rewritten header is commented out with the rest of the earlier WCS, so
// that no stale term bends the new plain projection; the new SIP cards take their place.
TEST(WcsDistortion, EarlierSipCardsBecomeComments) {
    for (const char* sip : {"A_ORDER = 3", "B_ORDER = 3", "AP_ORDER= 4", "BP_ORDER= 4", "A_2_0   = 1E-06",
                            "B_1_2   = 2E-10", "AP_0_0  = 0.1", "BP_10_1 = 0", "CTYPE1  = 'RA---TAN-SIP'"}) {
        std::string card = Card(sip);
        bool modificada = false;
        CompruebaLineaWCS(card, modificada);
        EXPECT_TRUE(modificada) << sip;
        EXPECT_EQ(card, Card(std::string("COMMENT (**) ") + sip)) << sip;
    }
    for (const char* other : {"A_2_0A  = 1", "APERTURE= 'f/2'", "B_DMAX  = 1", "A_2_    = 1", "BSCALE  = 1",
                              "AP_X_1  = 1", "A_ORDERS= 3"}) {
        std::string card = Card(other);
        bool modificada = true;
        CompruebaLineaWCS(card, modificada);
        EXPECT_FALSE(modificada) << other;
    }

    const std::vector<std::string> earlier = {
        "CTYPE1  = 'RA---TAN-SIP'",       "CTYPE2  = 'DEC--TAN-SIP'",       "A_ORDER =                    2",
        "A_2_0   =                1E-06", "B_ORDER =                    2", "B_0_2   =               -1E-06",
        "AP_ORDER=                    2", "AP_2_0  =               -1E-06", "BP_ORDER=                    2",
        "BP_0_2  =                1E-06"};
    std::vector<std::string> cards = {"SIMPLE  =                    T", "BITPIX  =                    8",
                                      "NAXIS   =                    2", "NAXIS1  =                   40",
                                      "NAXIS2  =                   30"};
    cards.insert(cards.end(), earlier.begin(), earlier.end());
    const std::string data = DataBytes(1200) + std::string(kBlock - 1200, '\0');
    for (bool withStars : {false, true}) {
        SCOPED_TRACE(withStars ? "SIP" : "TAN");
        WideProgram p({});
        if (!withStars) p.c.matchedStars.clear();
        ExtraeNombreDeRuta(p.c, p.home.Write("image.fit", FitsBytes(cards, data)));
        GrehacerCabeceraFits(p.c);
        ASSERT_FALSE(p.c.mFinAnalisis);
        const std::string out = p.home.Read("image.fit");
        const std::string header = Header(out);
        ASSERT_FALSE(header.empty());
        EXPECT_EQ(out.substr(header.size()), data);
        const std::vector<std::string> written = Cards(header, 5, earlier.size() + 1);
        for (size_t i = 0; i < earlier.size(); ++i)
            EXPECT_EQ(written[i], Card("COMMENT (**) " + earlier[i]));
        EXPECT_EQ(written.back(), Card("COMMENT = WCS coordinates modified by Tornel:"));
        int order = -1;
        const double worst = p.WorstOnSky(p.c.gRutaImagen, order);
        EXPECT_EQ(order, withStars ? 3 : 0);
        EXPECT_LT(worst, withStars ? 0.2 : 1e3);
    }
}

// The whole program: a field of the generated sky whose header holds an earlier solution far
// away is solved by tornel-cli with the WCS written automatically. astropy's reading of the new
// header must agree within a pixel, at the centre and the corners, with the solution the program
// reports in tornel.pos: its centre and image angle at the scale of its parameters. A reversed field
// is read bottom row first, so FITS row Y is the program's row H + 1 - Y.
class WcsSolved : public testing::GeneratedSkyTest {};

TEST_F(WcsSolved, AstropyReadsTheProgramsSolutionBack) {
    const std::vector<std::string> earlier = {
        "OBJECT  = 'generated field'",    "EQUINOX =               2000.0", "CTYPE1  = 'RA---TAN'",
        "CTYPE2  = 'DEC--TAN'",           "CRPIX1  =                  1.0", "CRVAL1  =                 45.0",
        "CRVAL2  =                 20.0", "CD1_1   =              -0.0005", "CD2_2   =               0.0005"};
    struct Field {
        db::FieldGeometry geometry;
        double angle;  // the parameter's image angle, degrees
        bool reversed;
        double ra, dec;  // search centre, degrees
    };
    for (const Field& f :
         {Field{{0.05, 10.2, 0, 0, 0, 0, false}, 0.3, false, 359.2, 9.4},
          Field{{150.3, -29.8, 0, 137.5, 0, 0, true}, 180 - 137.5 - 0.4, true, 149.5, -31}}) {
        SCOPED_TRACE(f.reversed ? "reversed" : "not reversed");
        const std::string image = Render(f.geometry, nullptr, earlier);
        const std::string original = home.Read("field.fit");
        Parameters(f.angle, f.reversed, [](Context& c) {
            c.gWCSAutomatico = 1;
            c.gLadosParaWCS = 3;
        });
        const testing::CliOutcome o = Run(image, f.ra, f.dec);
        ASSERT_EQ(o.status, 0) << o.out << o.err;

        const std::string pos = home.Read("messages/tornel.pos");
        db::FieldGeometry solution = geometry;
        int sides = 0;
        ASSERT_EQ(std::sscanf(pos.c_str(), "%d sides RA= %lf DE=%lf", &sides, &solution.ra, &solution.dec), 3)
            << pos;
        const auto angle = pos.find("image angle= ");
        ASSERT_NE(angle, std::string::npos) << pos;
        solution.angle = std::stod(pos.substr(angle + 13));
        solution.mirror = false;  // the program's rows are the sky unmirrored

        const double w = geometry.width, h = geometry.height;
        std::vector<std::array<double, 2>> checked = {{w / 2, h / 2}, {1, 1}, {w, 1}, {1, h}, {w, h}};
        AstropyReading written = Astropy(image, checked);
        ASSERT_EQ(written.sky.size(), checked.size());
        for (size_t i = 0; i < checked.size(); ++i) {
            double ra = 0, dec = 0;
            db::PixelToSky(solution, checked[i][0], f.reversed ? h + 1 - checked[i][1] : checked[i][1], ra,
                           dec);
            EXPECT_LT(SeparationDegrees(written.sky[i][0], written.sky[i][1], ra, dec) * 3600 / kScale, 1.0)
                << "FITS pixel " << checked[i][0] << ", " << checked[i][1];
        }

        const std::string rewritten = home.Read("field.fit");
        const std::string before = Header(original), after = Header(rewritten);
        ASSERT_FALSE(after.empty());
        EXPECT_EQ(rewritten.substr(after.size()), original.substr(before.size()));
        std::vector<std::string> cards = Cards(after, 7, earlier.size() + 3);
        EXPECT_EQ(cards[0], Card(earlier[0]));
        for (size_t i = 1; i < earlier.size(); ++i)
            EXPECT_EQ(cards[i], Card("COMMENT (**) " + earlier[i]));
        EXPECT_EQ(cards[earlier.size()], Card("COMMENT = WCS coordinates modified by Tornel:"));
        EXPECT_EQ(cards[earlier.size() + 2], Card("COMMENT = Tornel is a telescope pointing tool, "));
    }
}

// A camera whose true scale is 1 % off the parameters': the WCS written carries the image's own
// scale, so that astropy puts the corners where the rendering put them.
TEST_F(WcsSolved, TheWcsCarriesTheMeasuredScale) {
    scale = kScale * 1.01;
    const std::string image = Render({150.3, -29.8, 0, 20, 0, 0, false});
    const db::FieldGeometry truth = geometry;
    scale = kScale;
    Parameters(20, false, [](Context& c) {
        c.gWCSAutomatico = 1;
        c.gLadosParaWCS = 3;
    });
    const testing::CliOutcome o = Run(image, 149.8, -30.2);
    ASSERT_EQ(o.status, 0) << o.out << o.err;
    EXPECT_TRUE(o.Has("measured scale = 2.02")) << o.out;
    const double w = truth.width, h = truth.height;
    std::vector<std::array<double, 2>> checked = {{w / 2, h / 2}, {1, 1}, {w, 1}, {1, h}, {w, h}};
    AstropyReading written = Astropy(image, checked);
    ASSERT_EQ(written.sky.size(), checked.size());
    for (size_t i = 0; i < checked.size(); ++i) {
        double ra = 0, dec = 0;
        db::PixelToSky(truth, checked[i][0], checked[i][1], ra, dec);
        EXPECT_LT(
            SeparationDegrees(written.sky[i][0], written.sky[i][1], ra, dec) * 3600 / truth.arcsecPerPixel,
            1.0)
            << "FITS pixel " << checked[i][0] << ", " << checked[i][1];
    }
}

}  // namespace
}  // namespace tornel
