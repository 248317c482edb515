#pragma once
// A database folder in the scratch folder of a fuzzing process: stars/ and rings/, with a file of
// the input among files that are always the same, put in force as the start-up does.
#include <filesystem>

#include "catalogo/database_check.h"
#include "catalogo/database_choice.h"
#include "fuzz/fuzz_support.h"

namespace tornel::fuzz {

inline void UseScratchDatabase(Context& c) {
    c.gCarpetaEstrellas = ScratchFolder() + "stars/";
    c.gCarpetaDistancias = ScratchFolder() + "rings/";
    std::filesystem::create_directories(c.gCarpetaEstrellas);
    std::filesystem::create_directories(c.gCarpetaDistancias);
    c.gMostrarAvisos = false;
}

// The presence table, the refusal of damaged files and the change to database `base`, as at
// start-up; false when the database is not in force after it.
inline bool PutDatabaseInForce(Context& c, int base) {
    CompruebaFicherosBDs(c);
    RefuseDamagedDatabaseFiles(c);
    try {
        return CambioBaseDatos(c, 0, base);
    } catch (...) {
        return false;
    }
}

}  // namespace tornel::fuzz
