#include "resultados/resumen.h"

#include <fstream>
#include <vector>

#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/language.h"
#include "comun/numbers.h"

namespace tornel {

void PoneTitulo(Context& c, const std::string& text) {
    c.mTituloActual = text;
    c.platform.SetTitle(text);
}

void PoneLabelResultado(Context& c, const std::string& text) {
    c.mTextoLabelResultado = text;
    c.platform.SetResultLabel(text);
}

namespace {
void AppendToSummary(Context& c, const std::string& line) {
    c.mResumen += line;
    c.mResumen += "\r\n";
    c.platform.SummaryLineAdded(line);
}
}  // namespace

void LabelResul(Context& c, Txt es, Txt fr, Txt en) {
    PoneLabelResultado(c, Pick(c, es, fr, en));
    c.platform.DoEvents();
}

void ParaResumen(Context& c, Txt es, Txt fr, Txt en) {
    AppendToSummary(c, Pick(c, es, fr, en));
    c.platform.DoEvents();
}

void AvisoResulYresumen(Context& c, Txt es, Txt fr, Txt en) {
    std::string text = Pick(c, es, fr, en);
    PoneLabelResultado(c, text);
    AppendToSummary(c, text);
}

void VisuTitulo(Context& c, Txt es, Txt fr, Txt en) {
    PoneTitulo(c, Pick(c, es, fr, en));
    c.platform.DoEvents();
}

void SummaryAndTitle(Context& c, Txt es, Txt fr, Txt en) {
    ParaResumen(c, es, fr, en);
    VisuTitulo(c, es, fr, en);
}

void AvisoIdioma(Context& c, Txt es, Txt fr, Txt en) {
    if (c.gMostrarAvisos) c.platform.MessageBox(Pick(c, es, fr, en));
}

void MensajeIdioma(Context& c, Txt es, Txt fr, Txt en) {
    c.platform.MessageBox(Pick(c, es, fr, en));
}

bool SalvaResumen(const Context& c, const std::string& ruta) {
    try {
        std::ofstream out(ruta, std::ios::binary | std::ios::trunc);
        if (!out) return false;
        out.write(c.mResumen.data(), static_cast<std::streamsize>(c.mResumen.size()));
        out.close();
        return static_cast<bool>(out);
    } catch (...) {
        return false;
    }
}

std::string NombreFicheroLog(Context& c) {
    return "tornel_" + StampUnderscored(ToLocalTime(c.platform.Now())) + ".log";
}

bool CommandoGrabarLog_Click(Context& c, const std::string& texto) {
    return WithTrap(c, "CommandoGrabarLog_Click", [&] {
        std::string ruta = c.gCarpetaMensajes + NombreFicheroLog(c);
        std::ofstream out(ruta, std::ios::binary | std::ios::trunc);
        if (!out) Raise(kErrPathNotFound);
        out.write(texto.data(), static_cast<std::streamsize>(texto.size()));
        out.close();
        if (!out) Raise(kErrPathFileAccess);
    });
}

namespace {

struct ReportBuilder {
    const Context& c;
    std::vector<std::string> lines;
    void Add(Txt es, Txt fr, Txt en) { lines.push_back(Pick(c, es, fr, en)); }
    void Add(const std::string& all) { lines.push_back(all); }
};

void ImageOriginLines(ReportBuilder& r) {
    const Context& c = r.c;
    r.Add("ORIGEN DE LA IMAGEN:", "ORIGINE DE L'IMAGE:", "IMAGE ORIGIN:");
    switch (c.gOrigenImagen) {
        case 0:
            r.Add("Modo: Ruta de la imagen", "Mode: Chemin de l'image", "Mode: Image path");
            break;
        case 1:
        case 2:
            r.Add("Modo: Imagen más reciente", "Mode: Image la plus récente", "Mode: Most recent image");
            break;
        case 3:
            r.Add("Modo: Fichero con lista de estrellas", "Mode: Fichier avec liste d'étoiles",
                  "Mode: File with stars list");
            break;
        case 4:
            r.Add("Modo: Imagen ", "Mode: Image ", "Mode: Image ");
            break;
        case 5:
            r.Add("Modo: Esperar mensaje", "Mode: Attendre un message", "Mode: Wait for message");
            break;
        case 6:
            r.Add("Modo: Esperar imagen", "Mode: Attendre une image", "Mode: Wait for image");
            break;
        case 7:
            r.Add("Modo: Esperar lista de estrellas", "Mode: Attendre une liste d'étoiles",
                  "Mode: Wait for stars list");
            break;
        default:
            break;
    }
    if (c.gMostrarAvisos)
        r.Add("Mostrar mensajes de error = Sí", "Afficher les messages d'erreur = Oui",
              "Display error messages = Yes");
    else
        r.Add("Mostrar mensajes de error = No", "Afficher les messages d'erreur = Non",
              "Display error messages = No");
}

void ExtractionLines(ReportBuilder& r) {
    const Context& c = r.c;
    r.Add("EXTRACCION:", "EXTRACTION:", "EXTRACTION:");
    switch (c.gAreaImagen) {
        case 1:
            r.Add("Analizar dentro del rectángulo", "Analyser à l'intérieur du rectangle",
                  "Analyze inside the rectangle");
            break;
        case 2:
            r.Add("Analizar fuera del rectángulo", "Analyser à l'extérieur du rectangle",
                  "Analyze outside the rectangle");
            break;
        default:
            r.Add("Analizar toda la imagen", "Analyser toute l'image", "Analyze the full image");
            break;
    }
    if (c.gImagenInvertida == 1)
        r.Add("La imagen está invertida", "L'image est inversée", "The image is reversed");
    else
        r.Add("La imagen no está invertida", "L'image n'est pas inversée", "The image is not reversed");
    if (c.gUmbralAutomatico == 1)
        r.Add("Umbral automático", "Seuil automatique", "Automatic thershold");
    else
        r.Add("Umbral manual", "Seuil manuel", "Manual threshold");
    std::string n = ShortestText(static_cast<long long>(c.gEstrellasSeleccionar));
    r.Add("Estrellas buscadas: " + n, "Etoiles cherchées: " + n, "Wanted stars: " + n);
    std::string p = ShortestText(static_cast<long long>(c.gPerimetroMax));
    r.Add("Perímetro máximo: " + p, "Périmètre maximal: " + p, "Maximal perimeter: " + p);
}

// True for the searches that keep the image angle of the parameters.
bool FixedAngleSearch(const Context& c) {
    if (c.gBaseDatos == 2 || c.gZonaCielo == 6) return false;
    if (c.gZonaCielo == 1 && (c.gTipoVentana == 1 || c.gTipoVentana == 2)) return false;
    return true;
}

void SearchZoneLine(ReportBuilder& r) {
    const Context& c = r.c;
    std::string w = ShortestText(c.gAnchoVentana), h = ShortestText(c.gAltoVentana);
    switch (c.gZonaCielo) {
        case 1:
            switch (c.gTipoVentana) {
                case 0:
                    r.Add("Búsqueda en una ventana de " + w + "x" + h + " g",
                          "Recherche dans une fenêtre de " + w + "x" + h + " d",
                          "Search in a " + w + "x" + h + "d window");
                    break;
                case 1:
                    r.Add("Búsqueda en una ventana de 2x2 g a cualquier ángulo",
                          "Recherche dans une fenêtre de 2x2 d à tout angle",
                          "Search in a 2x2 d window any angle");
                    break;
                case 2:
                    r.Add("Búsqueda en una ventana de 40x40 minutos a cualquier ángulo",
                          "Recherche dans une fenêtre de 40x40 minutes à tout angle",
                          "Search in a 40x40 minutes window any angle");
                    break;
                case 3:
                    r.Add("Búsqueda en una ventana de " + w + "x" + h + " g para ángulo de imagen doble",
                          "Recherche dans une fenêtre de " + w + "x" + h + " d pour angle d'image double",
                          "Search in a " + w + "x" + h + "d window for dual image angle");
                    break;
                default:
                    break;
            }
            break;
        case 2:
            r.Add("Búsqueda en un anillo esférico", "Recherche dans un anneau sphérique",
                  "Search in a spherical ring");
            break;
        case 3:
            r.Add("Búsqueda en todo el cielo", "Recherche dans tout le ciel", "Search the full sky");
            break;
        case 4:
            r.Add("Búsqueda en una ventana de 30x30 grados", "Recherche dans une fenêtre de 30x30 degrés",
                  "Search in a 30x30 degrees window");
            break;
        case 6:
            r.Add("Búsqueda en 30x30 grados como ayuda para calibrar",
                  "Recherche en 30x30 degrés pour aider l'étalonnage",
                  "Search in 30x30 degrees for help when calibrating");
            break;
        case 8: {
            std::string v = FormatNumber(c.gCentroBusquedaDEC, "0.000");
            r.Add("Búsqueda según el paralelo " + v, "Recherche le long du parallèle " + v,
                  "Search along the parallel " + v);
            break;
        }
        case 9: {
            std::string v = FormatNumber(c.gCentroBusquedaRA, "0.000");
            r.Add("Búsqueda según el meridiano " + v, "Recherche le long du méridien " + v,
                  "Search along the meridian " + v);
            break;
        }
        default:
            break;
    }
}

void CoordinatesLine(ReportBuilder& r) {
    switch (r.c.gOrigenCoordenadas) {
        case 0:
            r.Add("Coordenadas seleccionadas manualmente en los combos",
                  "Coordonnées choisies à la main dans les listes",
                  "Coordinates manually selected in combos");
            break;
        case 1:
            r.Add("Coordenadas de la cabecera FITS", "Coordonnées de l'entête FITS",
                  "Coordinates from FITS header");
            break;
        case 2:
            r.Add("Coordenadas de Cartes du Ciel por DDE", "Coordonnées de Cartes du Ciel par DDE",
                  "Coordinates from Cartes du Ciel by DDE");
            break;
        case 3:
            r.Add("Coordenadas recibidas por DDE", "Coordonnées reçues par DDE",
                  "Coordinates received by DDE");
            break;
        case 4:
            r.Add("Coordenadas del  mensaje", "Coordonnées du  message", "Coordinates from  message");
            break;
        case 5:
            r.Add("Coordenadas del telescopio ASCOM", "Coordonnées du télescope ASCOM",
                  "Coordinates from ASCOM telescope");
            break;
        default:
            break;
    }
}

void SearchLines(ReportBuilder& r) {
    const Context& c = r.c;
    r.Add("BUSQUEDA EN LA BASE DE DATOS:", "RECHERCHE DANS LA BASE DE DONNEES:", "DATABASE SEARCH:");
    SearchZoneLine(r);
    CoordinatesLine(r);
    std::string sides = ShortestText(static_cast<long long>(c.gLadosParaParar));
    r.Add("Parar la búsqueda con más de " + sides + " lados",
          "Arrêter la recherche à plus de " + sides + " côtés",
          "Stop searching when more than " + sides + " sides");
    std::string pct = ShortestText(static_cast<long long>(c.gPorcentajeError));
    r.Add("Buscar distancias en un margen de +/- " + pct + " %",
          "Chercher les distances dans une marge de +/- " + pct + " %",
          "Search distances within +/- " + pct + " % range");
    std::string inc = ShortestText(static_cast<long long>(c.gErrorInclinacion));
    r.Add("Margen de inclinación aceptado +/- " + inc + " grados",
          "Marge d'inclinaison acceptée +/- " + inc + " degrés",
          "Acepted inclination range +/- " + inc + " degrees");
    if (FixedAngleSearch(c)) {
        std::string a = FormatNumber(c.gAnguloImagen, "0.00");
        r.Add("Angulo de la imagen " + a + " grados", "Angle de l'image " + a + " degrés",
              "Image angle " + a + " degrees");
        std::string s = FormatNumber(c.gSegundosPorPixelX, "0.000");
        r.Add(s + " segundos de arco por pixel", s + " secondes d'arc par pixel", s + " arc sec per pixel");
    }
}

void SynchronizeLines(ReportBuilder& r) {
    const Context& c = r.c;
    r.Add("SINCRONIZAR:", "SYNCHRONISER:", "SYNCHRONIZE:");
    switch (c.gTelescopioSincro) {
        case 1:
            r.Add("Sincronizar el telescopio ASCOM", "Synchroniser le télescope ASCOM",
                  "Synchronize ASCOM scope");
            break;
        case 2:
            r.Add("Sincronizar Cartes du Ciel por DDE", "Synchroniser Cartes du Ciel par DDE",
                  "Synchronize Cartes du Ciel by DDE");
            break;
        case 3:
            r.Add("Sincronizar por DDE", "Synchroniser par DDE", "Synchronize by DDE");
            break;
        default:
            r.Add("No sincronizar", "Ne pas synchroniser", "Don't synchronize");
            break;
    }
    if (c.gSincroAutomatica == 1) {
        std::string n = ShortestText(static_cast<long long>(c.gLadosParaSincro));
        r.Add("Sincronizar automáticamente si la solución tiene más de " + n + " lados",
              "Synchroniser automatiquement si la solution a plus de " + n + " côtés",
              "Synchronize automatically when solution with more than " + n + " sides");
    }
    if (c.gSincroEquinoccioActual != 0)
        r.Add("Sincronizar con coordenadas del equinoccio actual",
              "Synchroniser avec les coordonnées de l'équinoxe actuel",
              "Synchronize with current equinox coordinates");
    else
        r.Add("Sincronizar con coordenadas del equinoccio 2000",
              "Synchroniser avec les coordonnées de l'équinoxe 2000",
              "Synchronize with equinox 2000 coordinates");
    if (c.gWCSAutomatico == 1) {
        std::string n = ShortestText(static_cast<long long>(c.gLadosParaWCS));
        r.Add("Añadir automáticamente WCS si solución con más de " + n + " lados",
              "Ajouter automatiquement le WCS si solution avec plus de " + n + " côtés",
              "Add WCS automatically when solution with more than " + n + " sides");
    }
}

}  // namespace

std::string InformeConfiguracion(const Context& c) {
    ReportBuilder r{c, {}};
    r.Add("CONFIGURACION ACTUAL", "CONFIGURATION", "CONFIGURATION");
    ImageOriginLines(r);
    ExtractionLines(r);
    SearchLines(r);
    SynchronizeLines(r);
    std::string out;
    for (const auto& line : r.lines)
        out += line + "\n";
    return out;
}

}  // namespace tornel
