#pragma once
// The deep-sky objects of pgc.bin that fall on a solved image, and the drawing of them and of the
// planets. Nothing here takes part in a solution.
//
// pgc.bin: 38-byte records, little-endian, sorted by declination: f32 ra, f32 dec (degrees), f32 size
// (carried to the drawing), 26 characters of name, blank-padded.
#include <string>
#include <vector>

#include "comun/context.h"

namespace tornel {

inline constexpr size_t kObjectRecordBytes = 38;

struct ObjectInImage {
    std::string name;
    double ra = 0, dec = 0;  // degrees
    double x = 0, y = 0;     // square pixels of the plate, as CoordenadasCatalogoAimagen gives them
};

// The objects of the catalogue file `path` that the plate in Cij puts on the image, in the file's
// order. False when the file cannot be read.
bool ObjectsInImage(Context& c, const std::string& path, std::vector<ObjectInImage>& objects);

// Draws every object of gCarpetaEstrellas's pgc.bin that lies on the image, with its name.
void BuscaObjetosNGCdicotomica(Context& c);
// A circle at the place and the name beside it, kept inside the image.
void DibujaObjeto(Context& c, double ra, double dec, const std::string& name);
// Draws the seven planets at the image's date and time.
void BuscaPlanetas(Context& c);

}  // namespace tornel
