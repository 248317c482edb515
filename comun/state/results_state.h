#pragma once
// State of what leaves the program: the solution, the summary and the window caption.
#include <cstdint>
#include <string>
#include <vector>

namespace tornel {

// How the rest of the field confirmed a candidate's plate.
struct Verification {
    int32_t matched = 0;     // catalogue stars with an image star within `radius`
    int32_t tested = 0;      // catalogue stars inside the analysed part of the image
    double expected = 0;     // matches that chance alone would give, on average
    double log10Odds = 0;    // -log10 of the chance of `matched` or more
    double radius = 0;       // pixels
    int32_t imageStars = 0;  // image stars that took part
    bool accepted = false;
};

// An image star of the solution and the catalogue star it matched: x, y in the engine's square pixels
// (the frame of PlateStar), ra, dec in degrees J2000.
struct MatchedStar {
    double x = 0, y = 0;
    double ra = 0, dec = 0;
};

// Which road gave the solution on show, so that its drawing can be made again from its own data.
enum class SolutionRoad : uint8_t { None, Distances, Triangles, Patterns };

struct ResultsState {
    // The solution of the last analysis.
    bool gHaySolucion = false;
    int32_t gLadosSolucion = 0;
    double gARJ2000 = 0, gDEJ2000 = 0;
    double gARActual = 0, gDEActual = 0;
    double mAnguloSolucion = 0;
    bool gSolucionOK = false;                  // the last solution may calibrate and synchronise
    double gRAsolucion = 0, gDECsolucion = 0;  // J2000 centre of the last solution, degrees
    double measuredScale = 0;                  // of the last solution's plate, arcsec per pixel
    Verification lastVerification;             // of the last solution announced
    std::vector<MatchedStar> matchedStars;  // the solution's image stars and the catalogue stars they matched
    SolutionRoad presentedRoad = SolutionRoad::None;  // of the solution on show; None after a new image

    // The search summary (lines end in CR LF), the caption in force and the developers' hook.
    std::string mResumen;
    std::string mTitulo = "TORNEL";
    std::string mDebugTexto;
    std::string mTextoLabelResultado;  // what the result label shows now
    std::string mTituloActual;         // what the caption shows now
};

}  // namespace tornel
