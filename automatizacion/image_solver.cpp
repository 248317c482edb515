#include "automatizacion/image_solver.h"

#include <algorithm>
#include <initializer_list>

#include "astrometria/angle_calibration.h"
#include "automatizacion/mensajes.h"
#include "catalogo/database_choice.h"
#include "comun/build_info.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "core/analisis.h"
#include "core/parametros.h"

namespace tornel {

void LanzaErrorImageSolver(int32_t numero, const std::string& texto) {
    throw SolverFault{numero, " Error " + std::to_string(numero) + ": " + texto};
}

namespace {

[[noreturn]] void OutOfRange(std::string_view name) {
    LanzaErrorImageSolver(101, std::string(name) + ": value out of range");
}

void NotWhileAnalyzing(const Context& c, std::string_view what) {
    if (c.gAnalizando) LanzaErrorImageSolver(102, std::string(what) + ": can't be done while analyzing");
}

void NotReadWhileAnalyzing(const Context& c, std::string_view name) {
    if (c.gAnalizando) LanzaErrorImageSolver(105, std::string(name) + ": can't be read while analyzing");
}

// Limits are inclusive; a NaN is out of every range.
int32_t LongIn(const SolverValue& v, int32_t lo, int32_t hi, std::string_view name) {
    int32_t x = std::get<int32_t>(v);
    if (x < lo || x > hi) OutOfRange(name);
    return x;
}

double DoubleIn(const SolverValue& v, double lo, double hi, std::string_view name) {
    double x = std::get<double>(v);
    if (!(x >= lo && x <= hi)) OutOfRange(name);
    return x;
}

bool Flag(const SolverValue& v) {
    return std::get<bool>(v);
}

bool SolvedAsAsked(const Context& c) {
    return c.gHaySolucion && c.gLadosSolucion >= c.gLadosParaParar;
}

SolverValue ReadSides(Context& c) {
    NotReadWhileAnalyzing(c, "Sides");
    return c.gHaySolucion ? c.gLadosSolucion : 0;
}

SolverValue ReadSolved(Context& c) {
    NotReadWhileAnalyzing(c, "Solved");
    return SolvedAsAsked(c);
}

SolverValue ReadRightAscension(Context& c) {
    NotReadWhileAnalyzing(c, "RightAscension");
    if (!SolvedAsAsked(c)) LanzaErrorImageSolver(103, "RightAscension: Not available. Image not solved");
    return c.gARJ2000 / 15;
}

SolverValue ReadDeclination(Context& c) {
    NotReadWhileAnalyzing(c, "Declination");
    if (!SolvedAsAsked(c)) LanzaErrorImageSolver(103, "Declination: Not available. Image not solved");
    return c.gDEJ2000;
}

void WriteDataBaseNumber(Context& c, const SolverValue& v) {
    int32_t base = std::get<int32_t>(v);
    if (base != 1 && base != 2) base = 1;
    if (base == c.gBaseDatos) return;
    c.gBaseDatosPedida = base;
    c.gBasesOK = CambioBaseDatos(c, c.gBaseDatos, base);
    c.platform.ApplyParameters();
}

void WriteImagePath(Context& c, const SolverValue& v) {
    const std::string& ruta = std::get<std::string>(v);
    if (ruta.size() < 2) LanzaErrorImageSolver(107, "ImagePath: invalid image path");
    NotWhileAnalyzing(c, "ImagePath");
    ExtraeNombreDeRuta(c, ruta);
    // A client that names an image wants the file read, even one rewritten under the same name.
    c.gImagenCargada = false;
}

void WriteScale(Context& c, const SolverValue& v, bool (*apply)(Context&, double), std::string_view name) {
    if (!apply(c, std::get<double>(v))) OutOfRange(name);
}

void WriteSkyZone(Context& c, const SolverValue& v) {
    int32_t zone = std::get<int32_t>(v);
    auto zones = {1, 2, 3, 4, 8, 9};
    if (std::find(zones.begin(), zones.end(), zone) == zones.end()) OutOfRange("SkyZone");
    c.gZonaCielo = zone;
}

void WriteEstimatedRA(Context& c, const SolverValue& v) {
    c.gCentroBusquedaRA = DoubleIn(v, 0, 24, "EstimatedRA") * 15;
    c.gCoordenadasScript = true;
}

void WriteEstimatedDEC(Context& c, const SolverValue& v) {
    c.gCentroBusquedaDEC = DoubleIn(v, -90, 90, "estimatedDEC");
    c.gCoordenadasScript = true;
}

std::string CompilationDate(const Context& c) {
    return Pick(c, c.gFechaCompilacion[0], c.gFechaCompilacion[1], c.gFechaCompilacion[2]);
}

using L = SolverType;
#define TORNEL_GET(expr) [](Context& c) -> SolverValue { return expr; }
#define TORNEL_SET(stmt) [](Context& c, const SolverValue& v) { stmt; }

const SolverProperty kProperties[] = {
    {"Connections", L::Long, TORNEL_GET(c.gConexiones), nullptr},
    {"Busy", L::Boolean, TORNEL_GET(c.gAnalizando), nullptr},
    {"RemainingTime", L::Long, TORNEL_GET(((void)c, 0)), nullptr},
    {"FailureCause", L::Text, TORNEL_GET(c.gCausaFallo), nullptr},
    {"DataBaseNumber", L::Long, TORNEL_GET(c.gBaseDatos), WriteDataBaseNumber},
    {"CompilationDate", L::Text, TORNEL_GET(CompilationDate(c)), nullptr},
    {"Version", L::Text, TORNEL_GET(((void)c, SolverVersion())), nullptr},
    {"VersionInformation", L::Text, TORNEL_GET(SolverVersionInformation(c)), nullptr},
    {"Description", L::Text, TORNEL_GET(((void)c, SolverDescription())), nullptr},
    {"ShowMsgBoxes", L::Boolean, TORNEL_GET(c.gMostrarAvisos), TORNEL_SET(c.gMostrarAvisos = Flag(v))},
    {"StopSearchingWhenSides", L::Long, TORNEL_GET(c.gLadosParaParar),
     TORNEL_SET(c.gLadosParaParar = LongIn(v, 10, 45, "StopSearchingWhenSides"))},
    {"ImagePath", L::Text, TORNEL_GET(c.gRutaImagen), WriteImagePath},
    {"ArcSecPerPixel", L::Double, TORNEL_GET(c.gSegundosPorPixelX),
     TORNEL_SET(WriteScale(c, v, ApplyArcSecPerPixel, "ArcSecPerPixel"))},
    {"ArcSecPerPixelX", L::Double, TORNEL_GET(c.gSegundosPorPixelX),
     TORNEL_SET(WriteScale(c, v, ApplyArcSecPerPixelX, "ArcSecPerPixelX"))},
    {"ArcSecPerPixelY", L::Double, TORNEL_GET(c.gSegundosPorPixelY),
     TORNEL_SET(WriteScale(c, v, ApplyArcSecPerPixelY, "ArcSecPerPixelY"))},
    {"FocalInPixels", L::Long, TORNEL_GET(c.gFocalEnPixeles),
     TORNEL_SET(ApplyFocalInPixels(c, LongIn(v, 125, 1250000, "FocalInPixels")))},
    {"ReversedImage", L::Boolean, TORNEL_GET(c.gImagenInvertida != 0),
     TORNEL_SET(c.gImagenInvertida = Flag(v) ? 1 : 0)},
    {"ImageAngle", L::Double, TORNEL_GET(c.gAnguloImagen),
     TORNEL_SET(c.gAnguloImagen = DoubleIn(v, -360, 360, "ImageAngle"))},
    {"ImageArea", L::Long, TORNEL_GET(c.gAreaImagen),
     TORNEL_SET(c.gAreaImagen = LongIn(v, 0, 2, "ImageArea"))},
    {"ImageXmin", L::Long, TORNEL_GET(c.gXMin), TORNEL_SET(c.gXMin = LongIn(v, 0, 100000, "ImageXmin"))},
    {"ImageXmax", L::Long, TORNEL_GET(c.gXMax), TORNEL_SET(c.gXMax = LongIn(v, 0, 100000, "ImageXmax"))},
    {"ImageYmin", L::Long, TORNEL_GET(c.gYMin), TORNEL_SET(c.gYMin = LongIn(v, 0, 100000, "ImageYmin"))},
    {"ImageYmax", L::Long, TORNEL_GET(c.gYMax), TORNEL_SET(c.gYMax = LongIn(v, 0, 100000, "ImageYmax"))},
    {"AutomaticThreshold", L::Boolean, TORNEL_GET(c.gUmbralAutomatico != 0), TORNEL_SET({
         c.gUmbralAutomatico = Flag(v) ? 1 : 0;
         c.platform.ApplyParameters();
     })},
    {"ScanThreshold", L::Double, TORNEL_GET(c.gUmbral),
     TORNEL_SET(c.gUmbral = DoubleIn(v, 0, 1, "ScanThreshold"))},
    {"EstimatedCoordinatesFrom", L::Long, TORNEL_GET(c.gOrigenCoordenadas), TORNEL_SET({
         c.gOrigenCoordenadas = static_cast<int16_t>(LongIn(v, 0, 5, "EstimatedCoordinatesFrom"));
         c.gCoordenadasScript = false;
     })},
    {"SkyZone", L::Long, TORNEL_GET(c.gZonaCielo), WriteSkyZone},
    {"SkyWindowType", L::Long, TORNEL_GET(c.gTipoVentana),
     TORNEL_SET(c.gTipoVentana = LongIn(v, 0, 3, "SkyWindowType"))},
    {"SkyRingFromDec", L::Double, TORNEL_GET(static_cast<double>(c.gAnilloDesde)),
     TORNEL_SET(c.gAnilloDesde =
                    static_cast<int16_t>(RoundHalfEven(DoubleIn(v, -90, 89, "SkyRingFromDec"))))},
    {"SkyRingToDec", L::Double, TORNEL_GET(static_cast<double>(c.gAnilloHasta)),
     TORNEL_SET(c.gAnilloHasta = static_cast<int16_t>(RoundHalfEven(DoubleIn(v, -89, 90, "SkyRingToDec"))))},
    {"EstimatedRA", L::Double, TORNEL_GET(c.gCentroBusquedaRA / 15), WriteEstimatedRA},
    {"EstimatedDEC", L::Double, TORNEL_GET(c.gCentroBusquedaDEC), WriteEstimatedDEC},
    {"VisibleSkyOnly", L::Boolean, TORNEL_GET(c.gSoloCieloVisible),
     TORNEL_SET(c.gSoloCieloVisible = Flag(v))},
    {"Sides", L::Long, ReadSides, nullptr},
    {"Solved", L::Boolean, ReadSolved, nullptr},
    {"RightAscension", L::Double, ReadRightAscension, nullptr},
    {"Declination", L::Double, ReadDeclination, nullptr},
    {"ImageOrientation", L::Double, TORNEL_GET(c.gAnguloImagen), nullptr},
};

#undef TORNEL_GET
#undef TORNEL_SET

// Steps shared by Analyze and LaunchAnalysis: the refusals, then the zone's way in.
enum class AnalysisWay { None, General, ElementalWindow };

AnalysisWay ChooseAnalysis(const Context& c, std::string_view member) {
    std::string name(member);
    if (c.gAnalizando) LanzaErrorImageSolver(102, name + "(): can't be done while analyzing");
    if (c.gZonaCielo == 1) return AnalysisWay::ElementalWindow;
    if (c.gTipoVentana != 0)
        LanzaErrorImageSolver(108,
                              name + "(): can't be done. SkyZone and SkyWindowType, incompatible values");
    for (int zone : {2, 3, 4, 8, 9})
        if (c.gZonaCielo == zone) return AnalysisWay::General;
    return AnalysisWay::None;
}

}  // namespace

std::span<const SolverProperty> SolverProperties() {
    return kProperties;
}

const SolverProperty* FindSolverProperty(std::string_view name) {
    for (const auto& p : kProperties)
        if (name == p.name) return &p;
    return nullptr;
}

SolverValue ReadSolverProperty(Context& c, const SolverProperty& p) {
    return p.get(c);
}

void WriteSolverProperty(Context& c, const SolverProperty& p, const SolverValue& v) {
    // The path's own test comes before the busy test.
    if (std::string_view(p.name) != "ImagePath") NotWhileAnalyzing(c, p.name);
    p.set(c, v);
}

void StopAnalyzing(Context& c) {
    if (!c.gAnalizando) LanzaErrorImageSolver(106, "StopAnalyzing(): can't be done. No analysis in progress");
    c.gDetenerAnalisis = true;
}

void Analyze(Context& c) {
    switch (ChooseAnalysis(c, "Analyze")) {
        case AnalysisWay::General:
            AnalisisGeneral(c);
            break;
        case AnalysisWay::ElementalWindow:
            AnalizaAmbitoVentanaElemental(c);
            break;
        case AnalysisWay::None:
            break;
    }
}

void LaunchAnalysis(Context& c) {
    switch (ChooseAnalysis(c, "LaunchAnalysis")) {
        case AnalysisWay::General:
            c.timers.TimerAnalizaEnZonaGeneral.Enabled = true;
            break;
        case AnalysisWay::ElementalWindow:
            c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled = true;
            break;
        case AnalysisWay::None:
            break;
    }
}

void FineAdjustAngle(Context& c) {
    if (c.gAnalizando) LanzaErrorImageSolver(102, "FineAdjustAngle(): can't be done while analyzing.");
    if (!c.gHaySolucion)
        LanzaErrorImageSolver(103, "FineAdjustAngle(): The image is not solved, can't be done.");
    double angulo = 0;
    int32_t codigo = 1;
    CalculaNorteCamara(c, angulo, codigo);
    if (codigo != 0)
        LanzaErrorImageSolver(104, "FineAdjustAngle(): Impossible to Auto-calibrate the image angle.");
    c.gAnguloImagen = angulo;
    GrabaParametros(c);
}

void SetupDialog(Context& c) {
    NotWhileAnalyzing(c, "SetupDialog()");
    if (!c.gIniciadoPorUsuario) c.platform.ShowParametersDialog();
}

void SolverClientArrived(Context& c) {
    ++c.gConexiones;
}

bool SolverClientLeft(Context& c) {
    --c.gConexiones;
    return c.gConexiones < 1 && !c.gIniciadoPorUsuario;
}

std::string SolverVersion() {
    std::string v = TORNEL_VERSION_TEXT;
    std::replace(v.begin(), v.end(), '.', '-');
    return v;
}

std::string SolverVersionInformation(const Context& c) {
    return SolverVersion() + "\r\n" + CompilationDate(c) + "\r\n" + c.gVersionDLL + "\r\n";
}

std::string SolverDescription() {
    return "Tornel is a free astronomical-images solver for telescope pointing.\r\nBy the Tornel developers.";
}

}  // namespace tornel
