#include "astrometria/planets.h"

#include <cmath>
#include <numbers>

namespace tornel {

namespace {

constexpr double kRad = std::numbers::pi / 180;

double Sin(double degrees) {
    return std::sin(degrees * kRad);
}
double Cos(double degrees) {
    return std::cos(degrees * kRad);
}
double Atan2(double y, double x) {
    return std::atan2(y, x) / kRad;
}

double Normalised(double degrees) {
    degrees = std::fmod(degrees, 360);
    return degrees < 0 ? degrees + 360 : degrees;
}

// Mean elements at day d: node, inclination, perihelion argument, semi-major axis (AU),
// eccentricity, mean anomaly.
struct Elements {
    double N, i, w, a, e, M;
};

// In kPlanetNames' order.
std::array<Elements, 7> ElementsOn(double d) {
    return {{
        {100.4542 + 2.76854e-5 * d, 1.3030 - 1.557e-7 * d, 273.8777 + 1.64505e-5 * d, 5.20256,
         0.048498 + 4.469e-9 * d, 19.8950 + 0.0830853001 * d},
        {49.5574 + 2.11081e-5 * d, 1.8497 - 1.78e-8 * d, 286.5016 + 2.92961e-5 * d, 1.523688,
         0.093405 + 2.516e-9 * d, 18.6021 + 0.5240207766 * d},
        {48.3313 + 3.24587e-5 * d, 7.0047 + 1e-8 * d, 29.1241 + 1.01444e-5 * d, 0.387098,
         0.205635 + 5.59e-10 * d, 168.6562 + 4.0923344368 * d},
        {131.7806 + 3.0173e-5 * d, 1.7700 - 2.55e-7 * d, 272.8461 - 6.027e-6 * d, 30.05826 + 3.313e-8 * d,
         0.008606 + 2.15e-9 * d, 260.2471 + 0.005995147 * d},
        {113.6634 + 2.3898e-5 * d, 2.4886 - 1.081e-7 * d, 339.3939 + 2.97661e-5 * d, 9.55475,
         0.055546 - 9.499e-9 * d, 316.9670 + 0.0334442282 * d},
        {74.0005 + 1.3978e-5 * d, 0.7733 + 1.9e-8 * d, 96.6612 + 3.0565e-5 * d, 19.18171 - 1.55e-8 * d,
         0.047318 + 7.45e-9 * d, 142.5905 + 0.011725806 * d},
        {76.6799 + 2.4659e-5 * d, 3.3946 + 2.75e-8 * d, 54.8910 + 1.38374e-5 * d, 0.723330,
         0.006773 - 1.302e-9 * d, 48.0052 + 1.6021302244 * d},
    }};
}

enum Planet { kJupiter, kMars, kMercury, kNeptune, kSaturn, kUranus, kVenus };

// Kepler's equation by Newton's steps from the first approximation, to 0.005 degree.
double EccentricAnomaly(double M, double e) {
    double e0 = M + e / kRad * Sin(M) * (1 + e * Cos(M));
    for (int k = 0; k < 50; ++k) {
        const double e1 = e0 - (e0 - e / kRad * Sin(e0) - M) / (1 - e * Cos(e0));
        const bool done = std::fabs(e0 - e1) < 0.005;
        e0 = e1;
        if (done) break;
    }
    return e0;
}

struct Vector {
    double x = 0, y = 0, z = 0;
};

// The Sun seen from the Earth, ecliptic of date, AU.
Vector Sun(double d) {
    const double w = 282.9404 + 4.70935e-5 * d, e = 0.016709 - 1.151e-9 * d;
    const double M = Normalised(356.0470 + 0.9856002585 * d);
    const double E = M + e / kRad * Sin(M) * (1 + e * Cos(M));
    const double x = Cos(E) - e, y = std::sqrt(1 - e * e) * Sin(E);
    const double r = std::hypot(x, y), longitude = Atan2(y, x) + w;
    return {r * Cos(longitude), r * Sin(longitude), 0};
}

// The corrections to heliocentric longitude and latitude (degrees) that the pulls of the giant
// planets on one another call for.
void Perturb(Planet p, double d, double& longitude, double& latitude) {
    const double mj = 19.8950 + 0.0830853001 * d, ms = 316.9670 + 0.0334442282 * d,
                 mu = 142.5905 + 0.011725806 * d;
    if (p == kJupiter) {
        longitude += -0.332 * Sin(2 * mj - 5 * ms - 67.6) - 0.056 * Sin(2 * mj - 2 * ms + 21) +
                     0.042 * Sin(3 * mj - 5 * ms + 21) - 0.036 * Sin(mj - 2 * ms) + 0.022 * Cos(mj - ms) +
                     0.023 * Sin(2 * mj - 3 * ms + 52) - 0.016 * Sin(mj - 5 * ms - 69);
    } else if (p == kSaturn) {
        longitude += 0.812 * Sin(2 * mj - 5 * ms - 67.6) - 0.229 * Cos(2 * mj - 4 * ms - 2) +
                     0.119 * Sin(mj - 2 * ms - 3) + 0.046 * Sin(2 * mj - 6 * ms - 69) +
                     0.014 * Sin(mj - 3 * ms + 32);
        latitude += -0.020 * Cos(2 * mj - 4 * ms - 2) + 0.018 * Sin(2 * mj - 6 * ms - 49);
    } else if (p == kUranus) {
        longitude += 0.040 * Sin(ms - 2 * mu + 6) + 0.035 * Sin(ms - 3 * mu + 33) - 0.015 * Sin(mj - mu + 20);
    }
}

// Mars's and Saturn's elements and terms above leave errors of up to 2 arcmin in heliocentric
// longitude, and Saturn's distance, which carries no terms at all, errs by up to 0.04 AU; near an
// opposition of Mars that becomes 3 arcmin seen from the Earth. These series were fitted once by least
// squares to the residuals against the analytical ephemeris of Simon et al. (1994) over 1900-2100;
// what remains is under 0.35 arcmin and 0.001 AU.
struct Term {
    int first, second, third;  // multiples of the series' three mean anomalies
    double sine, cosine;
};
struct Series {
    double constant, perCentury;
    std::array<Term, 6> terms;
};
// Mars, in the mean anomalies of Mars, Jupiter and the Sun (the Earth's).
constexpr Series kMarsLongitude{0.001328,
                                0.001596,
                                {{{1, -1, 0, 0.005407, -0.004531},
                                  {1, -2, 0, -0.000956, 0.006016},
                                  {2, 0, -1, -0.001381, -0.003730},
                                  {2, -2, 0, -0.000953, 0.004341},
                                  {3, 0, -2, -0.000724, 0.001827},
                                  {1, 0, -1, -0.001359, -0.001946}}}};
// Saturn, in the mean anomalies of Jupiter, Saturn and Uranus.
constexpr Series kSaturnLongitude{-0.008874,
                                  -0.006917,
                                  {{{2, -2, 0, -0.008322, -0.002733},
                                    {2, -3, 0, 0.000067, 0.010423},
                                    {1, -4, 0, -0.002318, 0.005416},
                                    {1, -3, 2, -0.001998, 0.001041},
                                    {2, -6, -1, -0.001374, 0.000942},
                                    {2, -5, -2, 0.000510, -0.000021}}}};
constexpr Series kSaturnLatitude{0.000068,
                                 -0.002462,
                                 {{{2, -3, 0, 0.001233, 0.003678},
                                   {1, -3, -3, -0.000663, -0.001475},
                                   {0, 0, 2, 0.000437, 0.000577},
                                   {1, 1, -3, -0.000135, -0.000181},
                                   {0, 0, 0, 0, 0},
                                   {0, 0, 0, 0, 0}}}};
constexpr Series kSaturnDistance{0.015187,
                                 0.000103,
                                 {{{2, -4, 0, 0.018143, -0.000773},
                                   {1, -1, 0, -0.008123, -0.000982},
                                   {1, -2, 0, 0.000947, 0.005405},
                                   {0, 0, 3, 0.002364, -0.001379},
                                   {2, -2, 0, -0.000495, 0.001323},
                                   {0, 3, -3, -0.000067, 0.000635}}}};

// The residual a series describes at day d for the given mean anomalies (degrees): the model's
// value minus the ephemeris' (degrees or AU).
double Residual(const Series& series, double d, const std::array<double, 3>& anomalies) {
    double sum = series.constant + series.perCentury * d / 36525;
    for (const Term& t : series.terms) {
        const double argument = t.first * anomalies[0] + t.second * anomalies[1] + t.third * anomalies[2];
        sum += t.sine * Sin(argument) + t.cosine * Cos(argument);
    }
    return sum;
}

// Removes the fitted residuals of Mars and Saturn from heliocentric longitude, latitude (degrees)
// and distance (AU).
void CorrectFitted(Planet p, double d, double& longitude, double& latitude, double& r) {
    const double mj = 19.8950 + 0.0830853001 * d;
    if (p == kMars) {
        const std::array<double, 3> anomalies{18.6021 + 0.5240207766 * d, mj, 356.0470 + 0.9856002585 * d};
        longitude -= Residual(kMarsLongitude, d, anomalies);
    } else if (p == kSaturn) {
        const std::array<double, 3> anomalies{mj, 316.9670 + 0.0334442282 * d, 142.5905 + 0.011725806 * d};
        longitude -= Residual(kSaturnLongitude, d, anomalies);
        latitude -= Residual(kSaturnLatitude, d, anomalies);
        r -= Residual(kSaturnDistance, d, anomalies);
    }
}

// Where the planet is at day d, from the Sun, ecliptic of date (AU).
Vector Heliocentric(Planet p, double d) {
    const Elements el = ElementsOn(d)[p];
    const double N = Normalised(el.N), i = Normalised(el.i), w = Normalised(el.w), M = Normalised(el.M);
    const double E = EccentricAnomaly(M, el.e);
    const double x = el.a * (Cos(E) - el.e), y = el.a * std::sqrt(1 - el.e * el.e) * Sin(E);
    double r = std::hypot(x, y);
    const double u = Atan2(y, x) + w;
    const double xh = r * (Cos(N) * Cos(u) - Sin(N) * Sin(u) * Cos(i));
    const double yh = r * (Sin(N) * Cos(u) + Cos(N) * Sin(u) * Cos(i));
    const double zh = r * Sin(u) * Sin(i);
    double longitude = Atan2(yh, xh), latitude = Atan2(zh, std::hypot(xh, yh));
    Perturb(p, d, longitude, latitude);
    CorrectFitted(p, d, longitude, latitude, r);
    return {r * Cos(longitude) * Cos(latitude), r * Sin(longitude) * Cos(latitude), r * Sin(latitude)};
}

// The planet as seen from the Earth's centre at day d, on the equator of date.
PlanetPlace PlaceOf(Planet p, const Vector& sun, double obliquity, double d) {
    const Vector h = Heliocentric(p, d);
    const Vector g{h.x + sun.x, h.y + sun.y, h.z + sun.z};
    const double ye = g.y * Cos(obliquity) - g.z * Sin(obliquity);
    const double ze = g.y * Sin(obliquity) + g.z * Cos(obliquity);
    return {Normalised(Atan2(ye, g.x)), Atan2(ze, std::hypot(g.x, ye))};
}

}  // namespace

int32_t PlanetDayNumber(int32_t year, int32_t month, int32_t day) {
    return 367 * year - 7 * (year + (month + 9) / 12) / 4 + 275 * month / 9 + day - 730530;
}

std::array<PlanetPlace, 7> PlanetPlacesOnDay(double d) {
    const Vector sun = Sun(d);
    const double obliquity = 23.4393 - 3.563e-7 * d;
    std::array<PlanetPlace, 7> places;
    for (size_t k = 0; k < places.size(); ++k)
        places[k] = PlaceOf(static_cast<Planet>(k), sun, obliquity, d);
    return places;
}

std::array<PlanetPlace, 7> PlanetPlaces(int32_t year, int32_t month, int32_t day, double hour) {
    const double d = PlanetDayNumber(year, month, day), f = hour / 24;
    const std::array<PlanetPlace, 7> today = PlanetPlacesOnDay(d), tomorrow = PlanetPlacesOnDay(d + 1);
    std::array<PlanetPlace, 7> places;
    for (size_t k = 0; k < places.size(); ++k) {
        double step = tomorrow[k].ra - today[k].ra;
        if (step > 180) step -= 360;
        if (step < -180) step += 360;
        places[k] = {Normalised(today[k].ra + f * step), today[k].dec + f * (tomorrow[k].dec - today[k].dec)};
    }
    return places;
}

}  // namespace tornel
