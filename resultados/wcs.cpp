#include "resultados/wcs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "astrometria/plate_model.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr size_t kCard = 80;
constexpr int64_t kCardsPerBlock = 36;
constexpr size_t kBlockBytes = 2880;

// The keywords of an earlier world coordinate system, as the first eight characters of a card.
constexpr std::array<const char*, 15> kWcsKeywords = {
    "EQUINOX ", "LONPOLE ", "LATPOLE ", "CTYPE1  ", "CRPIX1  ", "CRVAL1  ", "CUNIT1  ", "CTYPE2  ",
    "CRPIX2  ", "CRVAL2  ", "CUNIT2  ", "CD1_1   ", "CD1_2   ", "CD2_1   ", "CD2_2   "};

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

std::string WcsBlock(const Context& c, const std::array<double, 4>& cd) {
    std::string ra = DobleAcadenaFIT(c.gARJ2000), de = DobleAcadenaFIT(c.gDEJ2000);
    const std::string matrix = " / transformation matrix (degrees) ";
    std::string block;
    for (const std::string& text : {
             std::string("COMMENT = Tornel is a telescope pointing tool, "),
             std::string("COMMENT = don't use it for astrometric purpose."),
             std::string("EQUINOX =               2000.0 / Equinox for coordinates"),
             std::string("LONPOLE =                180.0 / Native longitude of the celestial pole"),
             std::string("LATPOLE =                  0.0 / Native latitude of the celestial pole"),
             std::string("CTYPE1  = 'RA---TAN'           / projection type"),
             "CRPIX1  = " + DobleAcadenaFIT(c.gAnchoImagen / 2) + " / pixel coordinate x at reference point",
             "CRVAL1  = " + ra + " / RA at image center",
             std::string("CUNIT1  = 'deg     '           / Unit of coordinate 1"),
             std::string("CTYPE2  = 'DEC--TAN'           / projection type"),
             "CRPIX2  = " + DobleAcadenaFIT(CentreRowInFile(c)) + " / pixel coordinate y at reference point",
             "CRVAL2  = " + de + " / DEC at image center",
             std::string("CUNIT2  = 'deg     '           / Unit of coordinate 2"),
             "CD1_1   = " + DobleAcadenaFIT(cd[0]) + matrix,
             "CD1_2   = " + DobleAcadenaFIT(cd[1]) + matrix,
             "CD2_1   = " + DobleAcadenaFIT(cd[2]) + matrix,
             "CD2_2   = " + DobleAcadenaFIT(cd[3]) + matrix,
             std::string("END"),
         })
        block += Card(text);
    return block;
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
// image pixel i covers file pixels b (i - 1) + 1 to b i.
std::string InFilePixels(const std::string& card, int32_t b) {
    bool crpix = card.compare(0, 5, "CRPIX") == 0, cd = card.compare(0, 2, "CD") == 0;
    if (!crpix && !cd) return card;
    size_t comment = card.find(" /", 10);
    double v = std::stod(card.substr(10, comment - 10));
    v = crpix ? b * v - (b - 1) / 2.0 : v / b;
    return Card(card.substr(0, 10) + DobleAcadenaFIT(v) + card.substr(comment));
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
    modificada = false;
    for (const char* keyword : kWcsKeywords) {
        if (linea.compare(0, 8, keyword) != 0) continue;
        linea = ("COMMENT (**) " + linea).substr(0, 79) + " ";
        modificada = true;
        return;
    }
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
        std::array<double, 4> cd = CdMatrix(v);
        fp.Check();
        std::string block = WcsBlock(c, cd);
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
