#include "resultados/wcs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "astrometria/distortion.h"
#include "astrometria/plate_model.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

void InFileFrame(const Context& c, double x, double y, double& fileX, double& fileY) {
    const double ratio = c.gRelacionPixel > 0 ? c.gRelacionPixel : 1;
    fileX = x;
    fileY = y * ratio;
    if (c.gImagenInvertida == 1) fileY = c.gAltoImagen * ratio + 1 - fileY;
}

namespace {

constexpr size_t kCard = 80;
constexpr int64_t kCardsPerBlock = 36;
constexpr size_t kBlockBytes = 2880;

// The keywords of an earlier world coordinate system, as the first eight characters of a card.
constexpr std::array<const char*, 15> kWcsKeywords = {
    "EQUINOX ", "LONPOLE ", "LATPOLE ", "CTYPE1  ", "CRPIX1  ", "CRVAL1  ", "CUNIT1  ", "CTYPE2  ",
    "CRPIX2  ", "CRVAL2  ", "CUNIT2  ", "CD1_1   ", "CD1_2   ", "CD2_1   ", "CD2_2   "};

// A field wider than this (degrees, its longest side) gets its distortion written when its matched
// stars can fix it: below, a lens's distortion stays within a pixel or so of the plain projection.
constexpr double kLeastDistortedField = 2;

// The SIP keywords: A_ORDER, B_ORDER, AP_ORDER, BP_ORDER, and A_p_q, B_p_q, AP_p_q, BP_p_q, whose
// exponents go to p and q (-1 for the orders).
bool SipKeyword(const std::string& card, int& p, int& q) {
    if (card.size() < 8) return false;
    std::string key = card.substr(0, 8);
    key.erase(key.find_last_not_of(' ') + 1);
    size_t at = 0;
    for (const char* prefix : {"AP_", "BP_", "A_", "B_"})
        if (key.rfind(prefix, 0) == 0) {
            at = std::string(prefix).size();
            break;
        }
    if (at == 0) return false;
    const std::string rest = key.substr(at);
    if (rest == "ORDER") {
        p = q = -1;
        return true;
    }
    const size_t bar = rest.find('_');
    auto digits = [](const std::string& t) {
        return !t.empty() && t.size() <= 2 && t.find_first_not_of("0123456789") == std::string::npos;
    };
    if (bar == std::string::npos || !digits(rest.substr(0, bar)) || !digits(rest.substr(bar + 1)))
        return false;
    p = std::stoi(rest.substr(0, bar));
    q = std::stoi(rest.substr(bar + 1));
    return true;
}

// A card text padded with blanks, or cut, to 80 characters.
std::string Card(std::string text) {
    text.resize(kCard, ' ');
    return text;
}

double Sign(double v) {
    return v > 0 ? 1 : v < 0 ? -1 : 0;
}

// The image vectors, pixels from the centre, of points 10 arcminutes north and east of the solution.
struct TestVectors {
    double x1 = 0, y1 = 0;  // north
    double x2 = 0, y2 = 0;  // east
};

TestVectors MeasureOnPlate(Context& c) {
    TestVectors v;
    double halfW = c.gAnchoImagen / 2, halfH = c.gAltoImagen / 2;
    double x = 0, y = 0;
    double deNorth = std::min(c.gDEJ2000 + 1.0 / 6, 90.0);
    CoordenadasCatalogoAimagen(c, c.gARJ2000, deNorth, x, y);
    v.x1 = x - halfW;
    v.y1 = y - halfH;
    double arEast = c.gARJ2000 + 1.0 / (6 * std::cos(c.gDEJ2000 * c.gGradosARadianes));
    // A right ascension past 360 was always set to 0 here, and the solution keeps it.
    if (c.gARJ2000 > 360) c.gARJ2000 = 0;
    CoordenadasCatalogoAimagen(c, arEast, c.gDEJ2000, x, y);
    v.x2 = x - halfW;
    v.y2 = y - halfH;
    if (c.gImagenInvertida == 1) {
        v.y1 = -v.y1;
        v.y2 = -v.y2;
    }
    return v;
}

// CD matrix, degrees per pixel, from the north and east vectors: the north vector gives the scale
// and the rotation, the east vector only the side on which east lies.
std::array<double, 4> CdMatrix(const TestVectors& v) {
    double a = 0, b = 0, cc = 0, d = 0;
    if (v.x1 == 0 && v.y1 != 0 && v.x2 != 0) {
        a = Sign(v.x2);
        d = Sign(v.y1);
    }
    if (v.y1 == 0 && v.x1 != 0 && v.y2 != 0) {
        b = Sign(v.y2);
        cc = Sign(v.x1);
    }
    double length = std::sqrt(v.x1 * v.x1 + v.y1 * v.y1);
    double t = std::fabs(v.y1) / length;
    if (v.x1 != 0 && v.y1 != 0 && v.x2 != 0) {
        double s = Sign(v.x2), u = Sign(v.y1);
        a = s * t;
        b = -s * t * v.x1 / v.y1;
        cc = u * t * v.x1 / v.y1;
        d = u * t;
    }
    double k = 1 / (6 * length);
    return {a * k, b * k, cc * k, d * k};
}

// The file's row (FITS pixels) of the image's centre row H / 2: a reversed image is read last row first,
// its row y being the file's row H + 1 - y, so that its centre is the file's row H / 2 + 1.
double CentreRowInFile(const Context& c) {
    return c.gImagenInvertida == 1 ? c.gAltoImagen + 1 - c.gAltoImagen / 2 : c.gAltoImagen / 2;
}

// What the block says: the projection's reference, its matrix and, for a distorted field, the model.
struct WcsCards {
    double crpix1 = 0, crpix2 = 0, crval1 = 0, crval2 = 0;
    std::array<double, 4> cd{};
    const SipModel* sip = nullptr;
};

// The cards of one SIP polynomial, `name` A, B, AP or BP, terms of total order `lowest` to `order`.
std::string SipCards(const std::string& name, int order, int lowest, const SipTerms& terms,
                     const std::string& what) {
    std::string key = name + "_ORDER";
    key.resize(8, ' ');
    std::string cards = Card(key + "= " + DobleAcadenaFIT(order) + " / polynomial order, " + what);
    for (int n = lowest; n <= order; ++n)
        for (int q = 0; q <= n; ++q) {
            const int p = n - q;
            key = name + "_" + std::to_string(p) + "_" + std::to_string(q);
            key.resize(8, ' ');
            cards +=
                Card(key + "= " + DobleAcadenaFIT(terms[static_cast<size_t>(p)][static_cast<size_t>(q)]));
        }
    return cards;
}

std::string WcsBlock(const WcsCards& w) {
    std::string ra = DobleAcadenaFIT(w.crval1), de = DobleAcadenaFIT(w.crval2);
    const std::string matrix = " / transformation matrix (degrees) ";
    const std::string ctype1 = w.sip ? "CTYPE1  = 'RA---TAN-SIP'       / TAN projection with SIP distortion"
                                     : "CTYPE1  = 'RA---TAN'           / projection type";
    const std::string ctype2 = w.sip ? "CTYPE2  = 'DEC--TAN-SIP'       / TAN projection with SIP distortion"
                                     : "CTYPE2  = 'DEC--TAN'           / projection type";
    std::string block;
    for (const std::string& text : {
             std::string("COMMENT = Tornel is a telescope pointing tool, "),
             std::string("COMMENT = don't use it for astrometric purpose."),
             std::string("EQUINOX =               2000.0 / Equinox for coordinates"),
             std::string("LONPOLE =                180.0 / Native longitude of the celestial pole"),
             std::string("LATPOLE =                  0.0 / Native latitude of the celestial pole"),
             ctype1,
             "CRPIX1  = " + DobleAcadenaFIT(w.crpix1) + " / pixel coordinate x at reference point",
             "CRVAL1  = " + ra + " / RA at image center",
             std::string("CUNIT1  = 'deg     '           / Unit of coordinate 1"),
             ctype2,
             "CRPIX2  = " + DobleAcadenaFIT(w.crpix2) + " / pixel coordinate y at reference point",
             "CRVAL2  = " + de + " / DEC at image center",
             std::string("CUNIT2  = 'deg     '           / Unit of coordinate 2"),
             "CD1_1   = " + DobleAcadenaFIT(w.cd[0]) + matrix,
             "CD1_2   = " + DobleAcadenaFIT(w.cd[1]) + matrix,
             "CD2_1   = " + DobleAcadenaFIT(w.cd[2]) + matrix,
             "CD2_2   = " + DobleAcadenaFIT(w.cd[3]) + matrix,
         })
        block += Card(text);
    if (w.sip) {
        const SipModel& m = *w.sip;
        block += SipCards("A", m.order, 2, m.a, "pixel to sky, axis 1");
        block += SipCards("B", m.order, 2, m.b, "pixel to sky, axis 2");
        block += SipCards("AP", m.inverseOrder, 0, m.ap, "sky to pixel, axis 1");
        block += SipCards("BP", m.inverseOrder, 0, m.bp, "sky to pixel, axis 2");
    }
    return block + Card("END");
}

// The distortion of a field wider than kLeastDistortedField whose matched stars fix a model, in the
// pixels of the file about the image centre; false when the plain projection stays.
bool FieldDistortion(const Context& c, const std::array<double, 4>& cd, SipModel& model) {
    const double side =
        std::max(c.gAnchoImagen, c.gAltoImagen) * std::sqrt(std::fabs(cd[0] * cd[3] - cd[1] * cd[2]));
    if (!(side > kLeastDistortedField) || c.matchedStars.size() < static_cast<size_t>(kSipLeastStars))
        return false;
    std::vector<SipStar> stars;
    for (const MatchedStar& s : c.matchedStars) {
        SipStar star{0, 0, s.ra, s.dec};
        InFileFrame(c, s.x, s.y, star.x, star.y);
        stars.push_back(star);
    }
    double centreX = 0, centreY = 0;
    InFileFrame(c, c.gAnchoImagen / 2, c.gAltoImagen / 2, centreX, centreY);
    const double height = c.gAltoImagen * (c.gRelacionPixel > 0 ? c.gRelacionPixel : 1);
    return FitSip(stars, centreX, centreY, c.gARJ2000, c.gDEJ2000, c.gAnchoImagen, height, model) ==
           kSipFitted;
}

// The header rewrite over 80-byte records; a partial record at the end of the source is dropped.
class RecordCopy {
  public:
    RecordCopy(const std::string& from, const std::string& to)
        : in_(from, std::ios::binary), out_(to, std::ios::binary | std::ios::trunc) {
        if (!in_) Raise(kErrFileNotFound);
        if (!out_) Raise(kErrPathFileAccess);
    }
    bool Read(std::string& record) {
        record.resize(kCard);
        in_.read(record.data(), static_cast<std::streamsize>(kCard));
        if (in_.gcount() != static_cast<std::streamsize>(kCard)) return false;
        ++read_;
        return true;
    }
    void Write(const std::string& record) {
        out_.write(record.data(), static_cast<std::streamsize>(kCard));
        if (!out_) Raise(kErrPathFileAccess);
        ++written_;
    }
    void Close() {
        in_.close();
        out_.close();
        if (!out_) Raise(kErrPathFileAccess);
    }
    int64_t read() const { return read_; }
    int64_t written() const { return written_; }

  private:
    std::ifstream in_;
    std::ofstream out_;
    int64_t read_ = 0, written_ = 0;
};

void RewriteWithBlock(const std::string& ruta, const std::string& temp, const std::string& cadena,
                      int32_t longitud) {
    RecordCopy copy(ruta, temp);
    std::string record;
    bool marked = false, endFound = false;
    while (copy.Read(record)) {
        if (record.compare(0, 8, "END     ") == 0) {
            endFound = true;
            break;
        }
        bool modificada = false;
        CompruebaLineaWCS(record, modificada);
        marked = marked || modificada;
        copy.Write(record);
    }
    if (endFound) {
        if (marked) {
            copy.Write(Card("COMMENT = WCS coordinates modified by Tornel:"));
            copy.Write(Card("COMMENT = (**) indicates modified WCS line in the original FITS file."));
        } else {
            copy.Write(Card("COMMENT = WCS coordinates added by Tornel:"));
        }
        auto cards = static_cast<size_t>(RoundHalfEven(longitud / static_cast<double>(kCard)));
        for (size_t i = 0; i < cards; ++i)
            copy.Write(cadena.substr(i * kCard, kCard));
    }
    for (int64_t n = (kCardsPerBlock - copy.written() % kCardsPerBlock) % kCardsPerBlock; n > 0; --n)
        copy.Write(Card(""));
    // The source header is taken as whole blocks up to END, and one more block when END closes a
    // block: that block of data is lost, as it always was.
    int64_t headerRecords = kCardsPerBlock * (copy.read() / kCardsPerBlock + 1);
    while (copy.read() < headerRecords && copy.Read(record)) {
    }
    while (copy.Read(record))
        copy.Write(record);
    copy.Close();
}

// A card of the block with its number brought from the pixels of a binned image to those of the file:
// image pixel i covers file pixels b (i - 1) + 1 to b i, so offsets grow b times and a SIP term of
// total order n, itself an offset, takes a factor b^(1 - n).
std::string InFilePixels(const std::string& card, int32_t b) {
    int p = 0, q = 0;
    const bool crpix = card.compare(0, 5, "CRPIX") == 0, cd = card.compare(0, 2, "CD") == 0;
    const bool sip = SipKeyword(card, p, q) && p >= 0;
    if (!crpix && !cd && !sip) return card;
    size_t comment = card.find(" /", 10);
    double v = std::stod(card.substr(10, comment == std::string::npos ? std::string::npos : comment - 10));
    v = crpix ? b * v - (b - 1) / 2.0 : cd ? v / b : v * std::pow(b, 1 - p - q);
    return Card(card.substr(0, 10) + DobleAcadenaFIT(v) +
                (comment == std::string::npos ? "" : card.substr(comment)));
}

// A FITS header of no data holding the solution's cards, in the pixels of the file.
std::string WcsHeaderText(const Context& c, const std::string& cadena) {
    std::string out = Card("SIMPLE  =                    T / the WCS of an image, no data") +
                      Card("BITPIX  =                    8") + Card("NAXIS   =                    0") +
                      Card("COMMENT = WCS coordinates of " + c.gNombreImagen + " by Tornel:");
    const int32_t b = c.imageBinning;
    if (b > 1)
        out += Card("COMMENT = In pixels of the file; the image was binned " + std::to_string(b) + "x" +
                    std::to_string(b) + ".");
    for (size_t at = 0; at + kCard <= cadena.size(); at += kCard)
        out += b > 1 ? InFilePixels(cadena.substr(at, kCard), b) : cadena.substr(at, kCard);
    out.resize((out.size() + kBlockBytes - 1) / kBlockBytes * kBlockBytes, ' ');
    return out;
}

// Beside an image that the rewrite must leave as it is.
void WriteWcsBeside(Context& c, const std::string& cadena) {
    const std::string path = c.gRutaImagen + ".wcs";
    if (!WriteFileAtomically(path, WcsHeaderText(c, cadena))) Raise(kErrPathFileAccess);
    ParaResumen(c, "WCS escrito en " + path, "WCS écrit dans " + path, "WCS written to " + path);
}

}  // namespace

std::string DobleAcadenaFIT(double valor) {
    std::string text = GeneralText(valor);
    for (char& ch : text) {
        if (ch == ',') ch = '.';
        if (ch == 'e') ch = 'E';
    }
    if (text.size() < 20) text.resize(20, ' ');
    return text;
}

void CompruebaLineaWCS(std::string& linea, bool& modificada) {
    int p = 0, q = 0;
    modificada = SipKeyword(linea, p, q);
    for (const char* keyword : kWcsKeywords)
        modificada = modificada || linea.compare(0, 8, keyword) == 0;
    if (modificada) linea = ("COMMENT (**) " + linea).substr(0, 79) + " ";
}

void FabricaCadenaWCS(Context& c, std::string& cadena, int32_t& longitud) {
    cadena.clear();
    longitud = 0;
    WithCheckedTrap(c, "FabricaCadenaWCS", [&](const FpCheck& fp) {
        TestVectors v = MeasureOnPlate(c);
        if (c.mFinAnalisis) return;  // the plate could not place the test points; its trap told why
        if (v.x1 == 0 && v.y1 == 0) {
            longitud = -1;
            return;
        }
        if (c.gDEJ2000 == 90) {
            longitud = -2;
            return;
        }
        if (c.gDEJ2000 == -90) {
            longitud = -3;
            return;
        }
        WcsCards cards{c.gAnchoImagen / 2, CentreRowInFile(c), c.gARJ2000, c.gDEJ2000, CdMatrix(v)};
        fp.Check();
        SipModel sip;
        if (FieldDistortion(c, cards.cd, sip)) {
            cards = {sip.crpix1,
                     sip.crpix2,
                     sip.crval1,
                     sip.crval2,
                     {sip.cd[0][0], sip.cd[0][1], sip.cd[1][0], sip.cd[1][1]},
                     &sip};
        }
        std::string block = WcsBlock(cards);
        if (block.size() % kCard != 0) {
            longitud = -4;
            return;
        }
        cadena = block;
        longitud = static_cast<int32_t>(block.size());
    });
}

void GrehacerCabeceraFits(Context& c) {
    if (c.mFinAnalisis) return;
    std::string cadena;
    int32_t longitud = 0;
    FabricaCadenaWCS(c, cadena, longitud);
    if (c.mFinAnalisis || longitud <= 0) return;
    WithTrap(c, "GrehacerCabeceraFits", [&] {
        if (c.wcsBesideImage) {
            WriteWcsBeside(c, cadena);
            return;
        }
        const std::string& ruta = c.gRutaImagen;
        std::string temp = ruta + "ConWCS.kkk";
        std::remove(temp.c_str());
        RewriteWithBlock(ruta, temp, cadena, longitud);
        if (std::rename(temp.c_str(), ruta.c_str()) != 0) Raise(kErrPathFileAccess);
        // The rewritten image is no new image for the mailbox.
        double stamp = FileStamp(ruta);
        c.mFechaUltimaImagen = stamp;
        c.gUltimaFechaBuzon = stamp;
    });
}

bool WriteWcsHeader(Context& c, const std::string& path) {
    if (!c.gHaySolucion) return false;
    // A run that stopped at enough sides has ended; its plate still stands.
    const bool ended = c.mFinAnalisis;
    c.mFinAnalisis = false;
    std::string cadena;
    int32_t longitud = 0;
    FabricaCadenaWCS(c, cadena, longitud);
    const bool composed = !c.mFinAnalisis && longitud > 0;
    c.mFinAnalisis = ended;
    return composed && WriteFileAtomically(path, WcsHeaderText(c, cadena));
}

}  // namespace tornel
