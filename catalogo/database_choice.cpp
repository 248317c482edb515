#include "catalogo/database_choice.h"

#include <filesystem>
#include <utility>

#include "catalogo/triangle_database.h"
#include "core/errors.h"
#include "core/files.h"
#include "core/numbers.h"
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

void ApplyDatabaseOneSettings(Context& c) {
    c.gPrefijoDistancias = "Ani";
    c.gFicheroEstrellas = "est.bin";
    c.mLongitudRegistroEstrellas = 12;
    c.gIdsFormatoGSC = true;
    c.gIdsSonPosiciones = false;
    c.gLadoMaximoGrados = 0.5;
    c.gSeparacionMinima = 0.00667;
    c.gSemiVentanaTriangulo = 0.00416;
    c.gMaxSegmentos = 15000;
    c.gMaxCandidatos = 15000;
    c.gDistanciaCercaCentro = 10.0;
    c.gDistanciaLejosCentro = 30.0;
}

void ApplyDatabaseTwoSettings(Context& c) {
    c.gFicheroEstrellas = "estDEC_ID1x1g.bin";
    c.gFicheroTriangulos = "tri2g02.bin";
    c.mLongitudRegistroEstrellas = 16;
    c.gIdsFormatoGSC = true;
    c.gIdsSonPosiciones = true;
    c.gLadoMaximoGrados = 3.0;
    c.gSeparacionMinima = 0.1;
    c.gSemiVentanaTriangulo = 0.0166;
    c.gMaxSegmentos = 5000;
    c.gMaxCandidatos = 5000;
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

std::string DatabaseFilePath(const std::string& folder, const std::string& name) {
    std::string found = MatchingFile(folder, name);
    return found.empty() ? folder + name : found;
}

bool DatabaseFileExists(const std::string& folder, const std::string& name) {
    return !MatchingFile(folder, name).empty();
}

void CompruebaFicherosBDs(Context& c) {
    auto test = [&](int base, int kind, const std::string& folder, const char* name) {
        c.gFicherosBD[base][kind] = DatabaseFileExists(folder, name) ? 1 : 0;
    };
    test(1, kStarsFile, c.gCarpetaEstrellas, "est.bin");
    test(1, kObjectsFile, c.gCarpetaEstrellas, "pgc.bin");
    test(1, kDistancesFile, c.gCarpetaDistancias, "ani090.bin");
    test(1, kPole000, c.gCarpetaDistancias, "pole000.bin");
    test(1, kPole179, c.gCarpetaDistancias, "pole179.bin");
    test(2, kStarsFile, c.gCarpetaEstrellas, "estDEC_ID1x1g.bin");
    test(2, kObjectsFile, c.gCarpetaEstrellas, "pgc.bin");
    test(2, kDistancesFile, c.gCarpetaDistancias, "tri2g02.bin");
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
        ApplyDatabaseOneSettings(c);
        OpenStarFile(c);
        c.gBaseDatos = 1;
    } else {
        ApplyDatabaseTwoSettings(c);
        OpenStarFile(c);
        c.gBaseDatos = 2;
        Tri_BaseDatosAmemoria(c);
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

}  // namespace tornel
