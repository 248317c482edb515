#pragma once
// Which databases are on disk and which one is in force: the presence table, its warnings, the
// change of database with its settings, and the checks that end an analysis when a file is gone.
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "comun/context.h"

namespace tornel {

// The path of file `name` of `folder`, matched without regard to case (the databases were named on
// systems that ignore it); folder + name when there is no such file.
std::string DatabaseFilePath(const std::string& folder, const std::string& name);
// Whether `folder` holds file `name`, matched as above.
bool DatabaseFileExists(const std::string& folder, const std::string& name);

// A folder's files matched as above, listed once: the start-up asks after some 190 files of the
// database folders, and listing a folder of 180 rings for each of them costs milliseconds.
class DatabaseFolder {
  public:
    explicit DatabaseFolder(const std::string& folder);
    // As DatabaseFilePath, from the listing; empty when there is no such file.
    std::string Find(const std::string& name) const;
    bool Has(const std::string& name) const { return !Find(name).empty(); }

  private:
    std::string folder_;
    // Regular files, by their lower-case name; the first one listed when several differ only in case.
    std::unordered_map<std::string, std::string> byLowerName_;
    std::unordered_set<std::string> exact_;
};

// Fills gFicherosBD with the eight presence tests.
void CompruebaFicherosBDs(Context& c);
// One warning box (gMostrarAvisos) for each file of database `base` that gFicherosBD lacks.
void AvisosBD(Context& c, int base);
// Applies database `pedida`: its settings, its star file opened read-only. True when it is in force
// afterwards; false, changing nothing, when its star or distance (triangle) file was not found.
bool CambioBaseDatos(Context& c, int actual, int pedida);

// False, ending the analysis, when gCarpetaEstrellas + est.bin does not exist.
bool ExisteBDestrellas(Context& c);
// False, ending the analysis, when the folder gCarpetaDistancias does not exist.
bool ExisteBDdistancias(Context& c);
// False, ending the analysis, when the mailbox folder gCarpetaMensajes does not exist.
bool ExisteCarpetaAuto(Context& c);

}  // namespace tornel
