// FITS reading: the card parsers, every header rule with its message, and the data read through the
// pixel library, on small files that the tests write.
#include <gtest/gtest.h>

#include <cmath>

#include "imagen/fits.h"
#include "tests/imagen/image_program.h"

namespace tornel {
namespace {

using render::FitsCard;
using testing::ImageProgram;

TEST(FitsCards, NumbersOfACard) {
    double v = -1;
    bool ok = false;
    SacaNumericoDeFits("   12.5 / a comment", v, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(v, 12.5);
    SacaNumericoDeFits(" 3.2768E4", v, ok);
    EXPECT_EQ(v, 32768);
    SacaNumericoDeFits("-1,5", v, ok);
    EXPECT_EQ(v, -1.5);
    for (const char* bad : {"", "/ 12", "1.2.3", "1,2.3", "12 h", "'12'"}) {
        v = 7;
        SacaNumericoDeFits(bad, v, ok);
        EXPECT_FALSE(ok) << bad;
        EXPECT_EQ(v, 7) << bad;
    }

    int32_t n = 0;
    LeeEnteroDeFits("'2 ' / binning", n);
    EXPECT_EQ(n, 2);
    LeeEnteroDeFits("''", n);
    LeeEnteroDeFits("two", n);
    EXPECT_EQ(n, 2);
    double r = 0;
    LeeRealDeFits("   5.2 / micrometres", r);
    EXPECT_EQ(r, 5.2);
    LeeRealDeFits("1.5E2", r);
    EXPECT_EQ(r, 150);
    LeeRealDeFits("1.5Ex", r);
    LeeRealDeFits("", r);
    EXPECT_EQ(r, 150);
}

TEST(FitsCards, RightAscension) {
    double v = 0;
    bool ok = false;
    LeeRAdeFits("             83.82 / deg", v, ok);
    EXPECT_TRUE(ok);
    EXPECT_DOUBLE_EQ(v, 83.82);
    LeeRAdeFits("360", v, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(v, 0);
    // The seconds weigh 0.00417 degree, not 1/240.
    LeeRAdeFits("'05 35 17.3' / hours", v, ok);
    EXPECT_DOUBLE_EQ(v, 5 * 15 + 35 * 0.25 + 17.3 * 0.00417);
    LeeRAdeFits("'05:35:17.3'", v, ok);
    EXPECT_DOUBLE_EQ(v, 5 * 15 + 35 * 0.25 + 17.3 * 0.00417);
    for (const char* bad : {"360.5", "-1", "'24 00 00'", "'05 35'", "'05 xx 10'", "/ 83.8", "'  '"}) {
        LeeRAdeFits(bad, v, ok);
        EXPECT_FALSE(ok) << bad;
        EXPECT_EQ(v, -1) << bad;
    }
}

TEST(FitsCards, DeclinationCarriesNinetyAndTheSignOfTheDegrees) {
    double v = 0;
    bool ok = false;
    LeeDECdeFits("  -5.39", v, ok);
    EXPECT_DOUBLE_EQ(v, 84.61);
    LeeDECdeFits("90", v, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(v, 180);
    LeeDECdeFits("'-05 23 28'", v, ok);
    EXPECT_DOUBLE_EQ(v, 90 - (5 + 23 / 60.0 + 28 / 3600.0));
    LeeDECdeFits("'+74:09:31.6'", v, ok);
    EXPECT_DOUBLE_EQ(v, 90 + 74 + 9 / 60.0 + 31.6 / 3600.0);
    // A zero degree field gives exactly 0, whatever the minutes say: the sign is lost.
    LeeDECdeFits("'-00 30 00'", v, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(v, 90);
    LeeDECdeFits("90.5", v, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(v, -1);
}

// A FITS file of cards (each padded to 80 characters) and W x H unsigned data.
struct FitsFile {
    std::vector<std::string> cards;
    bool end = true;
    int32_t width = 60, height = 60;
    int peak = 1000;     // value of pixel (30, 30); the rest is 100
    size_t padding = 0;  // blocks of blanks between header and data
    bool data = true;

    FitsFile() {
        cards = {FitsCard("SIMPLE", "T"), FitsCard("BITPIX", "16"), FitsCard("NAXIS", "2"),
                 FitsCard("NAXIS1", "60"), FitsCard("NAXIS2", "60")};
    }
    void Set(const std::string& key, const std::string& value) {
        for (auto& card : cards)
            if (card.substr(0, 8) == (key + "        ").substr(0, 8)) {
                card = FitsCard(key, value);
                return;
            }
        cards.push_back(FitsCard(key, value));
    }
    std::string Bytes() const {
        std::string b;
        for (auto card : cards) {
            card.resize(80, ' ');
            b += card;
        }
        if (end) b += FitsCard("END", "").substr(0, 3) + std::string(77, ' ');
        b.resize((b.size() + 2879) / 2880 * 2880 + padding * 2880, ' ');
        if (!data) return b;
        for (int32_t y = 1; y <= height; ++y)
            for (int32_t x = 1; x <= width; ++x) {
                int v = (x == 30 && y == 30 ? peak : 100) - 32768;
                b += static_cast<char>((v >> 8) & 0xFF);
                b += static_cast<char>(v & 0xFF);
            }
        return b;
    }
};

struct Header : ::testing::Test {
    ImageProgram p;
    Context& c = p.c;
    FitsFile f;
    void SetUp() override { f.Set("BZERO", "32768"); }
    bool Load() { return p.Load(p.Write("image.fit", f.Bytes())); }
    bool Says(const std::string& line) const { return p.platform.SummaryHas(line); }
    int32_t Blocks() {
        ExtraeNombreDeRuta(c, p.Write("image.fit", f.Bytes()));
        int32_t bloques = -1;
        LeeCabeceraFit(c, bloques);
        return bloques;
    }
};

TEST_F(Header, PlainImageLoadsWithoutCentre) {
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gPixelesX, 60);
    EXPECT_EQ(c.gBrilloMaximo, 1000);
    EXPECT_EQ(c.gCentroFitRA, -1);
    EXPECT_EQ(c.gCentroFitDEC90, -1);
    EXPECT_TRUE(Says("Invalid RA in FITS header."));
    EXPECT_TRUE(Says("Invalid DEC in FITS header."));
    EXPECT_TRUE(Says("Size: 60x60 pixels."));
    EXPECT_TRUE(Says("No  DATE-OBS in the FITS header."));
    EXPECT_EQ(p.platform.titles.back(), "Image loaded.");
    EXPECT_EQ(c.gTipoImagen, "fit");
}

TEST_F(Header, BlocksBeforeTheDataCountTheEndCard) {
    EXPECT_EQ(Blocks(), 1);
    // 35 cards and END fill one block exactly: one block too many is counted, and the data is read
    // from there.
    while (f.cards.size() < 35)
        f.cards.push_back(FitsCard("COMMENT", "'filler'"));
    EXPECT_EQ(Blocks(), 2);
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("Error 2 in lee_fit."));
    f.padding = 1;
    EXPECT_TRUE(Load());
}

TEST_F(Header, SimpleAndBitpixAreSearchedInTheWholeValue) {
    f.Set("SIMPLE", "F");
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("Not a FITS image."));
    EXPECT_EQ(p.platform.titles.back(), "Not a FITS image.");
    EXPECT_EQ(c.gUltimoError, "Not a FITS image.");
    EXPECT_FALSE(Says("Size: 60x60 pixels."));
    // A "T" in the comment is enough.
    f.Set("SIMPLE", "F / Tornel test");
    EXPECT_TRUE(Load());
    f.Set("SIMPLE", "T");
    for (const char* good : {"-16", "160"}) {
        f.Set("BITPIX", good);
        EXPECT_TRUE(Load()) << good;
    }
    // A BITPIX that CFITSIO cannot read either is the 16-bit reader's to refuse; other values go
    // to CFITSIO (the formats tests).
    for (const char* bad : {"12", "'sixteen'"}) {
        f.Set("BITPIX", bad);
        EXPECT_FALSE(Load()) << bad;
        EXPECT_EQ(c.gUltimoError, "Not a 16 bits FITS image.");
    }
}

TEST_F(Header, SizesAreSixteenBitNumbersBeforeTheComment) {
    f.width = 640;
    f.Set("NAXIS1", "640 / width");
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gPixelesX, 640);

    f.Set("NAXIS1", "40");
    f.width = 40;
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("Image size < 50."));
    EXPECT_EQ(c.gUltimoError, "Too litle image.");

    f.Set("NAXIS1", "40000");
    c.mFinAnalisis = false;
    EXPECT_EQ(Blocks(), 0);
    EXPECT_TRUE(c.mFinAnalisis);
    EXPECT_TRUE(p.platform.HasMessage("Error 6 Overflow LeeCabeceraFit"));

    f.Set("NAXIS1", "/ none");
    c.mFinAnalisis = false;
    EXPECT_EQ(Blocks(), 0);
    EXPECT_EQ(c.gPixelesX, 0);
}

TEST_F(Header, TheSixteenBitReaderTakesTwoBzeroForms) {
    for (const char* good : {"32768.0", "3.2768E4"}) {
        f.Set("BZERO", good);
        EXPECT_TRUE(Load()) << good;
        EXPECT_EQ(c.gBZero, 32768);
        EXPECT_FALSE(Says("FITS read with CFITSIO: HDU 1, BITPIX 16."));
    }
    // Other pairs are CFITSIO's now; the 16-bit reader still refuses them in a header that only it
    // reads (it needs no NAXIS card, CFITSIO does).
    // CFITSIO wants the data padded to a whole block, as FITS requires.
    f.Set("BSCALE", "2");
    EXPECT_TRUE(p.Load(p.Write("image.fit", f.Bytes() + std::string(2880 - 7200 % 2880, '\0'))));
    EXPECT_TRUE(Says("FITS read with CFITSIO: HDU 1, BITPIX 16."));
    f.cards.erase(f.cards.begin() + 2);
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("Not valid BSCALE or BZERO in FITS header."));

    // Signed data: BZERO 0, or no card at all.
    f = FitsFile();
    f.peak = 1000 + 32768;
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gBZero, 0);
    EXPECT_EQ(c.gBrilloMaximo, 1000);
}

TEST_F(Header, CentreSourcesInTheirOrder) {
    f.Set("RA", "10.0");
    f.Set("DEC", "-20.0");
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gCentroFitRA, 10);
    EXPECT_EQ(c.gCentroFitDEC90, 70);
    EXPECT_TRUE(Says("In the FITS header: RA = 10.000 DEC = -20.000"));
    EXPECT_FALSE(Says("Invalid RA in FITS header."));

    f.Set("OBJCTRA", "'01 00 00'");
    f.Set("OBJCTDEC", "'+30 00 00'");
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gCentroFitRA, 15);
    EXPECT_EQ(c.gCentroFitDEC90, 120);

    // CRVAL counts only with the tangent projection in degrees, the first ten characters compared.
    f.Set("CRVAL1", "200.5");
    f.Set("CRVAL2", "45.5");
    f.Set("CTYPE1", "'RA---TAN'");
    f.Set("CTYPE2", "'DEC--TAN'");
    f.Set("CUNIT1", "'deg     '");
    f.Set("CUNIT2", "'deg               '");
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gCentroFitRA, 15);
    f.Set("CUNIT2", "'deg     '");
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gCentroFitRA, 200.5);
    EXPECT_EQ(c.gCentroFitDEC90, 135.5);

    // A value of five characters or fewer, blanks behind it aside, is not read.
    f = FitsFile();
    f.Set("BZERO", "32768");
    f.cards.push_back("RA      = 10.5");
    f.cards.push_back("DEC     = 20.5");
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gCentroFitRA, -1);
}

TEST_F(Header, DisplayLevelsScaleAndDate) {
    f.Set("AVISUMAX", "5000");
    f.Set("MIPS-HI", "4000");
    f.Set("MIPS-LO", "-20");
    f.Set("XPIXSZ", "5.2");
    f.Set("FOCALLEN", "400.0");
    f.Set("DATE-OBS", "'2021-03-04T05:06:07.5' / UTC");
    ASSERT_TRUE(Load());
    EXPECT_EQ(c.gBlancoActual, 4000);
    EXPECT_EQ(c.gNegroActual, 0);
    EXPECT_TRUE(Says("Arc-sec per pixel according to XPIXSZ and FOCALLEN in the FITS header = 2.68"));
    EXPECT_TRUE(Says("DATE-OBS = 2021-03-04T05:06:07 in FITS header."));
    EXPECT_EQ(c.mAnioObs, 2021);
    EXPECT_EQ(c.mMesObs, 3);
    EXPECT_EQ(c.mDiaObs, 4);
    EXPECT_EQ(c.mHoraObs, 5);
    EXPECT_EQ(c.mMinutoObs, 6);
    EXPECT_EQ(c.mSegundoObs, 7);
}

TEST_F(Header, DataProblemsAreTheLibrarysErrors) {
    // No END card: every record is read as a card and the data offset lies past the end.
    f.end = false;
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("Error 2 in lee_fit."));
    EXPECT_EQ(p.platform.titles.back(), "Error 2 in lee_fit de CargaFit");

    f = FitsFile();
    std::string bytes = f.Bytes();
    EXPECT_FALSE(p.Load(p.Write("cut.fit", bytes.substr(0, bytes.size() - 100))));
    EXPECT_TRUE(Says("Error 2 in lee_fit."));

    // A header that claims 32000 x 4000 pixels over no data is refused the same way, before the
    // 1 GiB that the image would take is allocated.
    f.Set("NAXIS1", "32000");
    f.Set("NAXIS2", "4000");
    f.data = false;
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("Error 2 in lee_fit."));
    EXPECT_TRUE(c.mImagenFit.empty());
    EXPECT_TRUE(c.mBrillo.empty());
    f = FitsFile();

    f.peak = 140;
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("Highest brightness < 50."));
    EXPECT_FALSE(c.gImagenCargada);

    EXPECT_FALSE(p.Load(p.Write("notes.fit", "These are not the cards of an image.\n")));
    EXPECT_TRUE(Says("Not a FITS image."));
}

TEST_F(Header, SpanishAndFrenchMessages) {
    f.Set("BITPIX", "12");
    c.gIdioma = 1;
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("La imagen FITS no es de 16 bits."));
    c.gIdioma = 2;
    EXPECT_FALSE(Load());
    EXPECT_TRUE(Says("L'image FITS n'est pas de 16 bits."));
}

}  // namespace
}  // namespace tornel
