// The FITS header of the image and the reading of its data.
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "comun/errors.h"
#include "comun/numbers.h"
#include "imagen/fits.h"
#include "imagen/fits_header_cards.h"
#include "imagen/intake.h"
#include "imagen/pixel/tornel_pixel.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr size_t kCard = 80;
constexpr int32_t kBlock = 2880;
// lee_fit's answer for a file that ends before its data does.
constexpr int32_t kShortFitsData = 2;

// The value without its trailing blanks: what "longer than 5 characters" measures.
size_t ValueLength(const std::string& v) {
    size_t end = v.find_last_not_of(' ');
    return end == std::string::npos ? 0 : end + 1;
}

void ParseRA(const std::string& v, double& target) {
    bool ok = false;
    if (ValueLength(v) > 5) LeeRAdeFits(v, target, ok);
}

void ParseDEC(const std::string& v, double& target) {
    bool ok = false;
    if (ValueLength(v) > 5) LeeDECdeFits(v, target, ok);
}

// Reads cards up to the end of the file or the END card; answers how many, END included. A last
// partial record counts as a card, padded with blanks.
int64_t ReadCards(const std::string& path, HeaderCards& h) {
    std::ifstream in(path, std::ios::binary);
    if (!in) Raise(kErrFileNotFound);
    int64_t n = 0;
    char card[kCard];
    while (in.read(card, kCard) || in.gcount() > 0) {
        std::string record(card, static_cast<size_t>(in.gcount()));
        record.resize(kCard, ' ');
        ++n;
        std::string key = record.substr(0, 8);
        if (key == "END     ") break;
        TakeCard(key, record.substr(10), h);
        if (in.eof()) break;
    }
    return n;
}

void FailHeader(Context& c, Txt es, Txt fr, Txt en) {
    c.mFinAnalisis = true;
    ParaResumen(c, es, fr, en);
    VisuTitulo(c, es, fr, en);
    c.gUltimoError = std::string(en);
}

// Size of an axis: the text before the comment, numeric or 0; more than 16 bits is an overflow.
int32_t AxisSize(const std::string& v) {
    std::string t = v.substr(0, v.find('/'));
    if (t.empty() && !v.empty()) t = " ";
    return IsNumeric(t) ? ToInteger(TextToDouble(t)) : 0;
}

double NumberOr(const std::string& v, double fallback) {
    std::string t = v.substr(0, v.find('/'));
    return IsNumeric(t) ? TextToDouble(t) : fallback;
}

bool IsTan(const std::string& v, std::string_view wanted) {
    return ToLower(v.substr(0, 10)) == wanted;
}

}  // namespace

// Every keyword is tested, in the program's order.
void TakeCard(const std::string& key, const std::string& v, HeaderCards& h) {
    if (key == "SIMPLE  ") h.simple = v;
    if (key == "BITPIX  ") h.bitpix = v;
    if (key == "NAXIS1  ") h.naxis1 = v;
    if (key == "NAXIS2  ") h.naxis2 = v;
    if (key == "DATE-OBS") h.dateObs = v;
    if (key == "OBJCTRA ") ParseRA(v, h.objctRA);
    if (key == "OBJCTDEC") ParseDEC(v, h.objctDEC);
    if (key == "RA      ") ParseRA(v, h.ra);
    if (key == "DEC     ") ParseDEC(v, h.dec);
    if (key == "CRVAL1  ") ParseRA(v, h.crval1);
    if (key == "CRVAL2  ") ParseDEC(v, h.crval2);
    if (key == "CTYPE1  ") h.ctype1 = v;
    if (key == "CTYPE2  ") h.ctype2 = v;
    if (key == "CUNIT1  ") h.cunit1 = v;
    if (key == "CUNIT2  ") h.cunit2 = v;
    if (key == "BZERO   ") h.bzero = v;
    if (key == "BSCALE  ") h.bscale = v;
    if (key == "MIPS-HI ") h.mipsHi = v;
    if (key == "MIPS-LO ") h.mipsLo = v;
    if (key == "AVISUMIN") h.aviSuMin = v;
    if (key == "AVISUMAX") h.aviSuMax = v;
    if (key == "XPIXSZ  ") h.xpixsz = v;
    if (key == "YPIXSZ  ") h.ypixsz = v;
    if (key == "XBINNING") h.xbinning = v;
    if (key == "YBINNING") h.ybinning = v;
    if (key == "FOCALLEN") h.focallen = v;
    if (key == "BAYERPAT") h.bayerpat = v;
}

void TakeCards(const std::string& text, HeaderCards& h) {
    for (size_t at = 0; at + kCard <= text.size(); at += kCard) {
        std::string key = text.substr(at, 8);
        if (key == "END     ") break;
        TakeCard(key, text.substr(at + 10, kCard - 10), h);
    }
}

void PixelScaleNote(Context& c, const HeaderCards& h, int32_t binnedBy) {
    // XBINNING is read as it always was, and not used: XPIXSZ is the size of a pixel of the file.
    int32_t binning = 0;
    LeeEnteroDeFits(h.xbinning, binning);
    double pixel = 0, focal = 0;
    LeeRealDeFits(h.xpixsz, pixel);
    LeeRealDeFits(h.focallen, focal);
    if (!(focal > 0)) return;
    // Micrometres over millimetres: the angle of one pixel, in seconds of arc.
    double scale = 2 * c.gRadianesAGrados * 3600 * std::atan(binnedBy * pixel / (focal * 2000));
    std::string s = FormatNumber(scale, "0.00");
    ParaResumen(c, "Segundos de arco por pixel según XPIXSZ y FOCALLEN de la cabecera FITS = " + s,
                "Secondes d'arc par pixel selon XPIXSZ et FOCALLEN de l'entête FITS = " + s,
                "Arc-sec per pixel according to XPIXSZ and FOCALLEN in the FITS header = " + s);
}

void HeaderCentre(Context& c, const HeaderCards& h) {
    if (h.crval1 >= 0 && h.crval2 >= 0 && IsTan(h.ctype1, "'ra---tan'") && IsTan(h.ctype2, "'dec--tan'") &&
        IsTan(h.cunit1, "'deg     '") && IsTan(h.cunit2, "'deg     '")) {
        c.gCentroFitRA = h.crval1;
        c.gCentroFitDEC90 = h.crval2;
    } else if (h.objctRA >= 0 && h.objctDEC >= 0) {
        c.gCentroFitRA = h.objctRA;
        c.gCentroFitDEC90 = h.objctDEC;
    } else if (h.ra >= 0 && h.dec >= 0) {
        c.gCentroFitRA = h.ra;
        c.gCentroFitDEC90 = h.dec;
    }
    if (h.crval1 < 0 && h.objctRA < 0 && h.ra < 0)
        ParaResumen(c, "AR no válida en la cabecera FITS.", "AD non valide dans l'entête FITS.",
                    "Invalid RA in FITS header.");
    if (h.crval2 < 0 && h.objctDEC < 0 && h.dec < 0)
        ParaResumen(c, "DE no válida en la cabecera FITS.", "DE non valide dans l'entête FITS.",
                    "Invalid DEC in FITS header.");
    if (c.gCentroFitRA >= 0 && c.gCentroFitDEC90 >= 0) {
        std::string ra = FormatNumber(c.gCentroFitRA, "0.000");
        std::string dec = FormatNumber(c.gCentroFitDEC90 - 90, "0.000");
        ParaResumen(c, "En cabecera FITS: AR = " + ra + " DE = " + dec,
                    "Dans l'entête FITS: AD = " + ra + " DE = " + dec,
                    "In the FITS header: RA = " + ra + " DEC = " + dec);
    }
}

void HeaderDisplayLevels(Context& c, const HeaderCards& h) {
    constexpr double kScrollMax = 32767;
    auto level = [&](const std::string& v, int32_t& target, double lowest) {
        if (ValueLength(v) <= 5) return;
        double x = std::nan("");
        LeeRealDeFits(v, x);
        if (std::isnan(x)) return;
        x = std::fmin(std::fmax(x, lowest), kScrollMax);
        target = ToLong(x);
    };
    level(h.aviSuMax, c.gBlancoActual, 1);
    level(h.aviSuMin, c.gNegroActual, 0);
    level(h.mipsHi, c.gBlancoActual, 1);
    level(h.mipsLo, c.gNegroActual, 0);
}

void LeeCabeceraFit(Context& c, int32_t& bloques) {
    bloques = 0;
    if (c.mFinAnalisis) return;
    WithTrap(c, "LeeCabeceraFit", [&] {
        c.gCentroFitRA = -1;
        c.gCentroFitDEC90 = -1;
        HeaderCards h;
        int64_t n = ReadCards(c.gRutaImagen, h);
        c.mFechaObs = h.dateObs;
        if (h.simple.find('T') == std::string::npos) {
            FailHeader(c, "La imagen no es tipo FITS.", "L'image n'est pas du type FITS.",
                       "Not a FITS image.");
            return;
        }
        if (h.bitpix.find("16") == std::string::npos) {
            FailHeader(c, "La imagen FITS no es de 16 bits.", "L'image FITS n'est pas de 16 bits.",
                       "Not a 16 bits FITS image.");
            return;
        }
        PixelScaleNote(c, h, 1);
        c.gPixelesX = AxisSize(h.naxis1);
        c.gPixelesY = AxisSize(h.naxis2);
        double reduction = c.gFactorReduccion;
        c.mAnchoVisu = ToLong(c.gPixelesX / reduction);
        c.mAltoVisu = ToLong(c.gPixelesY / reduction);
        if (c.gPixelesY < 50 || c.gPixelesX < 50) {
            c.mFinAnalisis = true;
            ParaResumen(c, "Tamaño de la imagen en cabecera FITS < 50.",
                        "Dimensions de l'image < 50 d'après entête FITS.", "Image size < 50.");
            VisuTitulo(c, "Imagen demasiado pequeña.", "Image trop petite.", "Too litle image.");
            c.gUltimoError = "Too litle image.";
        }
        HeaderCentre(c, h);
        HeaderDisplayLevels(c, h);
        c.gBZero = NumberOr(h.bzero, 0);
        c.gBScale = NumberOr(h.bscale, 1);
        if (!((c.gBZero == 0 || c.gBZero == 32768) && c.gBScale == 1)) {
            c.mFinAnalisis = true;
            ParaResumen(c, "BSCALE o BZERO no válidos en la cabecera FITS.",
                        "BSCALE ou BZERO non valides dans l'entête FITS.",
                        "Not valid BSCALE or BZERO in FITS header.");
            VisuTitulo(c, "BSCALE o BZERO no válidos en la cabecera FITS.",
                       "BSCALE ou BZERO non valides dans l'entête FITS.",
                       "Not valid BSCALE or BZERO in FITS header.");
            return;
        }
        if (c.mFinAnalisis) return;
        // An END card that closes its block exactly counts one block too many; the data is read
        // from there all the same.
        bloques = ToLong(IntFloor(static_cast<double>(n) * kCard / kBlock) + 1);
    });
}

void CargaFit(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CargaFit", [&] {
        int32_t bloques = 0;
        LeeCabeceraFit(c, bloques);
        if (bloques == 0) return;
        if (RefuseOversizedImage(c, c.gPixelesX, c.gPixelesY)) return;
        int64_t offset = static_cast<int64_t>(bloques) * kBlock;
        if (offset > INT32_MAX) Raise(kErrOverflow);
        const auto w = static_cast<size_t>(c.gPixelesX), h = static_cast<size_t>(c.gPixelesY);
        auto failed = [&](int32_t result) {
            c.mFinAnalisis = true;
            std::string n = std::to_string(result);
            ParaResumen(c, "Error " + n + " in lee_fit.");
            VisuTitulo(c, "Error " + n + " in lee_fit de CargaFit");
        };
        // A file too short for the size its header claims fails as the pixel library would, but
        // before the image's memory is taken: a few hundred bytes may claim a gigabyte.
        std::error_code ec;
        const auto length = std::filesystem::file_size(c.gRutaImagen, ec);
        if (!ec && length < static_cast<uintmax_t>(offset) + 2 * w * h) return failed(kShortFitsData);
        ReallocateZeroed(c.mContorno, (w + 1) * (h + 1));
        c.contourMarkBase = 0;
        ReallocateZeroed(c.mBrillo, (w + 1) * (h + 1));
        ReallocateZeroed(c.mImagenFit, w * h);
        c.mPixelesBMP = {};
        const auto ancho = static_cast<int16_t>(c.gPixelesX), alto = static_cast<int16_t>(c.gPixelesY);
        int32_t result = 0;
        if (c.gBZero == 0)
            result = lee_fit_2(c.gRutaImagen.c_str(), static_cast<int32_t>(offset), ancho, alto,
                               c.mImagenFit.data(), c.gImagenInvertida);
        else
            result = lee_fit_con_signo_2(c.gRutaImagen.c_str(), static_cast<int32_t>(offset), ancho, alto,
                                         c.mImagenFit.data(), c.gImagenInvertida);
        if (result > 0) return failed(result);
        BrightnessOfSixteenBitImage(c, ancho, alto);
    });
}

}  // namespace tornel
