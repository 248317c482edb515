#include "catalogo/database_choice.h"

#include <filesystem>
#include <utility>

#include "catalogo/triangle_database.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace fs = std::filesystem;

namespace {

// The file of the folder whose name matches `name` without regard to case; empty when none does.
std::string MatchingFile(const std::string& folder, const std::string& name) {
    if (FileExists(folder + name)) return folder + name;
    std::error_code ec;
    std::string wanted = ToLower(name);
    for (const auto& entry : fs::directory_iterator(folder, ec))
        if (ToLower(entry.path().filename().string()) == wanted && entry.is_regular_file(ec))
            return folder + entry.path().filename().string();
    return {};
}

// The settings that belong to a database. Database 1 leaves the triangle file as it was, database 2
// the prefix of the distance rings.
struct DatabaseProfile {
    const char* prefijoDistancias;  // nullptr: unchanged
    const char* ficheroEstrellas;
    const char* ficheroTriangulos;  // nullptr: unchanged
    int32_t longitudRegistro;
    bool idsSonPosiciones;
    double ladoMaximoGrados, separacionMinima, semiVentanaTriangulo;
    int32_t maxSegmentos;
};

constexpr DatabaseProfile kDatabaseOne{"Ani", "est.bin", nullptr, 12, false, 0.5, 0.00667, 0.00416, 15000};
constexpr DatabaseProfile kDatabaseTwo{
    nullptr, "estDEC_ID1x1g.bin", "tri2g02.bin", 16, true, 3.0, 0.1, 0.0166, 5000};

void ApplyProfile(Context& c, const DatabaseProfile& d) {
    if (d.prefijoDistancias) c.gPrefijoDistancias = d.prefijoDistancias;
    c.gFicheroEstrellas = d.ficheroEstrellas;
    if (d.ficheroTriangulos) c.gFicheroTriangulos = d.ficheroTriangulos;
    c.mLongitudRegistroEstrellas = d.longitudRegistro;
    c.gIdsFormatoGSC = true;
    c.gIdsSonPosiciones = d.idsSonPosiciones;
    c.gLadoMaximoGrados = d.ladoMaximoGrados;
    c.gSeparacionMinima = d.separacionMinima;
    c.gSemiVentanaTriangulo = d.semiVentanaTriangulo;
    c.gMaxSegmentos = d.maxSegmentos;
    c.gMaxCandidatos = d.maxSegmentos;
    c.gDistanciaCercaCentro = 10.0;
    c.gDistanciaLejosCentro = 30.0;
}

void OpenStarFile(Context& c) {
    std::string path = DatabaseFilePath(c.gCarpetaEstrellas, c.gFicheroEstrellas);
    if (!c.gCanalEstrellas->Open(path, c.mLongitudRegistroEstrellas)) Raise(kErrFileNotFound);
    c.gNumEstrellasBD = c.gCanalEstrellas->RecordCount();
}

// Tells that a file or folder of the databases is gone and ends the analysis.
void EndForMissing(Context& c, const std::string& path, Txt summaryEs, Txt summaryFr, Txt summaryEn) {
    AvisoIdioma(c, path + " no existe.", path + " n'a pas été trouvé.", path + " was not found.");
    ParaResumen(c, summaryEs, summaryFr, summaryEn);
    c.mFinAnalisis = true;
    if (c.events.AvisoTerminado) c.events.AvisoTerminado();
}

}  // namespace

DatabaseFolder::DatabaseFolder(const std::string& folder) : folder_(folder) {
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        if (!entry.is_regular_file(ec)) continue;
        const std::string name = entry.path().filename().string();
        exact_.insert(name);
        byLowerName_.emplace(ToLower(name), name);
    }
}

std::string DatabaseFolder::Find(const std::string& name) const {
    if (exact_.count(name)) return folder_ + name;
    const auto found = byLowerName_.find(ToLower(name));
    return found == byLowerName_.end() ? std::string{} : folder_ + found->second;
}

std::string DatabaseFilePath(const std::string& folder, const std::string& name) {
    std::string found = MatchingFile(folder, name);
    return found.empty() ? folder + name : found;
}

bool DatabaseFileExists(const std::string& folder, const std::string& name) {
    return !MatchingFile(folder, name).empty();
}

void CompruebaFicherosBDs(Context& c) {
    const DatabaseFolder stars(c.gCarpetaEstrellas), rings(c.gCarpetaDistancias);
    auto test = [&](int base, int kind, const DatabaseFolder& folder, const char* name) {
        c.gFicherosBD[base][kind] = folder.Has(name) ? 1 : 0;
    };
    test(1, kStarsFile, stars, "est.bin");
    test(1, kObjectsFile, stars, "pgc.bin");
    test(1, kDistancesFile, rings, "ani090.bin");
    test(1, kPole000, rings, "pole000.bin");
    test(1, kPole179, rings, "pole179.bin");
    test(2, kStarsFile, stars, "estDEC_ID1x1g.bin");
    test(2, kObjectsFile, stars, "pgc.bin");
    test(2, kDistancesFile, rings, "tri2g02.bin");
}

void AvisosBD(Context& c, int base) {
    if (base != 1 && base != 2) return;
    const std::string& s = c.gCarpetaEstrellas;
    const std::string& d = c.gCarpetaDistancias;
    auto missing = [&](int kind) { return c.gFicherosBD[base][kind] != 1; };
    auto stars = [&](const std::string& file) {
        AvisoIdioma(c, "Aviso: No se encuentra la BD de estrellas " + s + file,
                    "Attention: La BD pour les étoiles " + s + file + " n'a pas été trouvée",
                    "Warning: Stars DataBase " + s + file + " not found");
    };
    if (base == 1) {
        if (missing(kStarsFile)) stars("est.bin");
    } else if (missing(kStarsFile)) {
        stars("estDEC_ID1x1g.bin");
    }
    if (missing(kObjectsFile))
        AvisoIdioma(c, "Aviso: No se encuentra la BD de objetos " + s + "pgc.bin",
                    "Attention: La BD Objets DataBase " + s + "pgc.bin n'a pas été trouvée",
                    "Warning: Objects DataBase " + s + "pgc.bin not found");
    if (base == 1) {
        if (missing(kDistancesFile))
            AvisoIdioma(c, "Aviso: Faltan ficheros de la BD de distancias en " + d,
                        "Attention: La BD distances n'est pas complète " + d,
                        "Warning: The distances DataBase is not complete " + d);
        for (auto [kind, file] : {std::pair{kPole000, "pole000.bin"}, std::pair{kPole179, "pole179.bin"}})
            if (missing(kind))
                AvisoIdioma(c, "Aviso: No se encuentra el fichero de la BD de distancias en " + d + file,
                            "Attention: La BD distances n'est pas complète " + d + file,
                            "Warning: The distances DataBase is not complete " + d + file);
    } else if (missing(kDistancesFile)) {
        AvisoIdioma(c, "Aviso: No se encuentra la BD " + d + "tri2g02.bin",
                    "Attention: La BD " + d + "tri2g02.bin n'a pas été trouvée",
                    "Warning: Triangles DataBase " + d + "tri2g02.bin not found");
    }
}

bool CambioBaseDatos(Context& c, int actual, int pedida) {
    if (actual == pedida) return true;
    if (pedida != 1 && pedida != 2) return false;
    if (c.gFicherosBD[pedida][kStarsFile] != 1 || c.gFicherosBD[pedida][kDistancesFile] != 1) return false;
    c.gCanalEstrellas->Close();
    if (pedida == 1) {
        LiberaMemoriaBaseDatos(c);
        ApplyProfile(c, kDatabaseOne);
        OpenStarFile(c);
        c.gBaseDatos = 1;
    } else {
        ApplyProfile(c, kDatabaseTwo);
        OpenStarFile(c);
        // Its few megabytes are read record by record by every trial of the triangle search.
        c.gCanalEstrellas->KeepInMemory();
        c.gBaseDatos = 2;
        // The triangles are read by the first triangle search: the pattern search may solve first.
        LiberaMemoriaBaseDatos(c);
        c.gZonaCielo = 3;
    }
    return true;
}

bool ExisteBDestrellas(Context& c) {
    if (DatabaseFileExists(c.gCarpetaEstrellas, "est.bin")) return true;
    EndForMissing(c, c.gCarpetaEstrellas + "est.bin", "No existe fichero estrellas.",
                  "Le fichier des étoiles n'existe pas.", "The stars file does not exist.");
    return false;
}

bool ExisteBDdistancias(Context& c) {
    if (FolderExists(c.gCarpetaDistancias)) return true;
    EndForMissing(c, c.gCarpetaDistancias, "No existe carpeta distancias",
                  "Le dossier des distances n'existe pas.", "The distance folder does not exist.");
    return false;
}

bool ExisteCarpetaAuto(Context& c) {
    if (FolderExists(c.gCarpetaMensajes)) return true;
    EndForMissing(c, c.gCarpetaMensajes, "No existe la carpeta de los modos automáticos.",
                  "Le dossier des modes automatiques n'existe pas.",
                  "The folder of the automatic modes does not exist.");
    return false;
}

}  // namespace tornel
