#include "resultados/status_files.h"

#include <cmath>
#include <string>
#include <vector>

#include "comun/clock.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "comun/text_encoding.h"

namespace tornel {

namespace {

std::string Now(Context& c) {
    return StampSpaced(ToLocalTime(c.platform.Now()));
}

std::string PlusWhenNotNegative(double v) {
    return v >= 0 ? "+" : "";
}

// Right ascension, degrees, as hours and minutes "05h35.3m". No wrap at 24 hours.
std::string HoursAndMinutes(double ar) {
    double h = IntFloor(ar / 15);
    double m = (ar - 15 * h) * 4;
    if (m >= 59.95) {
        h += 1;
        m = 0;
    }
    return FormatNumber(h, "00") + "h" + FormatNumber(m, "00.0") + "m";
}

// Declination, degrees, as signed degrees and truncated arcminutes "-05°23'".
std::string DegreesAndMinutes(double de) {
    double a = std::fabs(de);
    double g = IntFloor(a);
    double mi = IntFloor((a - g) * 60);
    if (mi >= 59.5) {
        g += 1;
        mi = 0;
    }
    return std::string(de >= 0 ? "+" : "-") + FormatNumber(g, "00") + "°" + FormatNumber(mi, "00") + "'";
}

enum class Lang { Spanish, English };

// One position line of a solution; `tail` is " J2000  coor" or " actual coor".
std::string SolutionLine(Context& c, Lang lang, int32_t lados, double ar, double de, const char* tail) {
    std::string sides = FormatNumber(lados, "000");
    if (lang == Lang::Spanish)
        return sides + " lados AR= " + FormatNumber(ar, "000.000") + " DE= " + PlusWhenNotNegative(de) +
               FormatNumber(de, "00.000") + " AR= " + HoursAndMinutes(ar) + " DE= " + DegreesAndMinutes(de) +
               " " + Now(c) + tail;
    return sides + " sides RA= " + FormatNumber(ar, "000.0000") + " DE=" + PlusWhenNotNegative(de) +
           FormatNumber(de, "00.0000") + " RA=" + HoursAndMinutes(ar) + " DE= " + DegreesAndMinutes(de) +
           " " + Now(c) + tail;
}

std::string NoSolutionLine(Context& c, Lang lang, const char* tail) {
    if (lang == Lang::Spanish)
        return "000 lados AR= 000.000 DE=  00.000 AR= 00h00.0m DE= +00°00' " + Now(c) + tail;
    return "000 sides RA= 000.0000 DE= 00.0000 RA=00h00.0m DE= +00°00' " + Now(c) + tail;
}

// The J2000 line, the line of date and the image-angle line: `tipo` 1 solution, 0 none, else empty.
std::vector<std::string> PositionLines(Context& c, Lang lang, int32_t tipo, int32_t lados) {
    if (tipo == 1) {
        double a = c.mAnguloSolucion < 0 ? c.mAnguloSolucion + 360 : c.mAnguloSolucion;
        return {SolutionLine(c, lang, lados, c.gARJ2000, c.gDEJ2000, " J2000  coor"),
                SolutionLine(c, lang, lados, c.gARActual, c.gDEActual, " actual coor"),
                "image angle= +" + FormatNumber(a, "000.00")};
    }
    if (tipo == 0)
        return {NoSolutionLine(c, lang, " J2000  coor"),
                NoSolutionLine(c, lang, lang == Lang::Spanish ? " actual coor" : " today  coor"),
                "image angle= +000.00"};
    return {"", "", ""};
}

std::string ShiftLine(int32_t n, double dx, double dy, const char* tail) {
    return "image shift for " + FormatNumber(n, "00") + " stars: deltaX= " + PlusWhenNotNegative(dx) +
           FormatNumber(dx, "000.00") + " pixels, deltaY= " + PlusWhenNotNegative(dy) +
           FormatNumber(dy, "000.00") + " pixels from " + tail;
}

std::string ShiftFromReference(const Context& c) {
    return ShiftLine(c.mEstrellasDesdeReferencia, c.mDeltaXReferencia, c.mDeltaYReferencia, "reference");
}

std::string ShiftFromPrevious(const Context& c) {
    return ShiftLine(c.mEstrellasDesdeAnterior, c.mDeltaXAnterior, c.mDeltaYAnterior, "previous ");
}

// Writes the lines, each ended by CR LF, as Latin-1 bytes; raises when the file cannot be written.
void WriteStatusFile(const Context& c, const char* name, const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines)
        text += line + "\r\n";
    if (!WriteFileAtomically(c.gCarpetaMensajes + name, Utf8ToLatin1(text), Durability::Transient))
        Raise(FolderExists(c.gCarpetaMensajes) ? kErrPathFileAccess : kErrPathNotFound);
}

std::string StatusWord(const Context& c, int32_t estado) {
    switch (estado) {
        case kEstadoSolucion:
            return "solution found";
        case kEstadoSinSolucion:
            return "solution not found";
        case kEstadoAnalizando:
            return "analysing the image ...";
        case kEstadoEsperando:
            switch (c.gOrigenImagen) {
                case 0:
                case 1:
                case 2:
                    return "manual mode. waiting ...";
                case 3:
                case 4:
                case 7:
                    return "not implemented mode. waiting ...";
                case 5:
                    return "automatic mode. Waiting for a message...";
                case 6:
                    return "automatic mode. Waiting for an image...";
                default:
                    return "";
            }
        default:
            return "unknown status";
    }
}

}  // namespace

void GrabaTornelPos(Context& c, int32_t tipo, int32_t lados) {
    WithTrap(c, "GrabaTornelPos", [&] {
        std::vector<std::string> aqi = PositionLines(c, Lang::Spanish, tipo, lados);
        std::vector<std::string> pos = PositionLines(c, Lang::English, tipo, lados);
        for (auto* lines : {&aqi, &pos}) {
            lines->push_back(ShiftFromReference(c));
            lines->push_back(ShiftFromPrevious(c));
            // Other programs read a decimal point whatever the separator of this one.
            for (auto& line : *lines)
                line = PointForComma(line);
        }
        WriteStatusFile(c, "tornel.aqi", aqi);
        WriteStatusFile(c, "tornel.pos", pos);
    });
}

void GrabaTornelSta(Context& c, int32_t estado, int32_t lados) {
    if (!FolderExists(c.gCarpetaMensajes)) return;
    // A status that cannot be written is told, but it is no failure of the analysis under way.
    bool finAnalisis = c.mFinAnalisis;
    WithTrap(c, "GrabaTornelSta", [&] {
        std::vector<std::string> lines;
        lines.push_back("lines: " + FormatNumber(10, "000") + " time: " + Now(c) + " mode=" +
                        FormatNumber(c.gOrigenImagen, "00") + " skyArea=" + FormatNumber(c.gZonaCielo, "00") +
                        " status=" + FormatNumber(estado, "00"));
        lines.push_back(StatusWord(c, estado));
        bool withImage =
            estado == kEstadoSolucion || estado == kEstadoSinSolucion || estado == kEstadoAnalizando;
        lines.push_back("image: " + (withImage ? c.gRutaImagen : std::string{}));
        int32_t tipo = estado == kEstadoSolucion ? 1 : estado == kEstadoSinSolucion ? 0 : -1;
        for (auto& line : PositionLines(c, Lang::English, tipo, lados))
            lines.push_back(line);
        lines.push_back(ShiftFromReference(c));
        lines.push_back(ShiftFromPrevious(c));
        for (auto& line : lines)
            line = PointForComma(line);
        // The command and its value go out as they came.
        lines.push_back("command= " + c.mUltimoComando);
        lines.push_back("  value= " + c.mUltimoValor);
        WriteStatusFile(c, "tornel.sta", lines);
    });
    c.mFinAnalisis = finAnalisis;
    c.mUltimoComando.clear();
    c.mUltimoValor.clear();
    ++c.statusWrites;
}

}  // namespace tornel
