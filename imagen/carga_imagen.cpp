// The one door through which an image file enters: summary head, choice of reader by extension,
// BMP, JPG, PNG and TIFF pictures, and the date of the image.
#include <string>

#include "comun/build_info.h"
#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "imagen/fits.h"
#include "imagen/image_limits.h"
#include "imagen/imagen.h"
#include "imagen/intake.h"
#include "imagen/level_mapping.h"
#include "imagen/picture_files.h"
#include "imagen/pixel/tornel_pixel.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

void OriginLine(Context& c) {
    switch (c.gOrigenImagen) {
        case 0:
            ParaResumen(c, "Ruta de la imagen.", "Chemin de l'image.", "Image path.");
            break;
        case 1:
            ParaResumen(c, "Imagen del último mensaje.", "Image du dernier message.",
                        "Image from last message.");
            break;
        case 2:
            ParaResumen(c, "Imagen más reciente.", "Image la plus récente.", "Most recent image.");
            break;
        case 5:
            ParaResumen(c, "Esperar mensaje.", "Attendre un message.", "Wait for message.");
            break;
        case 6:
            ParaResumen(c, "Esperar imagen.", "Attendre une image.", "Wait for image.");
            break;
        default: {
            std::string n = std::to_string(c.gOrigenImagen);
            ParaResumen(c, "Modo " + n, "Mode " + n, "Mode " + n);
            break;
        }
    }
}

void SummaryHead(Context& c) {
    ParaResumen(c, "      ** MODO **", "      ** MODE **", "      ** MODE **");
    OriginLine(c);
    if (c.gMostrarAvisos)
        ParaResumen(c, "Mostrar mensajes de error = SI", "Afficher les messages d'erreur = OUI",
                    "Show error messages = YES");
    else
        ParaResumen(c, "Mostrar mensajes de error = NO", "Afficher les messages d'erreur = NON",
                    "Show error messages = NO");
    std::string versions = std::string(TORNEL_VERSION_TEXT) + ". Tornel.dll ";
    ParaResumen(c, "Versión de Tornel.exe: " + versions + "versión: " + c.gVersionDLL,
                "Version de Tornel.exe: " + versions + "version: " + c.gVersionDLL,
                "Tornel.exe version: " + versions + "version: " + c.gVersionDLL);
    LocalTime now = ToLocalTime(c.platform.Now());
    std::string date = LongDate(now) + " " + LongTime(now);
    ParaResumen(c, "Fecha: " + date, "Date: " + date, "Date: " + date);
    ParaResumen(c, "      ** IMAGEN **", "      ** IMAGE **", "      ** IMAGE **");
    ParaResumen(c, "Imagen: " + c.gRutaImagen, "Image: " + c.gRutaImagen, "Image: " + c.gRutaImagen);
}

bool IsPictureType(const std::string& tipo) {
    return tipo == "jpg" || tipo == "bmp" || tipo == "png" || tipo == "tif";
}

bool IsFitsExtension(const std::string& ext) {
    return ext == "fit" || ext == "fits" || ext == "fts" || ext == "fz";
}

bool IsPngOrTiffExtension(const std::string& ext) {
    return ext == "png" || ext == "tif" || ext == "tiff";
}

// Levels of the other kind of image come into force when the kind changes. Pictures of 8-bit
// samples share the BMP levels; 16-bit images, FITS or not, the FITS levels.
void SwitchLevels(Context& c, const std::string& tipo) {
    bool wasFit = c.gTipoImagen == "fit";
    if (tipo != "fit" && wasFit) {
        c.gNegroActual = c.gNegroBMP;
        c.gBlancoActual = c.gBlancoBMP;
    } else if (tipo == "fit" && IsPictureType(c.gTipoImagen)) {
        c.gNegroActual = c.gNegroFit;
        c.gBlancoActual = c.gBlancoFit;
    }
    c.gTipoImagen = tipo;
}

bool TwoDigits(const std::string& t, size_t place, size_t length, int32_t& value) {
    // Places count from 1, as in the card: the quote stands in place 1.
    if (t.size() < place - 1 + length) return false;
    std::string field = t.substr(place - 1, length);
    for (char ch : field)
        if (ch < '0' || ch > '9') return false;
    value = static_cast<int32_t>(std::stol(field));
    return true;
}

// DATE-OBS of the header as 'YYYY-MM-DDThh:mm:ss', else the clock of the machine.
void ImageDate(Context& c) {
    const std::string& f = c.mFechaObs;
    int32_t v[6] = {};
    bool fromHeader = !f.empty() && TwoDigits(f, 2, 4, v[0]) && TwoDigits(f, 7, 2, v[1]) &&
                      TwoDigits(f, 10, 2, v[2]) && TwoDigits(f, 13, 2, v[3]) && TwoDigits(f, 16, 2, v[4]) &&
                      TwoDigits(f, 19, 2, v[5]);
    if (!fromHeader) {
        LocalTime now = ToLocalTime(c.platform.Now());
        v[0] = now.year, v[1] = now.month, v[2] = now.day, v[3] = now.hour, v[4] = now.minute;
        v[5] = now.second;
    }
    c.mAnioObs = v[0], c.mMesObs = v[1], c.mDiaObs = v[2];
    c.mHoraObs = v[3], c.mMinutoObs = v[4], c.mSegundoObs = v[5];
    if (fromHeader) {
        std::string d = f.substr(1, 19);
        ParaResumen(c, "DATE-OBS = " + d + " en la cabecera FITS.",
                    "DATE-OBS = " + d + " dans l'entête FITS.", "DATE-OBS = " + d + " in FITS header.");
    } else if (IsPngOrTiffExtension(c.gExtensionImagen)) {
        ParaResumen(c, "Fichero PNG o TIFF. DATE-OBS del reloj del PC.",
                    "Fichier PNG ou TIFF. DATE-OBS de l'horloge du PC.",
                    "PNG or TIFF file. DATE-OBS from PC clock.");
    } else if (c.gTipoImagen == "fit") {
        ParaResumen(c, "No hay DATE-OBS en la cabecera FITS.", "Pas de DATE-OBS dans l'entête FITS.",
                    "No  DATE-OBS in the FITS header.");
    } else {
        ParaResumen(c, "Fichero BMP o JPG. DATE-OBS del reloj del PC.",
                    "Fichier BMP ou JPG. DATE-OBS de l'horloge du PC.",
                    "BMP or JPG file. DATE-OBS from PC clock.");
    }
}

void NotLoaded(Context& c) {
    AvisoResulYresumen(c, "Imagen no cargada.", "Image non chargée.", "Image not loaded.");
    VisuTitulo(c, "Imagen no cargada.", "Image non chargée.", "Image not loaded.");
    c.mFinAnalisis = true;
    c.gUltimoError = "Image not loaded.";
}

// A decoded picture of 8-bit samples into mPixelesBMP and mBrillo, as the platform's pictures were.
void StorePicture(Context& c, Picture& picture) {
    const int32_t w = picture.width, h = picture.height;
    double reduction = c.gFactorReduccion;
    c.mAnchoVisu = ToLong(w / reduction);
    c.mAltoVisu = ToLong(h / reduction);
    if (static_cast<int64_t>(w) * h == 0) {
        ParaResumen(c, "Imagen no válida.", "Image non valide.", "Invalid image.");
        c.mFinAnalisis = true;
        return;
    }
    // The pixel library takes 16-bit sizes.
    const int16_t ancho = CheckInteger(w), alto = CheckInteger(h);
    c.gPixelesX = w;
    c.gPixelesY = h;
    const auto cells = (static_cast<size_t>(w) + 1) * (static_cast<size_t>(h) + 1);
    c.mImagenFit = {};
    ReallocateZeroed(c.mBrillo, cells);
    ReallocateZeroed(c.mContorno, cells);
    c.contourMarkBase = 0;
    c.mPixelesBMP = std::move(picture.pixels);
    c.mInfoBMP = InfoBitmap{40, w, c.gImagenInvertida == 1 ? -h : h, 1, 32};
    c.gBrilloMaximo = bmp32_a_brillo(c.mPixelesBMP.data(), c.mBrillo.data(), ancho, alto);
    c.platform.ImageChanged();
    c.gImagenCargada = true;
}

// A PNG or TIFF file (`tipo` "png" or "tif"). 8-bit samples take the road of BMP and JPG; 16-bit ones
// keep their depth as a 16-bit image, the same brightness that a FITS file of those counts gives,
// with the FITS levels.
void LoadPngOrTiff(Context& c, const std::string& ruta, const std::string& tipo) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "LoadPngOrTiff", [&] {
        RowOrder order = c.gImagenInvertida == 1 ? RowOrder::TopFirst : RowOrder::BottomFirst;
        Picture picture;
        c.mPixelesBMP = {};
        c.gCentroFitRA = -1;
        c.gCentroFitDEC90 = -1;
        bool read = tipo == "png" ? ReadPng(ruta, order, picture) : ReadTiff(ruta, order, picture);
        if (!read) {
            if (ImageTooLarge(picture.width, picture.height))
                RefuseOversizedImage(c, picture.width, picture.height);
            else
                NotLoaded(c);
            return;
        }
        if (RefuseOversizedImage(c, picture.width, picture.height)) return;
        const bool deep = !picture.levels16.empty();
        SwitchLevels(c, deep ? "fit" : tipo);
        c.wcsBesideImage = true;
        if (!deep) {
            StorePicture(c, picture);
            return;
        }
        const auto n = picture.levels16.size();
        StoreSixteenBitImage(c, picture.width, picture.height, [&](int16_t* out) {
            for (size_t i = 0; i < n; ++i)
                out[i] = EngineBrightness(picture.levels16[i]);
        });
    });
}

}  // namespace

void RefuseImage(Context& c, Txt es, Txt fr, Txt en) {
    c.mFinAnalisis = true;
    ParaResumen(c, es, fr, en);
    VisuTitulo(c, es, fr, en);
    c.gUltimoError = std::string(en);
}

bool RefuseOversizedImage(Context& c, int64_t width, int64_t height) {
    std::string size = std::to_string(width) + "x" + std::to_string(height);
    if (ImageTooLarge(width, height)) {
        RefuseImage(c, "Imagen demasiado grande: " + size + " pixeles necesitan más de 1 GiB de memoria.",
                    "Image trop grande: " + size + " pixels demandent plus de 1 Gio de mémoire.",
                    "Image too large: " + size + " pixels need more than 1 GiB of memory.");
        return true;
    }
    if (width > kMaxImageSide || height > kMaxImageSide) {
        RefuseImage(c, "Imagen demasiado grande: " + size + " pixeles; el lado mayor es de 32767.",
                    "Image trop grande: " + size + " pixels; le plus grand côté est de 32767.",
                    "Image too large: " + size + " pixels; the longest side is 32767.");
        return true;
    }
    return false;
}

bool RefuseUndersizedImage(Context& c) {
    if (c.gPixelesY >= 50 && c.gPixelesX >= 50) return false;
    c.mFinAnalisis = true;
    ParaResumen(c, "Tamaño de la imagen en cabecera FITS < 50.",
                "Dimensions de l'image < 50 d'après entête FITS.", "Image size < 50.");
    VisuTitulo(c, "Imagen demasiado pequeña.", "Image trop petite.", "Too litle image.");
    c.gUltimoError = "Too litle image.";
    return true;
}

void StoreSixteenBitImage(Context& c, int32_t width, int32_t height,
                          const std::function<void(int16_t*)>& fill) {
    const auto w = static_cast<size_t>(width), h = static_cast<size_t>(height);
    c.gPixelesX = width;
    c.gPixelesY = height;
    c.mAnchoVisu = ToLong(width / c.gFactorReduccion);
    c.mAltoVisu = ToLong(height / c.gFactorReduccion);
    ReallocateZeroed(c.mContorno, (w + 1) * (h + 1));
    c.contourMarkBase = 0;
    ReallocateZeroed(c.mBrillo, (w + 1) * (h + 1));
    ReallocateZeroed(c.mImagenFit, w * h);
    c.mPixelesBMP = {};
    fill(c.mImagenFit.data());
    BrightnessOfSixteenBitImage(c, CheckInteger(width), CheckInteger(height));
}

void BrightnessOfSixteenBitImage(Context& c, int16_t ancho, int16_t alto) {
    c.gBrilloMaximo = fit_a_brillo(c.mImagenFit.data(), c.mBrillo.data(), ancho, alto);
    if (c.gBrilloMaximo < 50) {
        c.mFinAnalisis = true;
        ParaResumen(c, "Brillo máximo < 50.", "Intensité maxi < 50.", "Highest brightness < 50.");
        PoneTitulo(c, c.mTitulo);
        return;
    }
    c.platform.ImageChanged();
    c.gImagenCargada = true;
}

void CargaBmp(Context& c, const std::string& ruta, const std::string& tipo) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CargaBmp", [&] {
        // Reversal is only the order in which the rows are asked for.
        RowOrder order = c.gImagenInvertida == 1 ? RowOrder::TopFirst : RowOrder::BottomFirst;
        Picture picture;
        c.mPixelesBMP = {};
        bool read = tipo == "jpg" ? ReadJpg(ruta, order, picture) : ReadBmp(ruta, order, picture);
        if (!read) {
            if (ImageTooLarge(picture.width, picture.height))
                RefuseOversizedImage(c, picture.width, picture.height);
            else
                NotLoaded(c);
            return;
        }
        StorePicture(c, picture);
    });
}

void CargaImagen(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CargaImagen", [&] {
        c.gImagenCargada = false;
        c.gPixelesX = 0;
        c.gPixelesY = 0;
        c.mFechaObs.clear();
        c.imageBinning = 1;
        c.wcsBesideImage = false;
        SummaryHead(c);
        if (c.gRutaImagen.empty()) {
            c.mFinAnalisis = true;
            ParaResumen(c, "La ruta de la imagen no existe.", "Le chemin de l'image n'existe pas.",
                        "Image path does not exist.");
            VisuTitulo(c, "La ruta de la imagen no existe", "Le chemin de l'image n'existe pas",
                       "Image path does not exist");
            return;
        }
        if (!FileExists(c.gRutaImagen)) {
            c.mFinAnalisis = true;
            ParaResumen(c, "No se encuentra el fichero de la imagen.", "Fichier image non trouvé.",
                        "Can't find the image file.");
            VisuTitulo(c, "No se encuentra el fichero de la imagen.", "Fichier image non trouvé.",
                       "Can't find the image file.");
            LabelResul(c, "No se encuentra el fichero de la imagen.", "Fichier image non trouvé.",
                       "Can't find the image file.");
            return;
        }
        PoneTitulo(
            c, "TORNEL - " + c.gRutaImagen + " - " +
                   Pick(c, "Cargando la imagen ...", "Chargement de l'image ...", "Loading the image ..."));
        const std::string& ext = c.gExtensionImagen;
        if (ext == "bmp" || ext == "jpg") {
            SwitchLevels(c, ext);
            CargaBmp(c, c.gRutaImagen, ext);
        } else if (IsPngOrTiffExtension(ext)) {
            LoadPngOrTiff(c, c.gRutaImagen, ext == "png" ? "png" : "tif");
        } else if (IsFitsExtension(ext)) {
            SwitchLevels(c, "fit");
            if (TakesSixteenBitReader(c.gRutaImagen))
                CargaFit(c);
            else
                LoadFitsWithLibrary(c);
        } else {
            c.mFinAnalisis = true;
            ParaResumen(c, "Tipo de imagen no válido: " + ext + ".", "Type d'image non valide: " + ext + ".",
                        "Invalid image type: " + ext + ".");
            VisuTitulo(c, "Tipo de imagen no válido: " + ext + ".", "Type d'image non valide: " + ext + ".",
                       "Invalid image type: " + ext + ".");
            c.gUltimoError = "Invalid image type.";
            return;
        }
        std::string w = std::to_string(c.gPixelesX), h = std::to_string(c.gPixelesY);
        ParaResumen(c, "Tamaño: " + w + "x" + h + " pixeles.", "Taille: " + w + "x" + h + " pixels.",
                    "Size: " + w + "x" + h + " pixels.");
        if (c.gOrigenImagen != 5 && (c.gPixelesX != c.gAnchoAnterior || c.gPixelesY != c.gAltoAnterior)) {
            // The old rectangle no longer fits the image.
            c.gAreaImagen = 0;
            c.platform.ClearRectangle();
        }
        c.gAnchoAnterior = c.gPixelesX;
        c.gAltoAnterior = c.gPixelesY;
        if (c.mFinAnalisis) return;
        ImageDate(c);
        VisuTitulo(c, "Imagen cargada.", "Image chargée.", "Image loaded.");
    });
}

}  // namespace tornel
