#include "core/startup.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include "astrometria/sky_maths.h"
#include "automatizacion/buzon.h"
#include "catalogo/database_check.h"
#include "catalogo/triangle_database.h"
#include "comun/build_info.h"
#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "core/parametros.h"
#include "imagen/pixel/tornel_pixel.h"
#include "resultados/resumen.h"
#include "resultados/status_files.h"
#include "telescopio/telescopio.h"

namespace tornel {

namespace fs = std::filesystem;

std::string CarpetaDelPrograma() {
    std::string folder;
    if (const char* home = std::getenv("TORNEL_HOME"); home && *home) {
        folder = home;
    } else if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg) {
        folder = std::string(xdg) + "/tornel";
    } else if (const char* user = std::getenv("HOME"); user && *user) {
        folder = std::string(user) + "/.local/share/tornel";
    } else {
        return {};
    }
    // The default mailbox folder comes into being with the program folder.
    std::error_code ec;
    fs::create_directories(folder + "/messages", ec);
    if (!FolderExists(folder)) return {};
    if (folder.back() != '/') folder += '/';
    return folder;
}

InstanceLock::~InstanceLock() {
    if (fd_ >= 0) ::close(fd_);
}

bool InstanceLock::Acquire(const std::string& carpetaPrograma) {
    std::string path = carpetaPrograma + "tornel.lock";
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ < 0) return false;
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd_);
        fd_ = -1;
        return false;
    }
    return true;
}

namespace {

const char* const kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                               "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};

void SetBuildDates(Context& c) {
    int month = std::atoi(TORNEL_BUILD_MONTH);
    std::string mon = kMonths[(month + 11) % 12];
    std::string day = TORNEL_BUILD_DAY, year = TORNEL_BUILD_YEAR;
    c.gFechaCompilacion[0] = day + "-" + mon + "-" + year;
    c.gFechaCompilacion[1] = day + "-" + mon + "-" + year;
    c.gFechaCompilacion[2] = mon + "-" + day + "-" + year;
}

// Left-overs of a run that died while converting pictures.
void DeleteLeftOvers(const std::string& folder) {
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        std::string name = entry.path().filename().string();
        auto endsWith = [&](const std::string& tail) {
            return name.size() >= tail.size() &&
                   name.compare(name.size() - tail.size(), tail.size(), tail) == 0;
        };
        if (entry.is_regular_file(ec) && (endsWith("_jpg2bmp.kkk") || endsWith("_bmpINV.kkk")))
            fs::remove(entry.path(), ec);
    }
}

void FolderWarning(Context& c, const std::string& folder, const char* es, const char* fr, const char* en) {
    AvisoIdioma(c, es + folder + " no existe. Actualice la opción 'Parámetros'.",
                fr + folder + " n'existe pas. Mettez à jour l'option 'Paramètres'.",
                en + folder + " does not exist. Update the 'Parameters' option.");
}

// The value of a numeric text, or nothing when it is no number or too large for a double.
std::optional<double> FiniteNumber(const std::string& text) {
    if (!IsNumeric(text)) return std::nullopt;
    try {
        return TextToDouble(text);
    } catch (const NumberedError&) {
        return std::nullopt;
    }
}

// A number written on the command line that no double holds ("1e400") is refused out loud: an
// angle of it would make every computation of the run meaningless.
void NotFiniteOnCommandLine(Context& c, const std::string& item, const char* es, const char* fr,
                            const char* en) {
    MensajeIdioma(c, es + item + " de la línea de comandos no es un número finito; se ignora.",
                  fr + item + " de la ligne de commande n'est pas un nombre fini; elle est ignorée.",
                  en + item + " of the command line is not a finite number; it is ignored.");
}

}  // namespace

void InicializaVariables(Context& c) {
    SetBuildDates(c);
    // The program runs in the C locale: its decimal separator is the point.
    const std::lconv* lc = std::localeconv();
    c.gDecimalConComa = lc && lc->decimal_point && std::string(lc->decimal_point) != ".";
    c.gPi = 3.1415927;
    c.gGradosARadianes = c.gPi / 180.0;
    c.gRadPorMinuto = c.gPi / 10800.0;
    c.gRadianesAGrados = 180.0 / c.gPi;
    c.gCoordenadasScript = false;
    c.gMensajesDepuracion = false;
    c.gAreaImagen = 0;
    c.gCentroBusquedaRA = c.gCentroCombosRA;
    c.gCentroBusquedaDEC = c.gCentroCombosDEC;
    c.mSoloRecentrado = false;
    c.gAnalizando = false;
    c.mFinAnalisis = false;
    c.gDetenerAnalisis = false;
    c.gHaySolucion = false;
    c.matchedStars.clear();
    c.gImagenCargada = false;
    c.gZonaCielo = 1;
    double now = std::chrono::duration<double>(c.platform.Now().time_since_epoch()).count();
    c.gUltimaFechaBuzon = now;
    c.mFechaUltimoMensaje = now;
    c.mFechaUltimaImagen = now;
}

void CompruebaDLL(Context& c) {
    int32_t answer = version();
    if (answer != 150906)
        AvisoIdioma(c, "Aviso: La versión de tornel.dll no es la correcta.",
                    "Attention: la version de tornel.dll n'est pas correcte.",
                    "Warning: not a correct tornel.dll version.");
    std::string digits = "000" + std::to_string(answer);
    digits = digits.substr(digits.size() - 6);
    c.gVersionDLL = digits.substr(0, 2) + "/" + digits.substr(2, 2) + "/" + digits.substr(4, 2);
}

bool CompruebaCarpetas(Context& c) {
    bool ok = true;
    if (!FolderExists(c.gCarpetaMensajes)) {
        FolderWarning(c, c.gCarpetaMensajes, "Aviso: La carpeta ", "Attention: Le dossier ",
                      "Warning: The folder ");
        ok = false;
    }
    if (!FolderExists(c.gCarpetaEstrellas)) {
        FolderWarning(c, c.gCarpetaEstrellas, "Aviso: La carpeta de estrellas ",
                      "Attention: Le dossier des étoiles ", "Warning: The Stars folder ");
        ok = false;
    }
    if (!FolderExists(c.gCarpetaDistancias)) {
        FolderWarning(c, c.gCarpetaDistancias, "Aviso: La carpeta de distancias ",
                      "Attention: Le dossier des distances ", "Warning: The distances folder ");
        ok = false;
    }
    return ok;
}

void DespuesDeCargaParametros(Context& c) {
    c.gImagenCargada = false;
    CompruebaDLL(c);
    if (CompruebaCarpetas(c)) {
        CompruebaFicherosBDs(c);
        AvisosBD(c, c.gBaseDatosPedida);
        RefuseDamagedDatabaseFiles(c);
    }
    bool ok = false;
    try {
        ok = CambioBaseDatos(c, c.gBaseDatos, c.gBaseDatosPedida);
    } catch (...) {
        if (c.gMostrarAvisos) c.platform.MessageBox(ErrorReport(CurrentAsNumbered(), "CambioBaseDatos"));
    }
    c.gBasesOK = ok;
    ActualizaMenusSegunModo(c);
    c.platform.ApplyParameters();
}

std::optional<int16_t> CommandLineMode(const std::string& item) {
    std::optional<double> mode = FiniteNumber(item);
    if (!mode) return std::nullopt;
    double rounded = RoundHalfEven(*mode);
    if (!(rounded >= 0 && rounded <= 8)) return std::nullopt;
    return static_cast<int16_t>(rounded);
}

void ExtraeLineaComandos(Context& c, const std::string& linea) {
    std::string text = Trim(linea);
    if (text.empty()) return;
    std::vector<std::string> items;
    std::string::size_type start = 0;
    while (true) {
        auto blank = text.find(' ', start);
        items.push_back(text.substr(start, blank == std::string::npos ? std::string::npos : blank - start));
        if (blank == std::string::npos) break;
        start = blank + 1;
    }
    std::optional<int16_t> mode = CommandLineMode(items[0]);
    if (!mode) return;
    if (*mode <= 7) {
        c.gOrigenImagen = *mode;
        return;
    }
    // Mode 8 alone analyses the image of the parameters and ends.
    c.gAnalizaYsale = true;
    if (items.size() < 2) return;
    ExtraeNombreDeRuta(c, items[1]);
    if (items.size() < 3 || !IsNumeric(items[2])) return;
    std::optional<double> ra = FiniteNumber(items[2]);
    if (!ra) {
        NotFiniteOnCommandLine(c, items[2], "La ascensión recta ", "L'ascension droite ",
                               "The right ascension ");
        return;
    }
    c.gCentroComandoRA = GradosEntre0y360(*ra);
    if (items.size() < 4 || !IsNumeric(items[3])) return;
    std::optional<double> dec = FiniteNumber(items[3]);
    if (!dec) {
        NotFiniteOnCommandLine(c, items[3], "La declinación ", "La déclinaison ", "The declination ");
        return;
    }
    c.gCentroComandoDEC = *dec;
}

void Form_Load(Context& c, const std::string& lineaComandos,
               const std::function<void(Context&)>& afterParameters) {
    try {
        DeleteLeftOvers(c.gCarpetaPrograma);
        InicializaVariables(c);
        CargaTelescopios(c);
        ParametrosPorDefecto(c);
        std::string ruta = RutaParametros(c);
        if (FileExists(ruta))
            CargaParametros(c, ruta);
        else
            c.platform.MessageBox("The parameters file " + ruta +
                                  " does not exist. Verify the values of the parameters.");
        if (afterParameters) afterParameters(c);
        c.platform.ApplyLanguage();
        CompruebaDLL(c);
        if (CompruebaCarpetas(c)) {
            CompruebaFicherosBDs(c);
            AvisosBD(c, c.gBaseDatosPedida);
            RefuseDamagedDatabaseFiles(c);
        }
        c.gBasesOK = CambioBaseDatos(c, 0, c.gBaseDatosPedida);
        // A missing region index is rebuilt from est.bin once the start-up is over.
        if (c.gFicherosBD[1][kStarsFile] == 1 && !DatabaseFileExists(c.gCarpetaEstrellas, "region.bin"))
            c.timers.TimerVarios.Enabled = true;
        c.platform.ApplyParameters();
        GrabaTornelSta(c, kEstadoEsperando, 0);
        int16_t origen = c.gOrigenImagen;
        ExtraeLineaComandos(c, lineaComandos);
        // A mode given on the command line is told at once; modes 5 and 6 start the mailbox.
        if (c.gOrigenImagen != origen) GrabaTornelSta(c, kEstadoEsperando, 0);
        c.gInicioEspera = static_cast<float>(SecondsSinceMidnight(c.platform.Now()));
        ActualizaMenusSegunModo(c);
        if (c.gAnalizaYsale) c.timers.TimerAnalizaYsale.Enabled = true;
    } catch (...) {
        NumberedError e = CurrentAsNumbered();
        c.platform.MessageBox("Err.Number: " + std::to_string(e.number()) + " FormPrincipalLoad");
    }
}

void Form_Unload(Context& c) {
    c.gCanalEstrellas->Close();
    LiberaMemoriaBaseDatos(c);
    GrabaParametros(c);
}

void PoneMenus(Context& c, bool habilitados) {
    c.platform.LockMenus(!habilitados);
}

}  // namespace tornel
