#include "herramientas/db/default_database.h"

#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "catalogo/quad_index.h"
#include "comun/context.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "core/parametros.h"
#include "herramientas/db/check.h"

namespace tornel::db {
namespace fs = std::filesystem;

namespace {

constexpr const char* kStamp = "tornel-db-options.txt";

std::string Quote(const std::string& s) {
    std::string q = "'";
    for (char ch : s)
        q += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
    return q + "'";
}

bool Run(const std::string& command, std::ostream* log, std::string& error) {
    if (log) *log << "  $ " << command << "\n" << std::flush;
    int rc = std::system((command + (log ? "" : " >/dev/null 2>&1")).c_str());
    if (rc != 0) error = "command failed (" + std::to_string(rc) + "): " + command;
    return rc == 0;
}

// The file `inner` of Debian package `package`, unpacked under `downloads` when it is not there yet.
bool FetchFromPackage(const std::string& downloads, const std::string& package, const std::string& inner,
                      std::ostream* log, std::string& error, std::string& path) {
    const std::string unpacked = downloads + "unpacked/";
    path = unpacked + inner;
    if (FileExists(path)) {
        if (log) *log << "Reusing " << path << "\n";
        return true;
    }
    const std::string work = downloads + "fetch-" + package + "/";
    fs::remove_all(work);
    fs::create_directories(work);
    if (log) *log << "Fetching " << package << "\n";
    const std::string download = "cd " + Quote(work) + " && apt-get download " + Quote(package);
    if (!Run(download, log, error)) {
        // A fresh machine may not know the package yet: refresh the lists once when allowed to.
        std::string again;
        if (::geteuid() != 0 || !Run("apt-get update -qq", log, again) || !Run(download, log, error))
            return false;
    }
    std::string deb;
    for (const auto& e : fs::directory_iterator(work))
        if (e.path().extension() == ".deb") deb = e.path().string();
    if (deb.empty()) {
        error = "apt-get download left no package file for " + package;
        return false;
    }
    if (!Run("dpkg -x " + Quote(deb) + " " + Quote(work + "x"), log, error)) return false;
    if (!FileExists(work + "x/" + inner)) {
        error = package + " does not hold " + inner;
        return false;
    }
    fs::create_directories(fs::path(path).parent_path());
    fs::rename(work + "x/" + inner, path);  // keep the one file, not the whole package
    fs::remove_all(work);
    return true;
}

bool DatabaseStands(const std::string& folder, const std::string& options, bool quads) {
    std::string stamp;
    if (!ReadWholeFile(folder + kStamp, stamp) || stamp != options) return false;
    if (quads && !FileExists(folder + kQuadIndexFile)) return false;
    for (const char* f : {"est.bin", "region.bin", "Ani090.bin", "pole000.bin", "pole179.bin",
                          "estDEC_ID1x1g.bin", "tri2g02.bin", "est.ele", "pgc.bin"})
        if (!FileExists(folder + f)) return false;
    return true;
}

}  // namespace

std::string OptionsText(const BuildOptions& o) {
    std::ostringstream s;
    s << "merge " << ShortestText(o.mergeRadiusArcsec) << "\nstar-mag " << ShortestText(o.starMagLimit)
      << "\nband " << ShortestText(o.regionBandHeight) << "\nring-cell " << ShortestText(o.ringCell)
      << "\nring-per-cell " << o.ringPerCell << "\nring-mag " << ShortestText(o.ringMagLimit)
      << "\npole-radius " << ShortestText(o.poleTileRadius) << "\ndb2-cell " << ShortestText(o.db2Cell)
      << "\ndb2-per-cell " << o.db2PerCell << "\ndb2-mag " << ShortestText(o.db2MagLimit)
      << "\ndb2-separation " << ShortestText(o.db2MinSeparation) << "\ntri-fields";
    for (double r : o.triangles.fieldRadii)
        s << " " << ShortestText(r);
    s << "\ntri-spacing " << ShortestText(o.triangles.spacing) << "\ntri-brightest " << o.triangles.brightest
      << "\ntri-partial " << (o.triangles.partial ? 1 : 0) << "\n";
    if (o.quads)
        s << "quad-first-level " << ShortestText(o.quadChoice.firstLevel) << "\nquad-levels "
          << o.quadChoice.levels << "\nquad-stars " << o.quadChoice.starsPerCell << "\nquad-per-cell "
          << o.quadChoice.quadsPerCell << "\nquad-star-uses " << o.quadChoice.starUses << "\nquad-format "
          << kQuadIndexMagic[7] << "\n";
    return s.str();
}

bool MakeDefaultDatabase(Platform& platform, const std::string& homeIn, const BuildOptions& options,
                         int database, const DefaultSources& sources, std::ostream* log, std::string& error,
                         DefaultResult& result) {
    const std::string home = WithTrailingSlash(homeIn);
    const std::string downloads = home + "downloads/";
    result.databaseFolder = home + "database/";
    const std::string stamp = OptionsText(options);
    result.reused = DatabaseStands(result.databaseFolder, stamp, options.quads);
    if (!result.reused) {
        std::string stars, objects;
        try {
            fs::create_directories(downloads);
            if (!FetchFromPackage(downloads, sources.starPackage, sources.starFile, log, error, stars))
                return false;
            if (!FetchFromPackage(downloads, sources.objectPackage, sources.objectFile, log, error, objects))
                return false;
        } catch (const std::exception& e) {
            error = e.what();
            return false;
        }
        BuildInputs inputs;
        if (log) *log << "Reading the catalogues\n";
        if (!LoadInputs({stars, objects}, inputs, error, log)) return false;
        std::error_code ec;
        fs::remove(result.databaseFolder + kStamp, ec);  // a build that fails is not taken as done
        if (!BuildDatabase(platform, inputs, options, result.databaseFolder, log, error)) return false;
        if (!WriteFileAtomically(result.databaseFolder + kStamp, stamp)) {
            error = "cannot write " + result.databaseFolder + kStamp;
            return false;
        }
    } else if (log) {
        *log << "Reusing the database in " << result.databaseFolder << "\n";
    }
    // The parameters: read as the program reads them, the folders and database changed, written back.
    Context c(platform);
    c.gCarpetaPrograma = home;
    c.gMostrarAvisos = false;
    ParametrosPorDefecto(c);
    if (FileExists(RutaParametros(c))) CargaParametros(c, RutaParametros(c));
    c.gCarpetaEstrellas = result.databaseFolder;
    c.gCarpetaDistancias = result.databaseFolder;
    c.gBaseDatos = c.gBaseDatosPedida = database;
    GrabaParametros(c);
    if (log)
        *log << "Parameters " << RutaParametros(c) << ": database " << database << " in "
             << result.databaseFolder << "\n";
    return true;
}

}  // namespace tornel::db
