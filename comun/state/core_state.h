#pragma once
// State of start-up, of the databases in force and of the analysis run.
#include <array>
#include <cstdint>
#include <string>

namespace tornel {

// A timer of the main window. The engine only keeps whether it is enabled and its period; the
// front end calls the handler when it is due.
struct Timer {
    bool Enabled = false;
    int Interval = 1000;  // milliseconds
};

struct Timers {
    Timer TimerBuzon{false, 1000};
    Timer TimerEventos{false, 1000};
    Timer TimerAnalizaYsale{false, 0};  // one-shot: starts the work from the loop at once
    Timer TimerVarios{false, 200};
    Timer TimerEnRutaImagen{false, 200};
    Timer TimerCambioParametros{false, 200};
    Timer TimerExtraer{false, 100};
    Timer TimerEsperaTriangle{false, 100};
    Timer TimerAnalizaEnZonaGeneral{false, 100};
    Timer TimerAnalizaAmbitoVentanaElemental{false, 100};
    Timer TimerAnalizaAmbitoZonaEsferica{false, 100};
    Timer TimerAnalizaAmbito30x30gSinRotacion{false, 100};
    Timer TimerAnalizaAmbito30x30gConRotacion{false, 100};
    Timer TimerLineService{false, 200};  // serves the clients of the line service
};

// Kinds of database file in the presence table.
enum DatabaseFileKind : int {
    kStarsFile = 1,
    kObjectsFile = 2,
    kDistancesFile = 3,
    kPole000 = 4,
    kPole179 = 5
};

struct CoreState {
    // A stage below the run changed a parameter (the image angle) that the run must save.
    bool parametersChanged = false;
    // The parameters in memory hold choices of one command (tornel-cli solve): nothing writes them.
    bool parametersForThisRunOnly = false;
    // Start-up.
    std::string gCarpetaPrograma;  // program folder, ends in "/"
    // Started by a user, not by an automation client (the automation object's gIniciadoSolo).
    bool gIniciadoPorUsuario = true;
    bool gDecimalConComa = false;
    double gPi = 3.1415927;
    double gGradosARadianes = 3.1415927 / 180.0;
    double gRadPorMinuto = 3.1415927 / 10800.0;
    double gRadianesAGrados = 180.0 / 3.1415927;
    std::array<std::string, 3> gFechaCompilacion;  // Spanish, French, English
    std::string gVersionDLL;
    bool gMensajesDepuracion = false;
    bool gMostrarTiempos = false;  // the time a search took goes to the caption

    // Databases: presence table by (database 1..2, kind 1..5); element 0 of each axis unused.
    std::array<std::array<int16_t, 6>, 3> gFicherosBD{};
    int32_t gBaseDatosPedida = 0;
    int32_t gBaseDatos = 0;
    int32_t gNumEstrellasBD = 0;

    // Settings that belong to the database in force.
    std::string gPrefijoDistancias;
    std::string gFicheroEstrellas;
    std::string gFicheroTriangulos;
    int32_t mLongitudRegistroEstrellas = 12;  // record length of the star file
    bool gIdsFormatoGSC = true;
    bool gIdsSonPosiciones = false;
    double gLadoMaximoGrados = 0.5;
    double gSeparacionMinima = 0.00667;
    double gSemiVentanaTriangulo = 0.00416;
    int32_t gMaxSegmentos = 15000;
    int32_t gMaxCandidatos = 15000;
    double gDistanciaCercaCentro = 10.0;
    double gDistanciaLejosCentro = 30.0;

    // Flags of the run.
    bool gAnalizando = false;
    bool mFinAnalisis = false;
    bool gDetenerAnalisis = false;
    bool gImagenCargada = false;
    bool mSoloExtraer = false;
    bool mSoloRecentrado = false;
    bool mRecentradoHecho = false;
    bool mRepintando = false;
    bool gBasesOK = false;

    // Other values of the run.
    double gInicioAnalisis = 0;     // seconds since midnight
    double mInicioTratamiento = 0;  // seconds since midnight
    float gInicioEspera = 0;        // seconds since midnight
    std::string gUltimoError;
    int32_t gPixelesX = 0, gPixelesY = 0;
    double gAnchoImagen = 0, gAltoImagen = 0;
    double gAnchoAnterior = 0, gAltoAnterior = 0;
    int32_t gBrilloMaximo = 0;
    int32_t mBrilloUmbral = 0, mBrilloFondo = 0;
    double gCentroBusquedaRA = 0, gCentroBusquedaDEC = 0;
    double gCentroFitRA = -1, gCentroFitDEC90 = -1;
    double gCentroMensajeRA = 0, gCentroMensajeDEC = 0;
    double gCentroComandoRA = -100, gCentroComandoDEC = 0;
    bool gCoordenadasScript = false;
    bool gAnalizaYsale = false;
    double mCentroDDERA = 0, mCentroDDEDEC = 0;

    // Image area and the analysis rectangle, image pixels from 1.
    int32_t gAreaImagen = 0;
    int32_t gZonaCielo = 1;
    int32_t gXMin = 0, gXMax = 0, gYMin = 0, gYMax = 0;
    // Rectangle drawn by the user and rectangle given by a message (two corners each).
    int32_t mRectanguloX1 = 0, mRectanguloY1 = 0, mRectanguloX2 = 0, mRectanguloY2 = 0;
    int32_t mMensajeX1 = 0, mMensajeY1 = 0, mMensajeX2 = 0, mMensajeY2 = 0;
    std::string mTextoRectangulo;    // "xMin= ..." kept for the summary
    bool mRectanguloActivo = false;  // the user's rectangle option is on

    Timers timers;
    // The program has been asked to end (analyse-and-exit done, exit command): the front end closes.
    bool mProgramaTerminado = false;
    // The exit command: the front end ends at once, without the closing steps (nothing saved).
    bool endWithoutClosing = false;
};

}  // namespace tornel
