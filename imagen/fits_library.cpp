// FITS files that the 16-bit reader does not take, read through CFITSIO: any BITPIX, any BZERO and
// BSCALE, the first image of a file with extensions, tile-compressed images, the first plane of a
// cube, and Bayer mosaics binned to luminance.
#include <dlfcn.h>
#include <fitsio.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "comun/errors.h"
#include "comun/numbers.h"
#include "imagen/fits.h"
#include "imagen/fits_header_cards.h"
#include "imagen/image_limits.h"
#include "imagen/intake.h"
#include "imagen/level_mapping.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

// CFITSIO and the libraries it stands on (a network client among them) cost every start of the program
// some tens of milliseconds to load and bind; most images never need them. So the library is loaded
// on the first FITS file that does, and its entry points taken by name.
struct CfitsioApi {
    decltype(&::ffdkopn) ffdkopn = nullptr;
    decltype(&::ffclos) ffclos = nullptr;
    decltype(&::ffgerr) ffgerr = nullptr;
    decltype(&::ffcmsg) ffcmsg = nullptr;
    decltype(&::ffgcrd) ffgcrd = nullptr;
    decltype(&::ffgky) ffgky = nullptr;
    decltype(&::fffree) fffree = nullptr;
    decltype(&::ffcnvthdr2str) ffcnvthdr2str = nullptr;
    decltype(&::ffgidt) ffgidt = nullptr;
    decltype(&::ffgiet) ffgiet = nullptr;
    decltype(&::ffgidm) ffgidm = nullptr;
    decltype(&::ffgiszll) ffgiszll = nullptr;
    decltype(&::ffmahd) ffmahd = nullptr;
    decltype(&::ffgpxvll) ffgpxvll = nullptr;
};

template <class Function>
bool Take(void* handle, const char* name, Function& f) {
    f = reinterpret_cast<Function>(dlsym(handle, name));
    return f != nullptr;
}

// The entry points, loaded once for the life of the process and never changed after; nullptr when the
// library cannot be loaded.
const CfitsioApi* LoadedLibrary() {
    static const CfitsioApi* const loaded = []() -> const CfitsioApi* {
        void* handle = dlopen("libcfitsio.so.10", RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) return nullptr;
        static CfitsioApi api;
        bool ok = true;
        ok = ok && Take(handle, "ffdkopn", api.ffdkopn);
        ok = ok && Take(handle, "ffclos", api.ffclos);
        ok = ok && Take(handle, "ffgerr", api.ffgerr);
        ok = ok && Take(handle, "ffcmsg", api.ffcmsg);
        ok = ok && Take(handle, "ffgcrd", api.ffgcrd);
        ok = ok && Take(handle, "ffgky", api.ffgky);
        ok = ok && Take(handle, "fffree", api.fffree);
        ok = ok && Take(handle, "ffcnvthdr2str", api.ffcnvthdr2str);
        ok = ok && Take(handle, "ffgidt", api.ffgidt);
        ok = ok && Take(handle, "ffgiet", api.ffgiet);
        ok = ok && Take(handle, "ffgidm", api.ffgidm);
        ok = ok && Take(handle, "ffgiszll", api.ffgiszll);
        ok = ok && Take(handle, "ffmahd", api.ffmahd);
        ok = ok && Take(handle, "ffgpxvll", api.ffgpxvll);
        return ok ? &api : nullptr;
    }();
    return loaded;
}

const CfitsioApi& Library() {
    return *LoadedLibrary();
}

class FitsFile {
  public:
    // Opened as a plain file name: brackets in a path are not CFITSIO's filters.
    explicit FitsFile(const std::string& path) {
        if (Library().ffdkopn(&f_, path.c_str(), READONLY, &status_) != 0) f_ = nullptr;
    }
    ~FitsFile() {
        int status = 0;
        if (f_ != nullptr) Library().ffclos(f_, &status);
    }
    FitsFile(const FitsFile&) = delete;
    FitsFile& operator=(const FitsFile&) = delete;
    fitsfile* get() const { return f_; }
    int status() const { return status_; }

  private:
    fitsfile* f_ = nullptr;
    int status_ = 0;
};

double KeyOr(fitsfile* f, const char* key, double fallback) {
    int status = 0;
    double v = fallback;
    if (Library().ffgky(f, TDOUBLE, key, &v, nullptr, &status) != 0) return fallback;
    return v;
}

// The cards of the present HDU as 80-character records ending in END; for a compressed image, those
// of the image it holds.
std::string HeaderText(fitsfile* f) {
    char* text = nullptr;
    int count = 0, status = 0;
    if (Library().ffcnvthdr2str(f, 0, nullptr, 0, &text, &count, &status) != 0) return {};
    std::string out = text;
    Library().fffree(text, &status);
    return out;
}

// The first HDU that holds an image of at least two axes, each at least one pixel long.
struct ImageHdu {
    int number = 0;
    int type = 0;  // equivalent BITPIX: the type the values have once BZERO and BSCALE are applied
    int bitpix = 0;
    int axes = 0;
    LONGLONG width = 0, height = 0;
};

bool FindImage(fitsfile* f, ImageHdu& found) {
    for (int n = 1;; ++n) {
        int type = 0, status = 0;
        if (Library().ffmahd(f, n, &type, &status) != 0) return false;
        if (type != IMAGE_HDU) continue;
        int axes = 0;
        Library().ffgidm(f, &axes, &status);
        if (status != 0 || axes < 2) continue;
        std::vector<LONGLONG> size(static_cast<size_t>(axes), 0);
        Library().ffgiszll(f, axes, size.data(), &status);
        if (status != 0 || size[0] < 1 || size[1] < 1) continue;
        found = {n, 0, 0, axes, size[0], size[1]};
        Library().ffgidt(f, &found.bitpix, &status);
        Library().ffgiet(f, &found.type, &status);
        return status == 0;
    }
}

SampleKind KindOf(int equivalentType) {
    switch (equivalentType) {
        case BYTE_IMG:
            return SampleKind::UnsignedBytes;
        case FLOAT_IMG:
        case DOUBLE_IMG:
            return SampleKind::Reals;
        default:
            return SampleKind::Integers;
    }
}

void LibraryError(Context& c, int status) {
    char text[FLEN_STATUS] = {};
    Library().ffgerr(status, text);
    Library().ffcmsg();
    std::string line = "Error " + std::to_string(status) + " in CFITSIO: " + text + ".";
    RefuseImage(c, line, line, line);
}

void ReadNote(Context& c, const ImageHdu& image) {
    std::string hdu = std::to_string(image.number), bitpix = std::to_string(image.bitpix);
    ParaResumen(c, "FITS leído con CFITSIO: HDU " + hdu + ", BITPIX " + bitpix + ".",
                "FITS lu avec CFITSIO: HDU " + hdu + ", BITPIX " + bitpix + ".",
                "FITS read with CFITSIO: HDU " + hdu + ", BITPIX " + bitpix + ".");
    if (image.axes > 2)
        ParaResumen(c, "Cubo de datos: se analiza el primer plano.",
                    "Cube de données: le premier plan est analysé.",
                    "Data cube: the first plane is analysed.");
}

// The pattern as written, 'RGGB', without the blanks that pad a quoted value.
std::string PatternText(const std::string& value) {
    size_t open = value.find('\'');
    size_t close = open == std::string::npos ? std::string::npos : value.find('\'', open + 1);
    if (close == std::string::npos) return Trim(value.substr(0, value.find('/')));
    return "'" + Trim(value.substr(open + 1, close - open - 1)) + "'";
}

void BayerNote(Context& c, const std::string& pattern, int32_t w, int32_t h) {
    std::string p = PatternText(pattern);
    std::string size = std::to_string(w) + "x" + std::to_string(h);
    ParaResumen(c,
                "Mosaico Bayer (BAYERPAT = " + p + ") agrupado 2x2 en luminancia: " + size +
                    " pixeles; la escala es la de un pixel agrupado.",
                "Mosaïque de Bayer (BAYERPAT = " + p + ") regroupée 2x2 en luminance: " + size +
                    " pixels; l'échelle est celle d'un pixel regroupé.",
                "Bayer mosaic (BAYERPAT = " + p + ") binned 2x2 to luminance: " + size +
                    " pixels; the scale is that of a binned pixel.");
}

void MappingNote(Context& c, const LevelMapping& m) {
    switch (m.rule) {
        case LevelMapping::Rule::TimesTwoFiftySeven:
            ParaResumen(c, "Datos de 8 bits x 257.", "Données de 8 bits x 257.", "8-bit data x 257.");
            break;
        case LevelMapping::Rule::AsTheyAre:
            ParaResumen(c, "Valores enteros sin cambio.", "Valeurs entières gardées telles quelles.",
                        "Integer values kept as they are.");
            break;
        case LevelMapping::Rule::Stretched: {
            std::string lo = ShortestText(m.low), hi = ShortestText(m.high);
            ParaResumen(c, "Valores de " + lo + " a " + hi + " estirados a 0..65535.",
                        "Valeurs de " + lo + " à " + hi + " étirées sur 0..65535.",
                        "Values from " + lo + " to " + hi + " stretched onto 0..65535.");
            break;
        }
    }
}

}  // namespace

bool TakesSixteenBitReader(const std::string& path) {
    // Read from the primary header by hand, so that a plain 16-bit file never loads the library.
    std::ifstream in(path, std::ios::binary);
    std::string header;
    std::array<char, 2880> block{};
    bool ended = false;
    for (int n = 0; n < 1000 && !ended && in.read(block.data(), block.size()); ++n) {
        header.append(block.data(), block.size());
        for (size_t at = 0; at < block.size() && !ended; at += 80)
            ended =
                std::string_view(block.data() + at, 80).find_first_not_of(' ', 3) == std::string_view::npos &&
                std::string_view(block.data() + at, 3) == "END";
    }
    // What is not a FITS header, the 16-bit reader refuses with its own messages.
    if (!ended || header.compare(0, 6, "SIMPLE") != 0) return true;
    HeaderCards h;
    TakeCards(header, h);
    auto number = [](const std::string& v, double otherwise) {
        char* end = nullptr;
        const double d = std::strtod(v.c_str(), &end);
        return end == v.c_str() ? otherwise : d;
    };
    if (number(h.bitpix, 0) != 16 || number(h.naxis1, 0) < 1 || number(h.naxis2, 0) < 1 ||
        !h.bayerpat.empty())
        return false;
    const double bzero = number(h.bzero, 0), bscale = number(h.bscale, 1);
    return (bzero == 0 || bzero == 32768) && bscale == 1;
}

void LoadFitsWithLibrary(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "LoadFitsWithLibrary", [&] {
        c.gCentroFitRA = -1;
        c.gCentroFitDEC90 = -1;
        // Without the library, or on a file it cannot open, the 16-bit reader refuses with its messages.
        if (LoadedLibrary() == nullptr) {
            CargaFit(c);
            return;
        }
        FitsFile file(c.gRutaImagen);
        if (file.get() == nullptr) {
            Library().ffcmsg();
            CargaFit(c);
            return;
        }
        fitsfile* f = file.get();
        HeaderCards cards;
        TakeCards(HeaderText(f), cards);
        ImageHdu image;
        if (!FindImage(f, image)) {
            Library().ffcmsg();
            RefuseImage(c, "No hay imagen en el fichero FITS.", "Pas d'image dans le fichier FITS.",
                        "No image in the FITS file.");
            return;
        }
        // The image's own cards follow the primary ones, and win.
        if (image.number > 1) TakeCards(HeaderText(f), cards);
        c.mFechaObs = cards.dateObs;
        c.gBZero = KeyOr(f, "BZERO", 0);
        c.gBScale = KeyOr(f, "BSCALE", 1);
        ReadNote(c, image);

        const bool bayer = !cards.bayerpat.empty();
        const int32_t binning = bayer ? 2 : 1;
        if (RefuseOversizedImage(c, image.width, image.height)) return;
        const auto fileW = static_cast<size_t>(image.width), fileH = static_cast<size_t>(image.height);
        const auto w = static_cast<int32_t>(fileW / binning), h = static_cast<int32_t>(fileH / binning);
        PixelScaleNote(c, cards, binning);
        c.gPixelesX = w;
        c.gPixelesY = h;
        c.mAnchoVisu = ToLong(w / c.gFactorReduccion);
        c.mAltoVisu = ToLong(h / c.gFactorReduccion);
        if (RefuseUndersizedImage(c)) return;
        HeaderCentre(c, cards);

        // The first plane, values with BZERO and BSCALE applied, blanks as NaN.
        std::vector<float> values(fileW * fileH);
        std::vector<LONGLONG> first(static_cast<size_t>(image.axes), 1);
        float blank = NAN;
        int anyBlank = 0, status = 0;
        if (Library().ffgpxvll(f, TFLOAT, first.data(), static_cast<LONGLONG>(values.size()), &blank,
                               values.data(), &anyBlank, &status) != 0) {
            LibraryError(c, status);
            return;
        }
        if (bayer) {
            std::vector<float> binned(static_cast<size_t>(w) * static_cast<size_t>(h));
            BinBayerToLuminance(values.data(), fileW, fileH, binned.data());
            values.swap(binned);
            BayerNote(c, cards.bayerpat, w, h);
        }
        LevelMapping mapping = ChooseLevelMapping(values.data(), values.size(), KindOf(image.type));
        MappingNote(c, mapping);
        // Display levels of the header are counts of the file: they hold only for counts kept as
        // they are.
        if (mapping.rule == LevelMapping::Rule::AsTheyAre && !bayer) HeaderDisplayLevels(c, cards);
        c.imageBinning = binning;
        c.wcsBesideImage = true;
        const auto uw = static_cast<size_t>(w), uh = static_cast<size_t>(h);
        StoreSixteenBitImage(c, w, h, [&](int16_t* out) {
            for (size_t row = 0; row < uh; ++row) {
                // File row `row` is image row y = row + 1, or y = H - row when reversed.
                size_t y0 = c.gImagenInvertida == 1 ? uh - 1 - row : row;
                const float* in = values.data() + row * uw;
                int16_t* dst = out + y0 * uw;
                for (size_t x = 0; x < uw; ++x)
                    dst[x] = EngineBrightness(Level(mapping, in[x]));
            }
        });
    });
}

}  // namespace tornel
