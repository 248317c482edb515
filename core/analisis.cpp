#include "core/analisis.h"

#include <algorithm>
#include <filesystem>

#include "automatizacion/buzon.h"
#include "busqueda/busqueda.h"
#include "busqueda/pattern_search.h"
#include "catalogo/quad_index.h"
#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "comun/text_encoding.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"
#include "resultados/status_files.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace fs = std::filesystem;

namespace {

// The label's text while a search may be stopped: French shares the English word.
constexpr const char* kStopEs = "Detener";
constexpr const char* kStopFr = "Stop";
constexpr const char* kStopEn = "Stop";

void ShowCentre(Context& c) {
    std::string ra = FormatNumber(c.gCentroBusquedaRA, "0.000");
    std::string dec = FormatNumber(c.gCentroBusquedaDEC, "0.000");
    ParaResumen(c, "AR = " + ra + " DE = " + dec, "AD = " + ra + " DE = " + dec,
                "RA = " + ra + " DEC = " + dec);
}

// The database roads as they stand, on the database and zone of the parameters.
void DatabaseRoads(Context& c);
bool DefersExtraction(const Context& c);
bool IsReferenceImage(const Context& c) {
    return c.gRutaImagen.size() > 11 && ToLower(c.gNombreImagen.substr(0, 7)) == "referen";
}
void ExtractAndSquare(Context& c, double inicio);
// The database roads' stars, when the pattern search went first and left them for later.
void ExtractDeferredStars(Context& c);

void SearchDispatch(Context& c) {
    const bool patterns = c.gBusquedaPorPatrones != 0, first = PatternsGoFirst(c);
    if (first) {
        if (BusquedaPorPatrones(c)) return;
        // The triangle road still knows narrow fields of an exact scale.
        if (c.gDetenerAnalisis || c.gBusquedaPorPatrones == 2 || c.gBaseDatos != 2) {
            c.mFinAnalisis = true;
            return;
        }
        c.mFinAnalisis = false;
    }
    ExtractDeferredStars(c);
    if (c.mFinAnalisis) return;
    DatabaseRoads(c);
    if (!patterns || first || c.gHaySolucion || c.gDetenerAnalisis ||
        !FileExists(c.gCarpetaEstrellas + kQuadIndexFile))
        return;
    c.mFinAnalisis = false;
    if (!BusquedaPorPatrones(c)) c.mFinAnalisis = true;
}

void DatabaseRoads(Context& c) {
    if (c.gBaseDatos == 2) {
        c.gZonaCielo = 3;
        BusquedaPorTriangulos(c);
        return;
    }
    if (c.gBaseDatos == 3) {
        if (c.gZonaCielo == 3) BusquedaPorTriangulos(c);
        return;
    }
    switch (c.gZonaCielo) {
        case 1:
            switch (c.gTipoVentana) {
                case 0:
                    BusquedaEnVentanaFija(c);
                    break;
                case 1:
                    AnalizaVentana2x2ConRotacion(c);
                    break;
                case 2:
                    AnalizaVentana40mConRotacion(c);
                    break;
                case 3:
                    AnalizaVentana5x5Dual(c);
                    break;
                default:
                    break;
            }
            break;
        case 2:
        case 3:
            BusquedaEnZonaEsferica(c);
            break;
        case 4:
            BusquedaEnZona30x30porEspiralDeclinacionFija(c);
            break;
        case 6:
            SearchZone30x30WithRotation(c);
            break;
        case 8:
            BusquedaEnZonaParalelo(c);
            break;
        case 9:
            BusquedaEnZonaMeridiano(c);
            break;
        default:
            break;
    }
}

void FailCoordinates(Context& c, const std::string& error) {
    c.gUltimoError = error;
    c.mFinAnalisis = true;
}

// The telescope source of the centre; false when it could not be read.
bool CentreFromTelescope(Context& c) {
    int32_t code = 0;
    AscomLeeArDe(c, code);
    switch (code) {
        case 0:
            ParaResumen(c, "Coordenadas de búsqueda del telescopio ASCOM:",
                        "Coordonnées de recherche du télescope ASCOM:",
                        "Searching coordinates from the ASCOM telescope:");
            return true;
        case 2:
            AvisoIdioma(
                c,
                "Debe elegir un driver ASCOM para su telescopio en la opción 'Otros', 'Elegir un "
                "telescopio ASCOM...'",
                "Vous devez choisir un driver ASCOM pour votre télescope dans l'option 'Autres', 'Choisir "
                "un télescope ASCOM...'",
                "You must choose an ASCOM driver for your telescope at the option 'Others', 'Choose an "
                "ASCOM telescope...'");
            FailCoordinates(c, "You must choose an ASCOM driver for your telescope.");
            return false;
        case 3:
            AvisoIdioma(c, "AR no válida del telescopio ASCOM", "AD non valide du télescope ASCOM",
                        "Invalid RA from the ASCOM telescope");
            FailCoordinates(c, "Invalid RA from the ASCOM telescope");
            return false;
        case 4:
            AvisoIdioma(c, "DE no válida del telescopio ASCOM", "DE non valide du télescope ASCOM",
                        "Invalid DEC from the ASCOM telescope");
            FailCoordinates(c, "Invalid DEC from the ASCOM telescope");
            return false;
        default:
            ParaResumen(c, "No se puede leer el telescopio ASCOM.", "Impossible de lire le télescope ASCOM.",
                        "Can not read the ASCOM telescope.");
            VisuTitulo(c, "No se puede leer el telescopio ASCOM.", "Impossible de lire le télescope ASCOM.",
                       "Can't read the ASCOM telescope.");
            FailCoordinates(c, "Can't read the ASCOM telescope.");
            return false;
    }
}

// The picture kinds that the mailbox folder is searched for. Names ending ".fts" have always been
// passed over here, though the image reader takes them.
bool IsImageName(const std::string& name) {
    std::string lower = ToLower(name);
    for (const char* ext : {".jpg", ".fit", ".fits", ".bmp", ".png", ".tif", ".tiff", ".fz"}) {
        std::string e = ext;
        if (lower.size() >= e.size() && lower.compare(lower.size() - e.size(), e.size(), e) == 0) return true;
    }
    return false;
}

}  // namespace

void ShowStopWord(Context& c) {
    LabelResul(c, kStopEs, kStopFr, kStopEn);
}

void ReportEndAndElapsed(Context& c) {
    LocalTime now = ToLocalTime(c.platform.Now());
    std::string ended = LongDate(now) + " " + LongTime(now);
    ParaResumen(c, "Terminado: " + ended, "Terminé: " + ended, "Ended: " + ended);
    std::string elapsed = FormatNumber(Ahora(c) - c.mInicioTratamiento, "0.0");
    ParaResumen(c, "Tiempo transcurrido: " + elapsed, "Temps écoulé: " + elapsed, "Elapsed time: " + elapsed);
}

void AnalizaImagen(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "AnalizaImagen", [&] {
        c.gAnalizando = true;
        c.distanceRings.Clear();
        c.patternSolution = false;
        c.gUltimoError.clear();
        c.gCausaFallo.clear();
        c.mFinAnalisis = false;
        PoneTitulo(c, "TORNEL");
        PoneLabelResultado(c, "");
        c.gInicioAnalisis = Ahora(c);
        c.timers.TimerEventos.Enabled = true;
        if (!c.gBasesOK) {
            // Refused before it began: the status files keep what a client read last.
            AvisoResulYresumen(c, "Faltan carpetas o ficheros.", "Base de données ou dossier non trouvé.",
                               "DataBase not found or folder not found.");
            return;
        }
        GrabaTornelSta(c, kEstadoAnalizando, 0);
        TratamientoDeLaImagen(c);
        if (c.mFinAnalisis) return;
        ParaResumen(c, "      ** BUSQUEDA **", "      ** RECHERCHE **", "      ** SEARCH **");
        DeterminaCoordenadasDeBusqueda(c);
        if (c.gImagenInvertida == 1)
            ParaResumen(c, "Imagen invertida", "Image inversée", "Reversed image");
        else
            ParaResumen(c, "Imagen no invertida", "Image non inversée", "Non reversed image");
        ShowStopWord(c);
        SearchDispatch(c);
        SaveChangedParameters(c);
    });
}

void TratamientoDeLaImagen(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "TratamientoDeLaImagen", [&] {
        double inicio = Ahora(c);
        c.mResumen.clear();
        PreparaNuevaImagen(c);
        c.platform.ClearOverlay();
        c.platform.HideGuidance();
        if (c.gOrigenImagen == 2) {
            std::string ruta = ImagenMasReciente(c);
            if (ruta.empty()) {
                c.mFinAnalisis = true;
                return;
            }
            ExtraeNombreDeRuta(c, ruta);
            GrabaParametros(c);
            c.mTitulo = "TORNEL - " + ruta + " - ";
            PoneTitulo(c, c.mTitulo);
            CargaImagen(c);
            PoneLabelResultado(c, "");
        } else if (!c.gImagenCargada || c.mSoloRecentrado) {
            c.mRecentradoHecho = false;
            CargaImagen(c);
        }
        if (c.mFinAnalisis) return;
        CalculaBrilloDeFondoYumbral(c);
        c.platform.ImageChanged();
        c.mSoloExtraer = false;
        c.starsDeferred = DefersExtraction(c);
        if (c.starsDeferred) {
            c.mNumSeleccionadas = c.mNumCandidatas = c.mNumContornos = 0;
            CuadraPixeles(c);
            return;
        }
        ExtractAndSquare(c, inicio);
    });
}

namespace {

// The recentering and a reference image need the extraction's stars whatever road solves.
bool DefersExtraction(const Context& c) {
    if (c.mSoloRecentrado || !PatternsGoFirst(c)) return false;
    return !IsReferenceImage(c);
}

void ExtractAndSquare(Context& c, double inicio) {
    ExtraeEstrellas(c);
    std::string t = FormatNumber(Ahora(c) - inicio, "0.0");
    ParaResumen(c, "Tiempo de extracción = " + t, "Temps d'extraction = " + t,
                "Stars extraction time = " + t);
    if (!c.mSoloRecentrado) CuadraPixeles(c);
}

void ExtractDeferredStars(Context& c) {
    if (!c.starsDeferred || c.mFinAnalisis) return;
    c.starsDeferred = false;
    WithTrap(c, "ExtractDeferredStars", [&] {
        ParaResumen(c, "      ** ESTRELLAS **", "      ** ETOILES **", "      ** STARS **");
        ExtractAndSquare(c, Ahora(c));
    });
}

}  // namespace

void PreparaNuevaImagen(Context& c) {
    if (c.mFinAnalisis) return;
    c.mInicioTratamiento = Ahora(c);
    c.platform.SetBusy(true);
    c.timers.TimerBuzon.Enabled = false;
    c.gHaySolucion = false;
    c.presentedRoad = SolutionRoad::None;
    c.matchedStars.clear();
    PoneLabelResultado(c, "");
    PoneTitulo(c, c.mTitulo);
    c.mEstrellasDesdeAnterior = 0;
    c.mDeltaXAnterior = 0;
    c.mDeltaYAnterior = 0;
    PoneMenus(c, false);
    c.platform.DoEvents();
}

void DeterminaCoordenadasDeBusqueda(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "DeterminaCoordenadasDeBusqueda", [&] {
        if (c.gCoordenadasScript) {
            ParaResumen(c, "Coordenadas de búsqueda del fichero script:",
                        "Coordonnées de recherche du script:", "Searching coordinates from the script file:");
        } else if (c.gCentroComandoRA >= 0 && c.gAnalizaYsale) {
            c.gCentroBusquedaRA = c.gCentroComandoRA;
            c.gCentroBusquedaDEC = c.gCentroComandoDEC;
            ParaResumen(
                c, "Coordenadas de busqueda de linea de comandos:",
                "Coordonnées de recherche de la ligne de commande:", "Searching coordinates in the message:");
        } else if (c.gOrigenImagen == 5 && c.gOrigenCoordenadas == 4) {
            c.gCentroBusquedaRA = c.gCentroMensajeRA;
            c.gCentroBusquedaDEC = c.gCentroMensajeDEC;
            ParaResumen(c, "Coordenadas de búsqueda en el mensaje:",
                        "Coordonnées de recherche dans le message:", "Searching coordinates in the message:");
        } else if (Trim(c.gTipoImagen) == "fit" && c.gOrigenCoordenadas == 1) {
            if (c.gCentroFitRA >= 0 && c.gCentroFitDEC90 >= 0) {
                c.gCentroBusquedaRA = c.gCentroFitRA;
                c.gCentroBusquedaDEC = c.gCentroFitDEC90 - 90;
                ParaResumen(c, "Coordenadas de búsqueda de la cabecera FITS:",
                            "Coordonnées de recherche de l'entête FITS:",
                            "Searching coordinates from the FITS header:");
            } else {
                ParaResumen(c, "Cabecera FITS sin coordenadas del objeto.",
                            "Entête FITS sans coordonnées d'objet.",
                            "FITS header without object coordinates.");
                VisuTitulo(c, "Cabecera FITS sin coordenadas. Cambie la opción.",
                           "Entête FITS sans coordonnées. Changez l'option.",
                           "FITS header without coordinates. Change the option.");
                FailCoordinates(c, "FITS header without coordinates.");
                return;
            }
        } else if (c.gOrigenCoordenadas == 2) {
            if (LeeCentroBusquedaDeCartesDuCielDDE(c) == 0) {
                ParaResumen(c, "Coordenadas de búsqueda de CDC:", "Coordonnées de recherche de CDC:",
                            "Searching coordinates from CDC:");
            } else {
                AvisoResulYresumen(c, "Sin respuesta de Cartes du Ciel.", "Pas de réponse de Cartes du Ciel.",
                                   "No answer from Cartes du Ciel.");
                VisuTitulo(c, "Sin respuesta de Cartes du Ciel.", "Pas de réponse de Cartes du Ciel.",
                           "No answer from Cartes du Ciel.");
                FailCoordinates(c, "No answer from Cartes du Ciel.");
                return;
            }
        } else if (c.gOrigenCoordenadas == 3) {
            c.gCentroBusquedaRA = c.mCentroDDERA;
            c.gCentroBusquedaDEC = c.mCentroDDEDEC;
            ParaResumen(
                c, "Coordenadas de búsqueda de la conexión DDE:",
                "Coordonnées de recherche de la liaison DDE:", "Searching coordinates from DDE connection:");
        } else if (c.gOrigenCoordenadas == 5) {
            if (!CentreFromTelescope(c)) return;
        } else {
            c.gCentroBusquedaRA = c.gCentroCombosRA;
            c.gCentroBusquedaDEC = c.gCentroCombosDEC;
            ParaResumen(c, "Coordenadas de búsqueda en los combos.",
                        "Coordonnées de recherche dans les listes.", "Searching coordinates in combos.");
        }
        ShowCentre(c);
    });
}

void CuadraPixeles(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CuadraPixeles", [&] {
        double ratio = c.gRelacionPixel;
        if (ratio == 0) Raise(kErrDivisionByZero);
        c.mEstrellasCuadradas.resize(c.mEstrellas.size());
        for (int32_t i = 1; i <= c.mNumCandidatas; ++i) {
            const EstrellaImagen& e = c.mEstrellas.at(static_cast<size_t>(i));
            c.mEstrellasCuadradas.at(static_cast<size_t>(i)) = {e.x, e.y / ratio, e.brillo};
        }
        if (c.mNumSeleccionadas > 10) Raise(kErrSubscript);
        for (int32_t i = 1; i <= c.mNumSeleccionadas; ++i) {
            const EstrellaImagen& e = c.mSeleccionadasVisu[static_cast<size_t>(i)];
            c.mSeleccionadasCuadradas[static_cast<size_t>(i)] = {e.x, e.y / ratio, e.brillo};
        }
        c.gAnchoImagen = c.gPixelesX;
        c.gAltoImagen = c.gPixelesY / ratio;
        std::string w = FormatNumber(c.gAnchoImagen * c.gMinutosPorPixel, "0.0");
        std::string h = FormatNumber(c.gAltoImagen * c.gMinutosPorPixel, "0.0");
        ParaResumen(c, "Tamaño: " + w + "x" + h + " minutos de arco.",
                    "Taille: " + w + "x" + h + " minutes d'arc.", "Size: " + w + "x" + h + " arc minutes.");
    });
}

namespace {

void ReportSelectedStars(Context& c) {
    ParaResumen(c, "Estrellas seleccionadas:", "Etoiles sélectionnées:", "Selected stars:");
    for (int32_t i = 1; i <= c.mNumSeleccionadas && i <= 10; ++i) {
        const EstrellaImagen& e = c.mSeleccionadas[static_cast<size_t>(i)];
        std::string line = std::to_string(i) + ": x=" + RightJustify(FormatNumber(e.x, "0.00"), 8) +
                           " y=" + RightJustify(FormatNumber(e.y, "0.00"), 8) +
                           " i=" + RightJustify(ShortestText(e.brillo), 9);
        ParaResumen(c, line);
    }
}

void ReferenceAndDrift(Context& c) {
    if (IsReferenceImage(c)) AceptaReferencia(c);
    if (c.mNumSeleccionadas > 0) {
        CalculaDescentradoConAnterior(c);
        CalculaDescentradoConReferencia(c);
    }
    if (c.mSoloRecentrado) {
        AvisoResulYresumen(c, "Recentrado calculado.", "Recentrage calculé.",
                           "Recentering offset calculated.");
        VisuTitulo(c, "Recentrado calculado.", "Recentrage calculé.", "Recentering offset calculated.");
        c.mRecentradoHecho = true;
        c.mFinAnalisis = true;
    }
}

}  // namespace

void ExtraeEstrellas(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "ExtraeEstrellas", [&] {
        switch (c.gAreaImagen) {
            case 0:
                ParaResumen(c, "Analizando toda la imagen.", "Analyse de toute l'image.",
                            "Analysing the full image.");
                break;
            case 1:
                ParaResumen(c, "Analizando dentro del rectángulo:", "Analyse à l'intérieur du rectangle:",
                            "Analysing inside the rectangle:");
                ParaResumen(c, c.mTextoRectangulo);
                break;
            case 2:
                ParaResumen(c, "Analizando fuera del rectángulo:", "Analyse à l'extérieur du rectangle:",
                            "Analysing outside the rectangle:");
                ParaResumen(c, c.mTextoRectangulo);
                break;
            default:
                break;
        }
        c.mCalibracionX1 = c.mCalibracionY1 = c.mCalibracionX2 = 0;
        c.mCalibracionY2 = c.mCalibracionX3 = c.mCalibracionY3 = 0;
        int32_t cuenta = ExtractStarsWithFallbacks(c);
        std::string u = std::to_string(c.mBrilloUmbral);
        ParaResumen(c, "Brillo umbral = " + u, "Intensité du seuil = " + u, "Threshold brightness = " + u);
        if (cuenta < 0) {
            c.mFinAnalisis = true;
            return;
        }
        c.mNumSeleccionadas = cuenta;
        for (size_t i = 1; i <= 10; ++i)
            c.mSeleccionadasVisu[i] = c.mSeleccionadas[i];
        std::string nc = std::to_string(c.mNumContornos), nk = std::to_string(c.mNumCandidatas);
        ParaResumen(c, "Contornos extraidos = " + nc + " Estrellas candidatas = " + nk,
                    "Contours extraits = " + nc + " Etoiles candidates = " + nk,
                    "Extracted countours = " + nc + " Candidate stars = " + nk);
        ReportSelectedStars(c);
        ReferenceAndDrift(c);
    });
}

namespace {

// Why an analysis that found nothing failed, for the automation object: a stop, the stage's error,
// or what the stage last showed in the result label.
void KeepFailureCause(Context& c) {
    if (c.gDetenerAnalisis)
        c.gCausaFallo = Pick(c, "Búsqueda interrumpida por el usuario.", "Recherche abandonnée par l'usager.",
                             "Search interrupted by the user.");
    else if (!c.gUltimoError.empty())
        c.gCausaFallo = c.gUltimoError;
    else if (!c.mTextoLabelResultado.empty() && c.mTextoLabelResultado != Pick(c, kStopEs, kStopFr, kStopEn))
        c.gCausaFallo = c.mTextoLabelResultado;
    else
        c.gCausaFallo = Pick(c, "Posición no encontrada.", "Position non trouvée.", "Position not found.");
}

}  // namespace

void DespuesDeAnalizaImagen(Context& c) {
    if (c.mFinAnalisis || c.gDetenerAnalisis) KeepFailureCause(c);
    WithTrap(c, "DespuesDeAnalizaImagen", [&] {
        if (c.mSoloRecentrado && c.mRecentradoHecho) LineaDeriva(c);
        if (c.gDetenerAnalisis) {
            LabelResul(c, "Búsqueda interrumpida por el usuario.", "Recherche abandonnée par l'usager.",
                       "Search interrupted by the user.");
            c.gDetenerAnalisis = false;
        }
        ReportEndAndElapsed(c);
        if (c.mFinAnalisis && !(c.mSoloRecentrado && c.mRecentradoHecho))
            LabelResul(c, "Posición no encontrada.", "Position non trouvée.", "Position not found.");
        if (c.mFinAnalisis) {
            GrabaTornelPos(c, 0, 0);
            GrabaTornelSta(c, kEstadoSinSolucion, 0);
        }
    });
    c.mFinAnalisis = false;
    if (c.mNumSeleccionadas == 0) {
        c.mNumAnteriores = 0;
        c.mAnteriorX.fill(0);
        c.mAnteriorY.fill(0);
    }
    if (c.gOrigenImagen == 5 || c.gOrigenImagen == 6) {
        c.timers.TimerBuzon.Enabled = true;
        c.gInicioEspera = static_cast<float>(Ahora(c));
    }
    c.gAnalizando = false;
    c.distanceRings.Clear();
    c.timers.TimerEventos.Enabled = false;
    if (c.events.AvisoTerminado) c.events.AvisoTerminado();
    c.platform.SetBusy(false);
    PoneMenus(c, true);
}

void AnalisisGeneral(Context& c) {
    AnalizaImagen(c);
    DespuesDeAnalizaImagen(c);
}

void AnalizaAmbitoVentanaElemental(Context& c) {
    c.gZonaCielo = 1;
    AnalisisGeneral(c);
}

std::string ImagenMasReciente(Context& c) {
    const std::string& folder = c.gCarpetaMensajes;
    if (!FolderExists(folder)) {
        AvisoIdioma(c, "La carpeta de imágenes " + folder + " no existe.",
                    "Le dossier des images " + folder + " n'existe pas.",
                    "The image folder " + folder + " does not exist.");
        ParaResumen(c, "Carpeta de imágenes no encontrada.", "Dossier des images non trouvé.",
                    "Image folder not found.");
        c.mFinAnalisis = true;
        return {};
    }
    std::string best;
    fs::file_time_type bestTime{};
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        if (!entry.is_regular_file(ec) || !IsImageName(entry.path().filename().string())) continue;
        auto t = entry.last_write_time(ec);
        if (ec) continue;
        if (best.empty() || t > bestTime) {
            best = entry.path().string();
            bestTime = t;
        }
    }
    return best;
}

std::string ObtieneRutaImagenDelMensaje(Context& c) {
    const std::string& folder = c.gCarpetaMensajes;
    if (!FolderExists(folder)) {
        AvisoIdioma(c, "La carpeta de imágenes " + folder + " no existe.",
                    "Le dossier des images " + folder + " n'existe pas.",
                    "The images folder " + folder + " does not exist.");
        c.mFinAnalisis = true;
        return {};
    }
    std::string txt = folder + "tornel.txt", men = folder + "tornel.men";
    bool hasTxt = FileExists(txt), hasMen = FileExists(men);
    std::string chosen;
    if (hasTxt && hasMen) {
        std::error_code ec;
        chosen = fs::last_write_time(men, ec) > fs::last_write_time(txt, ec) ? men : txt;
    } else if (hasTxt) {
        chosen = txt;
    } else if (hasMen) {
        chosen = men;
    } else {
        return {};
    }
    std::string text;
    if (!ReadWholeFile(chosen, text)) return {};
    text = Latin1ToUtf8(text);
    auto firstEnd = text.find('\n');
    std::string first = ToLower(text.substr(0, firstEnd));
    if (first.find("ruta del fichero imagen") == std::string::npos &&
        first.find("image file path") == std::string::npos)
        return {};
    if (firstEnd == std::string::npos) return {};
    std::string second = text.substr(firstEnd + 1);
    second = second.substr(0, second.find('\n'));
    if (!second.empty() && second.back() == '\r') second.pop_back();
    second = Trim(second);
    return FileExists(second) ? second : std::string{};
}

std::string ObtieneRutaDeLaImagen(Context& c) {
    std::string ruta;
    switch (c.gOrigenImagen) {
        case 0:
            ruta = c.gRutaImagen;
            break;
        case 1:
            ruta = ObtieneRutaImagenDelMensaje(c);
            if (ruta.empty())
                AvisoIdioma(c, "No hay mensaje o no existe el fichero imagen del mensaje.",
                            "Pas de message ou le fichier image du message n'existe pas.",
                            "No message or the image file of the message does not exist.");
            break;
        case 2:
            ruta = ImagenMasReciente(c);
            if (ruta.empty())
                AvisoIdioma(c, "No hay imagen en la carpeta " + c.gCarpetaMensajes,
                            "Pas d'image dans le dossier " + c.gCarpetaMensajes,
                            "No image in the image folder " + c.gCarpetaMensajes);
            break;
        default:
            break;
    }
    if (!ruta.empty()) {
        ExtraeNombreDeRuta(c, ruta);
        c.mTitulo = "TORNEL - " + ruta + " - ";
        PoneTitulo(c, c.mTitulo);
        GrabaParametros(c);
    }
    return ruta;
}

void LabelResultado_Click(Context& c) {
    if ((c.gOrigenImagen == 5 || c.gOrigenImagen == 6) && c.timers.TimerBuzon.Enabled) {
        PasaAlModoRutaImagen(c);
        return;
    }
    if (c.mTextoLabelResultado != Pick(c, kStopEs, kStopFr, kStopEn)) return;
    c.gDetenerAnalisis = true;
    PoneLabelResultado(c, Pick(c, "Interrumpido", "Interrompu", "Interrupted"));
    PoneTitulo(c, c.mTituloActual + Pick(c, "Interrumpido por el usuario.", "Interrompu par l'opérateur.",
                                         "Interrupted by user."));
}

void CommandoAnalizar_Click(Context& c) {
    if (!c.gAnalizando && !c.mRepintando) c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled = true;
}

}  // namespace tornel
