#pragma once
// The check that every candidate answer passes before it is announced, written or sent to a telescope:
// the catalogue stars of the field, projected through the candidate's plate, must fall on stars of the
// image far more often than chance allows. A search finds a pattern by trying very many; a wrong one
// still fits the few stars that formed it, but not the rest of the sky.
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "astrometria/plate_model.h"
#include "catalogo/field_stars.h"
#include "comun/context.h"

namespace tornel {

// Odds against chance that a solution must reach: 10^9 to 1, as blind solvers publish, when the search
// spans the whole sky. A window around a position tries fewer places in proportion to its area, and so
// meets fewer chances of a false match: the same risk per place asks for 10^9 x area / whole sky (10^5.8
// for the 5 x 5 degree window), never below 10^5; the searches that also turn the image ask for 10^6.
inline constexpr double kLog10OddsWholeSky = 9;
inline constexpr double kLog10OddsTurningWindow = 6;
inline constexpr double kLog10OddsLeast = 5;
inline constexpr double kWholeSkySquareDegrees = 41253;
// Matches below this prove nothing, however empty the image.
inline constexpr int32_t kLeastMatches = 2;

// A star that a road found by looking for a catalogue star in a box around where its plate put an
// image star: finding one there by chance is as likely as a catalogue star falling in such a box.
struct SearchedStar {
    int32_t id = 0;      // in the search's numbering
    double boxArea = 0;  // square pixels of the box it was looked for in
};

// How a road came by the stars of a candidate.
struct CandidateStars {
    std::vector<PlateStar> identified;   // every star it identified, for the radius
    std::vector<int32_t> formedBy;       // the stars that fixed the plate: they prove nothing
    std::vector<SearchedStar> searched;  // the stars it found by looking in a box
    int32_t searchedAround = 0;          // image stars the road may have looked around
    // The image stars to check against (square pixels), for a road with an extraction of its own;
    // empty: the candidates and verificationStars.
    std::vector<std::array<double, 2>> imageStars;
};

// Verifies the plate in Cij: the catalogue stars in its view (less `formedBy`), projected into the
// whole image, are matched one to one with the image's stars (`imageStars`, or the candidates, then
// verificationStars, kMaxVerificationStars at most) within a radius of three times the RMS residual of
// `identified` (between 1 and 5 pixels). The chance of a match is the share of the image that lies
// within the radius of an image star; for a searched star, at least the share that `searchedAround`
// boxes of its size cover. The odds are those of the tail of the sum of those chances. Leaves Cij as it
// was. Not accepted after an error, which the trap reports.
Verification VerifyPlate(Context& c, const CandidateStars& stars);
// The same against the catalogue stars a road brings (a road with a star list of its own), with the
// odds it requires.
Verification VerifyPlateAgainst(Context& c, const CandidateStars& stars,
                                const std::vector<CatalogueStar>& field, double requiredLog10Odds);
// The same with no searched stars.
Verification VerifyPlate(Context& c, const std::vector<PlateStar>& identified,
                         std::span<const int32_t> formedBy);

// The odds (log10) that the search in force requires.
double RequiredLog10Odds(const Context& c);

// -log10 of the chance of k or more successes in n trials of chance p each.
double Log10BinomialTail(int32_t n, int32_t k, double p);
// -log10 of the chance of k or more successes in trials of the chances `own`, one each, and n more of
// chance p each.
double Log10TailOfSum(std::span<const double> own, int32_t n, double p, int32_t k);

// The summary line of a verification: stars matched, expected by chance, odds.
void ReportVerification(Context& c, const Verification& v);
// The summary line of the candidates that the verification or the residual test refused.
void ReportRefused(Context& c, int32_t refused);

}  // namespace tornel
