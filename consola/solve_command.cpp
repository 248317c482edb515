#include "consola/solve_command.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>

#include "astrometria/sky_maths.h"
#include "catalogo/deep_sky_objects.h"
#include "comun/numbers.h"
#include "consola/console_platform.h"
#include "consola/solve_options.h"
#include "consola/timer_loop.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "resultados/solution_presentation.h"
#include "resultados/wcs.h"

namespace tornel {
namespace {

constexpr int kExitSolved = 0;
constexpr int kExitNotSolved = 1;
constexpr int kExitUsage = 2;

// One run of the engine: a database (0: the parameters'), the window, a parity.
struct Attempt {
    int database = 2;
    bool turning = false;  // database 1's 2x2 degree window through every angle
    bool mirror = false;
};

// What the runs are told, once the command line and the header have been heard.
struct RunPlan {
    double scale = 0;                        // 0: unknown, and the pattern search runs alone
    double patternLow = 0, patternHigh = 0;  // the scale range the pattern search may try
    double patternRadius = 0;                // degrees around the position; 0: the whole sky
    std::optional<double> ra, dec;
    std::optional<double> window;    // degrees on a side
    std::vector<Attempt> attempts;   // in order, until one solves
    std::vector<std::string> notes;  // how the hints were settled, for standard error
};

using Outcome = SolveOutcome;

std::string Text(double v, const char* picture) {
    return FormatNumber(v, picture);
}

// The scale from the command line, else from the header; an error when there is none.
// How far the pattern search strays from a scale given as one number: a user's or a header's scale is
// seldom exact, and the patterns do not need it to be.
constexpr double kGivenScaleSlack = 0.1, kHeaderScaleSlack = 0.25;

std::string SettleScale(const SolveOptions& o, const HeaderHints& h, RunPlan& plan) {
    double slack = kGivenScaleSlack;
    if (o.scale) {
        plan.scale = *o.scale;
    } else if (o.scaleLow) {
        plan.scale = (*o.scaleLow + *o.scaleHigh) / 2;
        plan.patternLow = *o.scaleLow, plan.patternHigh = *o.scaleHigh;
        plan.notes.push_back("the scale range is searched at its middle by the database roads, " +
                             Text(plan.scale, "0.0000") + " arcsec per pixel");
    } else if (o.fov) {
        const int width = h.width > 0 ? h.width : ImageSize(o.image).width;
        if (width <= 0) return "the width of " + o.image + " cannot be read for --fov";
        plan.scale = *o.fov * 3600 / width;
        plan.notes.push_back("--fov " + ShortestText(*o.fov) + " over " + std::to_string(width) +
                             " pixels: " + Text(plan.scale, "0.0000") + " arcsec per pixel");
    } else if (h.scale) {
        plan.scale = *h.scale;
        slack = kHeaderScaleSlack;
        plan.notes.push_back("scale from the FITS header (" + h.scaleSource +
                             "): " + Text(plan.scale, "0.0000") + " arcsec per pixel");
    } else if (o.patterns) {
        plan.notes.push_back("the scale is unknown: the pattern search runs alone");
        return "";
    } else {
        return "the image scale is unknown: give --scale, --scale-low/--scale-high or --fov (no scale "
               "keyword in the image header)";
    }
    if (plan.patternLow == 0) {
        plan.patternLow = plan.scale * (1 - slack);
        plan.patternHigh = plan.scale * (1 + slack);
    }
    return "";
}

// The position and the database: around a position with database 1, else the whole sky with 2.
std::string SettlePosition(const SolveOptions& o, const HeaderHints& h, RunPlan& plan) {
    const bool wholeSky = o.blind || (o.radius && *o.radius >= 90);
    if (!wholeSky && o.ra) {
        plan.ra = o.ra, plan.dec = o.dec;
    } else if (!wholeSky && h.ra) {
        plan.ra = h.ra, plan.dec = h.dec;
        plan.notes.push_back("position from the FITS header: RA " + Text(*h.ra, "0.0000") + " DEC " +
                             Text(*h.dec, "0.0000"));
    }
    if (o.radius && !wholeSky) plan.window = 2 * *o.radius;
    if (o.radius && !wholeSky && plan.ra) plan.patternRadius = *o.radius;
    if (o.database == 1 && !plan.ra)
        return "database 1 searches around a position: give --ra and --dec, or use database 2";
    return "";
}

// The runs to try. Database 2 runs in a fraction of a second but needs a field of a degree or more;
// database 1 with no angle turns through up to 360 angles (a second or two). So with a position, the
// known angle or a narrow field puts database 1 first, an unknown angle on a wide field puts it last.
// A parity not given costs a second run of each.
void SettleAttempts(const SolveOptions& o, double fieldDegrees, RunPlan& plan) {
    constexpr double kNarrowField = 1.2;  // degrees: below, database 2 seldom finds triangles enough
    if (plan.scale == 0) {
        // The patterns need neither database's search: the one in force saves loading the other.
        plan.attempts.push_back({o.database.value_or(0), false, false});
        return;
    }
    std::vector<int> databases;
    if (o.database)
        databases = {*o.database};
    else if (!plan.ra)
        databases = {2};
    else if (o.angle || fieldDegrees < kNarrowField)
        databases = {1, 2};
    else
        databases = {2, 1};
    const std::vector<bool> mirrors =
        o.mirror ? std::vector<bool>{*o.mirror} : std::vector<bool>{false, true};
    for (int database : databases)
        for (bool mirror : mirrors)
            plan.attempts.push_back({database, database == 1 && !o.angle, mirror});
}

std::string AttemptText(const Attempt& a) {
    if (a.database == 0) return "the pattern search";
    std::string t = "database " + std::to_string(a.database);
    if (a.turning) t += " turning through every angle";
    return t + (a.mirror ? ", mirrored" : ", not mirrored");
}

void ApplyPlan(Context& c, const SolveOptions& o, const RunPlan& plan, const Attempt& attempt, bool first) {
    c.parametersForThisRunOnly = true;
    // The pattern search tries both parities itself: it runs in the first attempt only.
    c.gBusquedaPorPatrones = !o.patterns ? 0 : plan.scale == 0 ? 2 : first ? 1 : 0;
    c.patternScaleLow = plan.patternLow, c.patternScaleHigh = plan.patternHigh;
    c.patternRadius = plan.patternRadius;
    c.scaleUnknown = plan.scale == 0;
    ExtraeNombreDeRuta(c, o.image);
    c.gOrigenImagen = 0;  // the image named, never a mailbox or a folder's newest
    c.gUmbralAutomatico = 1;
    if (plan.scale > 0) {
        c.gSegundosPorPixelX = c.gSegundosPorPixelY = plan.scale;
        c.gFocalEnPixeles = FocalDesdeEscala(plan.scale);
        CalculaValoresDerivados(c);
    }
    if (o.angle) c.gAnguloImagen = GradosEntre0y360(*o.angle);
    c.gImagenInvertida = attempt.mirror ? 1 : 0;
    c.gMostrarAvisos = 0;  // no questions: the turning window would offer its angle as the new one
    if (o.updateImage) {
        c.gWCSAutomatico = *o.updateImage ? 1 : 0;
        c.gLadosParaWCS = 0;
    }
    if (o.stars) c.gMaxContornos = static_cast<int16_t>(*o.stars);
    // Clients ask for up to hundreds of stars for their own matchers; more candidates than the
    // parameters' count only crowd the distance road.
    if (o.starsAtMost && *o.starsAtMost < c.gMaxContornos)
        c.gMaxContornos = static_cast<int16_t>(std::max(*o.starsAtMost, 5));
    if (plan.window) c.gAnchoVentana = c.gAltoVentana = *plan.window;
    if (attempt.database != 0) c.gBaseDatosPedida = attempt.database;
    c.gTipoVentana = attempt.turning ? 1 : 0;
    if (plan.ra) {
        c.gCentroComandoRA = *plan.ra;
        c.gCentroComandoDEC = *plan.dec;
    } else {
        c.gOrigenCoordenadas = 0;  // the combos' centre only orders the candidates of database 2
    }
}

std::string JsonString(const std::string& s) {
    std::string out = "\"";
    for (char ch : s) {
        if (ch == '"' || ch == '\\')
            out += std::string("\\") + ch;
        else if (static_cast<unsigned char>(ch) < 0x20)
            out += ' ';
        else
            out += ch;
    }
    return out + "\"";
}

std::string JsonNumber(double v) {
    std::ostringstream s;
    s.precision(10);
    s << v;
    return s.str();
}

void PrintJson(const Outcome& r, std::ostream& out) {
    out << "{\"solved\": " << (r.solved ? "true" : "false");
    if (r.solved) {
        std::string ra, dec;
        GradosAcadenas(r.ra, r.dec, ra, dec);
        out << ", \"ra_deg\": " << JsonNumber(r.ra) << ", \"dec_deg\": " << JsonNumber(r.dec)
            << ", \"ra_hms\": " << JsonString(ra) << ", \"dec_dms\": " << JsonString(dec)
            << ", \"scale_arcsec\": " << JsonNumber(r.scale) << ", \"angle_deg\": " << JsonNumber(r.angle)
            << ", \"mirror\": " << (r.mirror ? "true" : "false") << ", \"sides\": " << r.sides;
    } else {
        out << ", \"ra_deg\": null, \"dec_deg\": null, \"scale_arcsec\": null, \"angle_deg\": null"
            << ", \"mirror\": " << (r.mirror ? "true" : "false") << ", \"sides\": 0";
    }
    out << ", \"database\": " << r.database << ", \"road\": " << JsonString(r.road)
        << ", \"seconds\": " << JsonNumber(r.seconds) << ", \"message\": " << JsonString(r.message) << "}\n";
}

void PrintLine(const Outcome& r, std::ostream& out) {
    if (!r.solved) {
        out << "not solved (" << r.message << ") seconds=" << Text(r.seconds, "0.00") << "\n";
        return;
    }
    out << "solved ra=" << Text(r.ra, "0.000000") << " dec=" << Text(r.dec, "0.000000")
        << " scale=" << Text(r.scale, "0.0000") << " angle=" << Text(r.angle, "0.00")
        << " mirror=" << (r.mirror ? "yes" : "no") << " sides=" << r.sides
        << " seconds=" << Text(r.seconds, "0.00") << "\n";
}

}  // namespace

void PrintSolveOutcome(const SolveOutcome& r, std::ostream& out) {
    if (!r.solved) {
        out << "Not solved: " << r.message << "\nTime:     " << Text(r.seconds, "0.00") << " s\n";
        return;
    }
    std::string ra, dec;
    GradosAcadenas(r.ra, r.dec, ra, dec);
    out << "Solved\n"
        << "Centre:   RA " << ra << "  DEC " << dec << "  (J2000)\n"
        << "          RA " << Text(r.ra, "0.000000") << "  DEC " << Text(r.dec, "0.000000") << " degrees\n"
        << "Scale:    " << Text(r.scale, "0.0000") << " arcsec per pixel\n"
        << "Angle:    " << Text(r.angle, "0.00") << " degrees\n"
        << "Mirror:   " << (r.mirror ? "yes" : "no") << "\n"
        << "Sides:    " << r.sides << "\n"
        << "Search:   " << r.road << "\n"
        << "Time:     " << Text(r.seconds, "0.00") << " s\n";
    if (r.objects.empty()) return;
    out << "Objects in the image (RA, DEC degrees J2000; x, y pixels of the file):\n";
    for (const SolveOutcome::Object& o : r.objects)
        out << "  " << o.name << std::string(o.name.size() < 16 ? 16 - o.name.size() : 1, ' ')
            << Text(o.ra, "0.0000") << "  " << Text(o.dec, "0.0000") << "  " << Text(o.x, "0.0") << "  "
            << Text(o.y, "0.0") << "\n";
}

namespace {

int Refuse(const std::string& error) {
    std::cerr << "tornel-cli solve: " << error << "\nRun 'tornel-cli solve --help' for the options.\n";
    return kExitUsage;
}

// Runs the timers until the analysis has ended; a run past its time limit is asked to stop.
void RunAnalysis(Context& c, ConsolePlatform& platform, TimerLoop& timers, std::optional<double> timeout,
                 const std::function<bool()>& stopWanted, bool& timedOut, bool& stopped) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    platform.SetEventHook([&] {
        timers.RunDue();
        if (timeout && c.gAnalizando && !c.gDetenerAnalisis &&
            std::chrono::duration<double>(Clock::now() - start).count() > *timeout) {
            c.gDetenerAnalisis = true;
            timedOut = true;
        }
        if (stopWanted && c.gAnalizando && !c.gDetenerAnalisis && stopWanted())
            c.gDetenerAnalisis = stopped = true;
    });
    while (!c.mProgramaTerminado && timers.AnyEnabled()) {
        platform.WaitForSignal(static_cast<int>(timers.UntilNextDue().count()));
        timers.RunDue();
    }
}

Outcome Collect(const Context& c, const ConsolePlatform& platform, bool timedOut,
                std::optional<double> limit) {
    Outcome r;
    r.solved = c.gHaySolucion;
    r.ra = c.gARJ2000, r.dec = c.gDEJ2000;
    r.scale = c.measuredScale, r.angle = c.mAnguloSolucion;
    r.mirror = c.gImagenInvertida == 1;
    r.sides = c.gLadosSolucion;
    r.database = c.gBaseDatos;
    if (r.solved) r.road = c.patternSolution ? "patterns" : c.gBaseDatos == 1 ? "distances" : "triangles";
    r.width = c.gPixelesX, r.height = c.gPixelesY;
    r.message = platform.ResultLabel();
    if (timedOut && !r.solved) r.message = "stopped after the time limit of " + ShortestText(*limit) + " s";
    if (r.message.empty()) r.message = r.solved ? "solved" : "no solution";
    return r;
}

// The objects of the database's catalogue that the solution puts on the image.
void ListObjects(Context& c, std::vector<SolveOutcome::Object>& out) {
    std::vector<ObjectInImage> objects;
    if (!ObjectsInImage(c, c.gCarpetaEstrellas + "pgc.bin", objects)) return;
    for (const ObjectInImage& o : objects) {
        SolveOutcome::Object listed{o.name, o.ra, o.dec, 0, 0};
        InFileFrame(c, o.x, o.y, listed.x, listed.y);
        out.push_back(listed);
    }
}

// One run on the program folder; `error` is set when the set-up or the files stand in the way.
SolveResult Run(const SolveOptions& o, const RunPlan& plan, const Attempt& attempt, bool first,
                std::optional<double> timeout, const std::function<bool()>& stopWanted) {
    SolveResult result;
    const std::string home = CarpetaDelPrograma();
    if (home.empty()) {
        result.error = "the program folder cannot be made; set TORNEL_HOME";
        result.kind = SolveError::Setup;
        return result;
    }
    InstanceLock lock;
    if (!lock.Acquire(home)) {
        result.error = "another program runs on the program folder " + home;
        result.kind = SolveError::Setup;
        return result;
    }
    ConsolePlatform platform(std::cout, std::cerr);
    platform.SetQuiet(!o.verbose);
    Context c(platform);
    c.gCarpetaPrograma = home;
    TimerLoop timers(c);
    bool stopped = false;
    platform.SetSignalHandler([&](int signal) {
        stopped = true;
        if (c.gAnalizando) c.gDetenerAnalisis = true;
        if (signal == SIGTERM || !c.gAnalizando) c.mProgramaTerminado = true;
    });
    Form_Load(c, "8", [&](Context& ctx) { ApplyPlan(ctx, o, plan, attempt, first); });
    bool timedOut = false;
    const auto start = std::chrono::steady_clock::now();
    RunAnalysis(c, platform, timers, timeout, stopWanted, timedOut, stopped);
    Outcome& r = result.outcome;
    r = Collect(c, platform, timedOut, o.timeout);
    if (r.solved) ListObjects(c, r.objects);
    result.stopped = timedOut || stopped;
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const bool basesOK = c.gBasesOK, loaded = c.gImagenCargada;
    const bool wcsWritten = !r.solved || o.wcs.empty() || WriteWcsHeader(c, o.wcs);
    Form_Unload(c);
    if (!basesOK) {
        result.error = "the databases or folders named in " + RutaParametros(c) + " are not there";
        result.kind = SolveError::Setup;
    } else if (!loaded && !r.solved) {
        result.error = "the image " + o.image + " cannot be read";
        result.kind = SolveError::Image;
    } else if (!wcsWritten) {
        result.error = "the WCS cannot be written to " + o.wcs;
        result.kind = SolveError::Output;
    }
    return result;
}

// The attempts in turn until one solves, fails on the set-up, or the time or the caller stops them.
SolveResult RunAttempts(const SolveOptions& o, const RunPlan& plan, std::vector<std::string>& notes,
                        const std::function<bool()>& stopWanted) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    SolveResult result;
    std::optional<SolveResult> ran;  // the last attempt that could run
    std::vector<int> missing;        // databases not installed, when none was asked for
    for (const Attempt& a : plan.attempts) {
        if (std::find(missing.begin(), missing.end(), a.database) != missing.end()) continue;
        std::optional<double> left = o.timeout;
        if (left) left = std::max(0.0, *left - std::chrono::duration<double>(Clock::now() - start).count());
        result = Run(o, plan, a, &a == &plan.attempts.front(), left, stopWanted);
        if (result.kind == SolveError::Setup && !o.database) {
            notes.push_back("database " + std::to_string(a.database) + ": " + result.error);
            missing.push_back(a.database);
            continue;
        }
        ran = result;
        if (result.outcome.solved || !result.error.empty() || result.stopped) break;
        notes.push_back(AttemptText(a) + ": " + result.outcome.message + ", " +
                        Text(result.outcome.seconds, "0.00") + " s");
    }
    if (ran) result = *ran;
    result.outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

}  // namespace

SolveResult SolveImage(const SolveOptions& o, std::vector<std::string>& notes,
                       const std::function<bool()>& stopWanted) {
    SolveResult result;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(o.image, ec) || !std::ifstream(o.image, std::ios::binary)) {
        result.error = "cannot read the image " + o.image;
        result.kind = SolveError::Image;
        return result;
    }
    const HeaderHints hints = ReadHeaderHints(o.image);
    RunPlan plan;
    result.error = SettleScale(o, hints, plan);
    if (!result.error.empty()) result.kind = SolveError::NoScale;
    if (result.error.empty()) result.error = SettlePosition(o, hints, plan);
    if (!result.error.empty() && result.kind == SolveError::None) result.kind = SolveError::Hints;
    if (result.error.empty()) {
        const ImageSides sides = hints.width > 0 ? ImageSides{hints.width, hints.height} : ImageSize(o.image);
        SettleAttempts(o, plan.scale * std::max(sides.width, sides.height) / 3600, plan);
        if (plan.scale == 0 && plan.patternRadius == 0 && plan.ra)
            plan.notes.push_back("with no scale the position is not used unless --radius bounds the search");
    }
    notes = plan.notes;
    if (!result.error.empty()) return result;
    return RunAttempts(o, plan, notes, stopWanted);
}

int RunSolve(const std::vector<std::string>& args) {
    const ParsedSolve parsed = ParseSolveOptions(args);
    const SolveOptions& o = parsed.options;
    if (o.help) {
        std::cout << kSolveHelp;
        return kExitSolved;
    }
    if (!parsed.error.empty()) return Refuse(parsed.error);
    std::vector<std::string> notes;
    const SolveResult result = SolveImage(o, notes, {});
    if (!o.quiet)
        for (const auto& note : notes)
            std::cerr << "tornel-cli solve: " << note << "\n";
    if (!result.error.empty() && !result.outcome.solved) return Refuse(result.error);
    if (o.json)
        PrintJson(result.outcome, std::cout);
    else if (o.quiet)
        PrintLine(result.outcome, std::cout);
    else
        PrintSolveOutcome(result.outcome, std::cout);
    if (!result.error.empty()) return Refuse(result.error);
    return result.outcome.solved ? kExitSolved : kExitNotSolved;
}

}  // namespace tornel
