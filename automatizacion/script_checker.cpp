#include "automatizacion/script_checker.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>

#include "comun/errors.h"
#include "comun/language.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

// Shorter than the object's list and spelled "StopAnalysing": scripts are checked against this one.
constexpr std::array<std::string_view, 19> kKnownMembers = {
    "Analyze",       "Sides",          "Solved",         "RightAscension",
    "Declination",   "EstimatedDEC",   "EstimatedRA",    "EstimatedCoordinatesFrom",
    "SkyZone",       "SkyWindowType",  "SkyRingFromDec", "SkyRingToDec",
    "ImagePath",     "ArcSecPerPixel", "ReversedImage",  "ImageAngle",
    "StopAnalysing", "Busy",           "ShowMsgBoxes"};

std::string Lower(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char ch) { return std::tolower(ch); });
    return out;
}

std::string Trimmed(std::string_view s) {
    size_t a = s.find_first_not_of(" \t"), b = s.find_last_not_of(" \t");
    return a == std::string_view::npos ? std::string() : std::string(s.substr(a, b - a + 1));
}

bool IsBlank(char ch) {
    return ch == ' ' || ch == '\t';
}

// How a script makes the object, and so how its lines are read.
enum class Dialect { Basic, Python };

// The object variable of a line that makes the object, or empty.
std::string ObjectVariable(std::string_view line, Dialect& dialect) {
    std::string lower = Lower(line);
    size_t hit = lower.find("tornel.imagesolver");
    if (hit == std::string::npos) return {};
    size_t eq = lower.rfind('=', hit);
    if (eq == std::string::npos) return {};
    size_t set = lower.find("set");
    if (set != std::string::npos && set < eq) {
        dialect = Dialect::Basic;
        return Trimmed(line.substr(set + 3, eq - set - 3));
    }
    // The bus name of the object, not the interface's "org.tornel.ImageSolver1": a Python assignment.
    size_t after = hit + std::string_view("tornel.imagesolver").size();
    bool busName = hit >= 4 && lower.compare(hit - 4, 4, "org.") == 0 &&
                   (after == lower.size() ||
                    !(std::isalnum(static_cast<unsigned char>(lower[after])) || lower[after] == '.'));
    if (busName) {
        dialect = Dialect::Python;
        return Trimmed(line.substr(0, eq));
    }
    return {};
}

// Column of the first member used through `variable` on the line, or npos.
size_t MemberColumn(std::string_view line, const std::string& variable, Dialect dialect) {
    std::string lower = Lower(line), needle = Lower(variable) + ".";
    for (size_t at = lower.find(needle); at != std::string::npos; at = lower.find(needle, at + 1)) {
        // A longer name that ends in the same letters is not the variable.
        char before = at == 0 ? ' ' : line[at - 1];
        if (IsBlank(before) || before == '(' || before == '+' || before == '\'' ||
            (dialect == Dialect::Python && before == '#'))
            return at + needle.size();
    }
    return std::string::npos;
}

std::string MemberAt(std::string_view line, size_t column, Dialect dialect) {
    std::string_view ends = dialect == Dialect::Python ? " \t(=),:[]" : " \t(=";
    size_t end = line.find_first_of(ends, column);
    return std::string(
        line.substr(column, end == std::string_view::npos ? std::string_view::npos : end - column));
}

struct ReportTexts {
    std::string heading, notFound, mark;
};

ReportTexts Texts(const Context& c, const std::string& script) {
    return {Pick(c, "'*** Chequeo del fichero script : ", "'***  Verification du fichier script: ",
                 "'***  Checking the script file: ") +
                script + " ***",
            Pick(c, "'****  Texto 'tornel.imagesolver' no encontrado  ******************",
                 "'****  Texte 'tornel.imagesolver' non trouve  ******************",
                 "'****  Text 'tornel.imagesolver' not found  ******************"),
            Pick(c, "   NO ES UN METODO O PROPIEDAD", "   NI METHODE NI PROPRIETE",
                 "   NOT A METHOD NOR A PROPERTY")};
}

// Reads one line, its end (LF or CR LF) kept apart so that the copy keeps the script's own.
bool ReadLine(std::istream& in, std::string& line, std::string& ending) {
    if (!std::getline(in, line)) return false;
    ending = in.eof() ? "" : "\n";
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
        ending = "\r\n";
    }
    return true;
}

void CheckLines(std::istream& in, std::ostream& out, const ReportTexts& texts, ScriptCheck& result) {
    std::string line, ending, variable, eol = "\n";
    Dialect dialect = Dialect::Basic;
    while (variable.empty() && ReadLine(in, line, ending)) {
        out << line << ending;
        if (ending == "\r\n") eol = ending;
        variable = ObjectVariable(line, dialect);
    }
    if (variable.empty()) {
        out << texts.notFound << eol;
        return;
    }
    result.objectFound = true;
    std::string lead = dialect == Dialect::Python ? "#" : "'";
    while (ReadLine(in, line, ending)) {
        out << line << (ending.empty() ? eol : ending);
        size_t column = MemberColumn(line, variable, dialect);
        if (column == std::string::npos || PropiedadExiste(MemberAt(line, column, dialect))) continue;
        out << lead << std::string(column - 1, ' ') << "?" << texts.mark << eol;
        ++result.doubtful;
    }
}

void TellChecked(Context& c, const ScriptCheck& r) {
    if (!r.objectFound || r.doubtful > 0)
        AvisoIdioma(c, "Verificación terminada. Vea los errores en el fichero " + r.report,
                    "Verification terminée. Voyez les erreurs dans le fichier " + r.report,
                    "Script file checked. See the errors in the file " + r.report);
    else
        AvisoIdioma(c, "Verificación terminada. No se han encontrado errores. Vea el fichero " + r.report,
                    "Verification terminée. Aucune erreur trouvée. Voyez le fichier " + r.report,
                    "Script file checked. No errors found. See the file " + r.report);
}

}  // namespace

bool PropiedadExiste(std::string_view nombre) {
    std::string lower = Lower(nombre);
    return std::any_of(kKnownMembers.begin(), kKnownMembers.end(),
                       [&](std::string_view known) { return Lower(known) == lower; });
}

std::string ScriptReportPath(const std::string& script) {
    size_t slash = script.find_last_of('/');
    size_t dot = script.find_last_of('.');
    bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
    return (hasExtension ? script.substr(0, dot) : script) + "CHECK.txt";
}

ScriptCheck CheckScriptFile(Context& c, const std::string& script) {
    ScriptCheck result;
    result.report = ScriptReportPath(script);
    // Not an analysis: the trap's end-of-analysis flag is left as it was.
    bool finAnalisis = c.mFinAnalisis;
    WithTrap(c, "CompruebaScript", [&] {
        std::ifstream in(script, std::ios::binary);
        if (!in) Raise(kErrFileNotFound);
        std::ofstream out(result.report, std::ios::binary | std::ios::trunc);
        if (!out) Raise(kErrPathFileAccess);
        ReportTexts texts = Texts(c, script);
        out << texts.heading << "\n\n";
        CheckLines(in, out, texts, result);
        out.close();
        if (!out) Raise(kErrPathFileAccess);
        result.done = true;
        TellChecked(c, result);
    });
    c.mFinAnalisis = finAnalisis;
    return result;
}

void CompruebaScript(Context& c) {
    FileDialogRequest request;
    request.title = Pick(c, "Cargar un script para su comprobación", "Charger le script à vérifier",
                         "Load the script file to be checked");
    request.filter = "Script  (*.*)|*.*";
    request.defaultExtension = "vbs";
    auto script = c.platform.ChooseFile(request);
    if (!script || script->empty()) return;
    CheckScriptFile(c, *script);
}

}  // namespace tornel
