#pragma once
// Which databases are on disk and which one is in force: the presence table, its warnings, the
// change of database with its settings, and the checks that end an analysis when a file is gone.
#include <string>

#include "comun/context.h"

namespace tornel {

// The path of file `name` of `folder`, matched without regard to case (the databases were named on
// systems that ignore it); folder + name when there is no such file.
std::string DatabaseFilePath(const std::string& folder, const std::string& name);
// Whether `folder` holds file `name`, matched as above.
bool DatabaseFileExists(const std::string& folder, const std::string& name);

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
