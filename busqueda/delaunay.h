#pragma once
// A small incremental Delaunay triangulation (a super-triangle and the circumcircle test) over a few
// integer points. The image road uses it to try first the well-shaped triangles that join neighbours.
// The database builder keeps its own over unlimited points in tangent-plane degrees, which rounding to
// whole units would ruin.
#include <array>
#include <cstdint>

#include "comun/context.h"

namespace tornel {

struct PuntoDelaunay {
    int32_t x = 0, y = 0;
};

// The work arrays of one triangulation, all used from 1. The caller fills Puntos(1..n) and reads
// TriangulosDelaunay; slots n+1 to n+3 of Puntos receive the super-triangle.
struct Triangulacion {
    static constexpr int32_t kMaxPuntos = 50;
    static constexpr int32_t kMaxTriangulos = 200;
    static constexpr int32_t kMaxAristas = 600;
    std::array<PuntoDelaunay, kMaxPuntos + 1> Puntos{};
    std::array<std::array<int32_t, 3>, kMaxTriangulos + 1> TriangulosDelaunay{};
    // Never set by any step, so every triangle is tested at every point; kept as the loop tests it.
    std::array<int16_t, kMaxTriangulos + 1> Completo{};
    // A free slot, first vertex, second vertex; vertices 0 mark an edge removed.
    std::array<std::array<int32_t, 3>, kMaxAristas + 1> Aristas{};
};

// What a triangulation met besides its answer.
enum DelaunayStatus : int32_t {
    kDelaunayHecho = 0,         // done
    kDelaunayCoincidentes = 1,  // three coincident points met: those triangles were left out
    kDelaunayDesborde = 2,      // more than 200 triangles, 600 edges or 47 points: subscript out of range
    kDelaunayNumerico = 3       // a circumcircle could not be computed (division by zero)
};

// Circumcircle of (x1, y1), (x2, y2), (x3, y3), pixels, into centre (xc, yc) and radius r; true when
// (xp, yp) lies on or inside it. Three points on one row give false and raise `coincidentes`; a
// circle that cannot be computed (collinear points off one row) raises `fallo` and answers false.
bool InCircle(int32_t xp, int32_t yp, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t x3, int32_t y3,
              double& xc, double& yc, double& r, bool& coincidentes, bool& fallo);

// Triangulates the points t.Puntos(1..n) into t.TriangulosDelaunay(1..numTriangulos), without the
// super-triangle's. With n below 3 nothing is done and numTriangulos is not written. Answers a
// DelaunayStatus; after kDelaunayDesborde or kDelaunayNumerico numTriangulos is not written.
int32_t TriangulaPuntos(Triangulacion& t, int32_t n, int32_t& numTriangulos);

// The program's form: the same, with the box "INCIRCUM - F - Points are coincident !!" for coincident
// points and the error report of the trap (" Construye") for an overflow. Answers false after an
// error, which ends the analysis.
bool Construye(Context& c, Triangulacion& t, int32_t n, int32_t& numTriangulos);

}  // namespace tornel
