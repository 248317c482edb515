#include "astrometria/calibration_entries.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "catalogo/star_catalogue.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr double kMostAspect = 4;    // a pixel more than four times as wide as high is a typing slip
constexpr double kPickDistance = 5;  // pixels between a click and the star it picks
const char* const kLetters = "ABC";

std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string Upper(std::string text) {
    for (char& ch : text)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return text;
}

bool Digits(const std::string& text) {
    return !text.empty() && text.size() <= 9 &&
           std::all_of(text.begin(), text.end(), [](char ch) { return ch >= '0' && ch <= '9'; });
}

void NotValid(Context& c, const std::string& letra) {
    MensajeIdioma(c, "El número de la estrella " + letra + " no es válido. No se ha calibrado.",
                  "Le numéro de l'étoile " + letra + " n'est pas valable. Aucun calibrage fait.",
                  "The star " + letra + " number is not valid. No calibration done.");
}

// Catalogues whose identifiers a user may know but that the star file does not number by.
int32_t NotInDatabase(Context& c, const std::string& catalogue, const std::string& example) {
    MensajeIdioma(
        c,
        "La base de datos no contiene el catálogo " + catalogue +
            ". Escriba el número de la estrella como lo muestra el programa (por ejemplo: " + example +
            "). No se ha calibrado.",
        "La base de données ne contient pas le catalogue " + catalogue +
            ". Tapez le numéro de l'étoile tel que le programme le montre (par exemple : " + example +
            "). Aucun calibrage fait.",
        "The database holds no " + catalogue +
            " catalogue. Type the star number as the program shows it (for example: " + example +
            "). No calibration done.");
    return 0;
}

// "158 254": region x 100000 + star.
int32_t RegionAndStar(Context& c, const std::string& text) {
    const auto blank = text.find(' ');
    const std::string region = blank == std::string::npos ? text : text.substr(0, blank);
    const std::string star = blank == std::string::npos ? "" : Trimmed(text.substr(blank));
    if (blank == std::string::npos || !Digits(region) || !Digits(star)) {
        MensajeIdioma(c,
                      "El número de la región y el de la estrella deben estar separados por un espacio. "
                      "No se ha calibrado.",
                      "Le numéro de la région et celui de l'étoile doivent être séparés par un espace. "
                      "Aucun calibrage fait.",
                      "The region number and the star number must be separated by a space. No "
                      "calibration done.");
        return 0;
    }
    const long long r = std::stoll(region), s = std::stoll(star);
    if (r < 1 || r > 9999 || s < 1 || s > 99999) return -1;
    return static_cast<int32_t>(r * 100000 + s);
}

// "U2 0075.00352056": zone and number of the USNO form.
int32_t UsnoZone(const std::string& text) {
    std::string rest = Trimmed(text.substr(text.rfind('2', 2) + 1));
    const auto dot = rest.find('.');
    if (dot == std::string::npos) return -1;
    const std::string zone = rest.substr(0, dot), number = rest.substr(dot + 1);
    if (!Digits(zone) || !Digits(number)) return -1;
    const int32_t id = ZonaUSNO_A_Numero(std::stoi(zone), std::stoi(number));
    return id == 0 ? -1 : id;
}

// The numeric text of a coordinate field within [lo, hi).
std::optional<double> Field(const std::string& text, double lo, double hi) {
    const std::string t = Trimmed(text);
    if (t.empty() || !IsNumeric(t)) return std::nullopt;
    const double v = TextToDouble(t);
    if (!(v >= lo && v < hi)) return std::nullopt;
    return v;
}

bool StarsClicked(Context& c, int stars) {
    const double xs[] = {c.mCalibracionX1, c.mCalibracionX2, c.mCalibracionX3};
    const double ys[] = {c.mCalibracionY1, c.mCalibracionY2, c.mCalibracionY3};
    for (int i = 0; i < stars; ++i)
        if (xs[i] == 0 && ys[i] == 0) {
            const std::string l(1, kLetters[i]);
            MensajeIdioma(
                c,
                "Falta la estrella " + l +
                    " en la imagen: elíjala con el botón derecho del ratón sobre ella.",
                "L'étoile " + l + " manque sur l'image : choisissez-la avec le bouton droit de la souris.",
                "Star " + l + " is not marked on the image: pick it with the right mouse button.");
            return false;
        }
    return true;
}

}  // namespace

std::string CoordinateControl(int star, int field) {
    static const char* const kFields[] = {"h", "m", "s", "ga", "ma", "sa"};
    return "VeoEstrella" + std::string(1, kLetters[star]) + kFields[field];
}

std::string NumberControl(int star) {
    return "VeoEstrella" + std::string(1, kLetters[star]);
}

void MensajeEntradaNoValida(Context& c) {
    MensajeIdioma(c, "Valor no válido", "Valeur non valable", "Invalid value");
}

std::optional<double> PixelAspect(Context& c, const CalibrationForm& f, std::string& control) {
    if (f.cuadrado) return 1.0;
    const auto ancho = Field(f.anchoPixel, 0.1, 1000), alto = Field(f.altoPixel, 0.1, 1000);
    if (!ancho || !alto || *ancho / *alto > kMostAspect || *alto / *ancho > kMostAspect) {
        control = !ancho ? "VeoAnchoPixel" : "VeoAltoPixel";
        MensajeIdioma(c, "Valores desproporcionados", "Valeurs peu coherentes", "Not reasonable values");
        return std::nullopt;
    }
    return *ancho / *alto;
}

int32_t VeoEstrella_a_IDnumeroRegistro(Context& c, const std::string& texto, const std::string& letra) {
    const std::string t = Upper(Trimmed(texto));
    if (t.size() < 3 || t.size() > 18) {
        NotValid(c, letra);
        return 0;
    }
    const bool regionForm = c.gBaseDatos == 2 || c.gIdsFormatoGSC;
    const std::string example = regionForm ? "158 254" : "U2 0075.00352056";
    if (t.rfind("HR", 0) == 0) return NotInDatabase(c, "HR", example);
    if (t.rfind("TYC", 0) == 0) return NotInDatabase(c, "Tycho (TYC)", example);
    if (t.rfind("AC", 0) == 0) return NotInDatabase(c, "AC 2000 (AC)", example);
    const bool usno = t.rfind("U2", 0) == 0 || t.rfind("UA2", 0) == 0;
    int32_t id = 0;
    if (regionForm) {
        if (usno) return NotInDatabase(c, "USNO (U2)", example);
        id = RegionAndStar(c, t);
        if (id == 0) return 0;
    } else {
        if (!usno || t.find_first_not_of("0123456789HRTYCAU. ") != std::string::npos)
            id = -1;
        else
            id = UsnoZone(t);
    }
    if (id < 0) {
        NotValid(c, letra);
        return 0;
    }
    return id;
}

bool EntradasDeEstrellasOK(Context& c, const CalibrationForm& f, std::array<CalibrationStar, 3>& stars,
                           std::string& control) {
    const int n = f.tresEstrellas ? 3 : 2;
    for (int i = 0; i < n; ++i) {
        control = NumberControl(i);
        const int32_t id =
            VeoEstrella_a_IDnumeroRegistro(c, f.numero[static_cast<size_t>(i)], std::string(1, kLetters[i]));
        if (id == 0) return false;
        // The box of the reader would give the number; the user typed a text.
        const bool avisos = c.gMostrarAvisos;
        c.gMostrarAvisos = false;
        LeeCoordenadasEstrellaIDintegral(c, id);
        c.gMostrarAvisos = avisos;
        if (c.gEstrellaRA == 0 && c.gEstrellaDEC == 0) {
            const std::string t = Trimmed(f.numero[static_cast<size_t>(i)]);
            MensajeIdioma(c, "No encuentra la estrella " + t, "Etoile non trouvée " + t,
                          "Star not found " + t);
            return false;
        }
        stars[static_cast<size_t>(i)].ra = c.gEstrellaRA;
        stars[static_cast<size_t>(i)].dec = c.gEstrellaDEC;
    }
    control.clear();
    return true;
}

bool EntradasDeCoordenadasOK(Context& c, const CalibrationForm& f, std::array<CalibrationStar, 3>& stars,
                             std::string& control) {
    const int n = f.tresEstrellas ? 3 : 2;
    const double limits[6][2] = {{0, 24}, {0, 60}, {0, 60}, {-90, 91}, {0, 60}, {0, 60}};
    for (int i = 0; i < n; ++i) {
        const auto& texts = f.coordenada[static_cast<size_t>(i)];
        double v[6] = {};
        for (int k = 0; k < 6; ++k) {
            const auto value = Field(texts[static_cast<size_t>(k)], limits[k][0], limits[k][1]);
            if (!value || (k == 3 && *value != std::trunc(*value))) {
                control = CoordinateControl(i, k);
                MensajeEntradaNoValida(c);
                return false;
            }
            v[k] = *value;
        }
        // The sign is written once, on the degrees: "-0 30 00" is half a degree south.
        const bool south = Trimmed(texts[3]).rfind('-', 0) == 0;
        const double dec = std::fabs(v[3]) + v[4] / 60 + v[5] / 3600;
        if (dec > 90) {
            control = CoordinateControl(i, 3);
            MensajeEntradaNoValida(c);
            return false;
        }
        stars[static_cast<size_t>(i)].ra = 15 * (v[0] + v[1] / 60 + v[2] / 3600);
        stars[static_cast<size_t>(i)].dec = south ? -dec : dec;
    }
    control.clear();
    return true;
}

int32_t CalibraFormulario(Context& c, const CalibrationForm& f, StarCalibration& k, double ancho, double alto,
                          std::string& control) {
    control.clear();
    const auto aspect = PixelAspect(c, f, control);
    if (!aspect) return kCalibracionError;
    if (!StarsClicked(c, f.tresEstrellas ? 3 : 2)) return kCalibracionError;
    std::array<CalibrationStar, 3> stars{};
    const bool ok = f.coordenadas ? EntradasDeCoordenadasOK(c, f, stars, control)
                                  : EntradasDeEstrellasOK(c, f, stars, control);
    if (!ok) return kCalibracionError;
    const double clickedY[] = {c.mCalibracionY1, c.mCalibracionY2, c.mCalibracionY3};
    stars[0].x = c.mCalibracionX1, stars[1].x = c.mCalibracionX2, stars[2].x = c.mCalibracionX3;
    // The picks are in the rows as loaded with the reversed setting in force; the other setting loads
    // them the other way up.
    auto inFrame = [&](int16_t invertida) {
        for (size_t i = 0; i < 3; ++i)
            stars[i].y = invertida == c.gImagenInvertida ? clickedY[i] : alto + 1 - clickedY[i];
    };
    inFrame(c.gImagenInvertida);
    // A failed computation leaves what the window shows as it was.
    StarCalibration found = k;
    found.mAspecto = *aspect;
    if (!f.tresEstrellas) {
        const int32_t code = CalibrarConCoordenadasDeEstrellas(c, found, stars[0], stars[1], ancho, alto);
        if (code == kCalibracionHecha) k = found;
        return code;
    }
    int32_t code = CalibrarConTresEstrellas(c, found, stars[0], stars[1], stars[2], ancho, alto);
    if (code == kCalibracionHecha && found.mInvertida != c.gImagenInvertida) {
        // The other setting is right: the angle must be the one the search sees with it.
        const int16_t invertida = found.mInvertida;
        inFrame(invertida);
        code = CalibrarConTresEstrellas(c, found, stars[0], stars[1], stars[2], ancho, alto);
        found.mInvertida = invertida;
    }
    if (code == kCalibracionHecha) k = found;
    return code;
}

void GuardaCalibracion(Context& c, const StarCalibration& k, bool tresEstrellas) {
    if (k.mFocal <= 0) return;
    c.gFocalEnPixeles = k.mFocal;
    c.gSegundosPorPixelX = std::atan(1.0 / k.mFocal) * 206265;
    c.gSegundosPorPixelY = c.gSegundosPorPixelX / k.mAspecto;
    c.gRelacionPixel = c.gSegundosPorPixelX / c.gSegundosPorPixelY;
    c.gMinutosPorPixel = c.gSegundosPorPixelX / 60;
    c.gGradosPorPixel = c.gSegundosPorPixelX / 3600;
    c.gAnguloImagen = k.mAnguloCamara;
    if (tresEstrellas) c.gImagenInvertida = k.mInvertida;
    c.parametersChanged = true;
}

std::optional<PickedStar> EstrellaClick(Context& c, const std::string& letra, double x, double y) {
    for (int32_t i = 1; i <= c.mNumSeleccionadas && i <= 10; ++i) {
        const EstrellaImagen& e = c.mSeleccionadas[static_cast<size_t>(i)];
        // Stars are drawn one pixel left of their position, where the user sees them.
        if (std::fabs(e.x - 1 - x) < kPickDistance && std::fabs(e.y - y) < kPickDistance) {
            double& sx = letra == "a" ? c.mCalibracionX1 : letra == "b" ? c.mCalibracionX2 : c.mCalibracionX3;
            double& sy = letra == "a" ? c.mCalibracionY1 : letra == "b" ? c.mCalibracionY2 : c.mCalibracionY3;
            sx = e.x;
            sy = e.y;
            return PickedStar{e.x, e.y};
        }
    }
    MensajeIdioma(c, "No hay estrella seleccionada cercana al clic.",
                  "Il n'y a pas d'étoile sélectionnée près du clic.",
                  "There is no selected star near the click.");
    return std::nullopt;
}

}  // namespace tornel
