#pragma once
// The header cards the program knows, shared by the 16-bit FITS reader and the CFITSIO one: both
// take the same cards into the same values, with the same summary lines.
#include <string>

#include "comun/context.h"

namespace tornel {

// The cards the program knows, as the 70 characters of their value field.
struct HeaderCards {
    std::string simple, bitpix, naxis1, naxis2, dateObs;
    std::string ctype1, ctype2, cunit1, cunit2, bzero, bscale;
    std::string mipsHi, mipsLo, aviSuMin, aviSuMax;
    std::string xpixsz, ypixsz, xbinning, ybinning, focallen;
    std::string bayerpat;
    // Centre sources, already parsed: RA in degrees, DEC in degrees plus 90; -1 when absent.
    double objctRA = -1, objctDEC = -1, ra = -1, dec = -1, crval1 = -1, crval2 = -1;
};

// One card (its 8-character keyword and its value field) into the record; a later card with the same
// keyword overwrites.
void TakeCard(const std::string& key, const std::string& value, HeaderCards& h);
// The 80-character records of `text` up to END, each through TakeCard.
void TakeCards(const std::string& text, HeaderCards& h);

// The summary note of the scale that XPIXSZ and FOCALLEN give, for image pixels of `binnedBy` file
// pixels on a side.
void PixelScaleNote(Context& c, const HeaderCards& h, int32_t binnedBy);
// gCentroFitRA and gCentroFitDEC90 from the first source that applies, with their notes.
void HeaderCentre(Context& c, const HeaderCards& h);
// The display levels of the header; the later card wins.
void HeaderDisplayLevels(Context& c, const HeaderCards& h);

}  // namespace tornel
