#pragma once
// Where the seven planets stand, seen from the Earth's centre: a low-precision ephemeris from mean
// orbital elements that drift linearly with the day, with the main perturbations of Jupiter, Saturn
// and Uranus. Good to a minute or two of arc over this century and the last. Pure routines: angles
// in degrees, equator and equinox of the date, nothing kept between calls.
#include <array>
#include <cstdint>

namespace tornel {

// The names of the planets, in the order of the table the program keeps (its own names, whatever
// the language).
inline constexpr std::array<const char*, 7> kPlanetNames = {"Jupiter", "Marte", "Mercurio", "Neptuno",
                                                            "Saturno", "Urano", "Venus"};

struct PlanetPlace {
    double ra = 0, dec = 0;  // degrees
};

// Days from 2000 January 0.0 to 0 hours of the civil date: 367 Y - 7 (Y + (M + 9) / 12) / 4 +
// 275 M / 9 + D - 730530, whole-number divisions.
int32_t PlanetDayNumber(int32_t year, int32_t month, int32_t day);

// The seven places at day `d` (whole or not) of PlanetDayNumber's count, in kPlanetNames' order.
std::array<PlanetPlace, 7> PlanetPlacesOnDay(double d);

// The seven places at `hour` (0 to 24, fractions allowed) of the date: those of the day and of the
// next, interpolated; right ascension the short way round.
std::array<PlanetPlace, 7> PlanetPlaces(int32_t year, int32_t month, int32_t day, double hour);

}  // namespace tornel
